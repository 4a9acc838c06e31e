#!/usr/bin/python3
"""The history panel: opens anywhere, takes the keyboard, pastes, and goes when the user turns away."""

import pathlib
import sys
import time

from Xlib import X, display

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "session"))
from accessibility import Accessibility  # noqa: E402
from case import PROGRAM, SessionCase, main, wait_until  # noqa: E402
from receivers import Receiver  # noqa: E402

HOT_KEY = "super+shift+v"
SIZE = (482, 302)


class Panel(SessionCase):
    def setUp(self):
        super().setUp()
        self.x = display.Display(self.desktop.environment["DISPLAY"])
        self.addCleanup(self.x.close)
        self.receiver = Receiver(self.desktop, "gtk3")
        self.addCleanup(self.receiver.close)

    def start(self, *texts, **environment):
        self.stowboard.start(**environment)
        for text in texts:
            self.copy_after_the_last(text)
            self.stowboard.wait_for_text(text)
        self.desktop.window(self.receiver.title)

    def press(self, *keys):
        self.desktop._xdotool("key", *keys)

    def rect(self, window):
        geometry = self.x.create_resource_object("window", int(window)).get_geometry()
        at = self.x.screen().root.translate_coords(int(window), 0, 0)
        return at.x, at.y, geometry.width, geometry.height

    def open_at(self, x, y):
        self.desktop._xdotool("mousemove", x, y)
        self.press(HOT_KEY)
        return self.stowboard.wait_for_panel()

    def dock(self):
        """A window that never takes the focus, as a desktop's own panel is."""
        root = self.x.screen().root
        dock = root.create_window(1000, 700, 100, 30, 0, X.CopyFromParent,
                                  override_redirect=True, event_mask=X.ButtonPressMask)
        dock.map()
        self.x.sync()
        self.addCleanup(dock.destroy)

    def test_what_is_typed_at_once_is_searched_and_pasted(self):
        self.start("[Übung]", "[second]", "[first]")
        expected = ""
        # The first opening takes longer than the next key of a machine that types.
        rows = (("", [], "[first]"), ("sec", [], "[second]"), ("", ["ctrl+v"], "[second]"),
                ("", ["Down"], "[second]"),
                ("", ["Down", "Down", "Down", "Up", "KP_Enter"], "[second]"),
                ("Bung", [], "[Übung]"), ("", ["ctrl+3"], "[Übung]"))
        for text, keys, clip in rows:
            with self.subTest(text=text, keys=keys):
                self.press(HOT_KEY)
                if text:
                    self.desktop.type_text(text)
                else:
                    self.stowboard.wait_for_panel()
                self.press(*keys, *([] if "ctrl+3" in keys or "KP_Enter" in keys else ["Return"]))
                expected += clip
                self.receiver.wait_for(expected)
                self.stowboard.wait_until_panel_closed()
        self.assertEqual(self.stowboard.texts(), ["[first]", "[second]", "[Übung]"])

    def test_a_click_on_a_row_pastes_it(self):
        self.start("[second]", "[first]")
        x, y, _, _ = self.rect(self.open_at(400, 200))
        self.desktop.click(x + 240, y + 65)
        self.receiver.wait_for("[first]")
        self.stowboard.wait_until_panel_closed()

    def test_what_closes_it_and_what_does_not(self):
        self.start("[clip]")
        self.dock()
        x, y, _, _ = self.rect(self.receiver.window)
        click = self.desktop.click
        for how, close, is_focus_back in (
                ("Escape", lambda: self.press("Escape"), True),
                ("the hot key", lambda: self.press(HOT_KEY), True),
                ("the desktop", lambda: click(20, 780), False),
                ("a dock", lambda: click(1050, 715), False),
                ("another window", lambda: click(x + 20, y + 150), True)):
            with self.subTest(how):
                self.open_at(900, 100)
                close()
                self.stowboard.wait_until_panel_closed()
                self.press("Escape")  # the desktop's menu
                if is_focus_back:
                    wait_until(lambda: self.desktop.active_window() == self.receiver.window,
                               "the focus is back")
                self.desktop.window(self.receiver.title)
        x, y, _, _ = self.rect(self.open_at(900, 100))
        click(1050, 715, button=5)
        click(x + 100, y + 15)
        self.x.screen().root.grab_keyboard(True, X.GrabModeAsync, X.GrabModeAsync, X.CurrentTime)
        self.x.sync()
        # Longer than the toolkit waits for the focus to come back.
        time.sleep(0.3)
        self.x.ungrab_keyboard(X.CurrentTime)
        self.x.sync()
        self.stowboard.wait_for_panel()
        self.press("Return")
        self.receiver.wait_for("[clip]")

    def test_a_click_on_the_status_icon_opens_it_and_the_next_one_closes_it(self):
        tray = self.desktop.start(["trayer", "--edge", "bottom", "--align", "right", "--widthtype",
                                   "request", "--height", "24"])
        self.addCleanup(self.desktop.stop_program, tray)
        self.start("[clip]")
        icon = int(wait_until(self.stowboard.tray_icon, "the icon is in the tray"))
        x, y, width, height = self.rect(icon)
        click = lambda: self.desktop.click(x + width // 2, y + height // 2)
        for _ in range(2):
            before = self.desktop.active_window()
            click()
            wait_until(lambda: self.desktop.active_window() != before, "the panel is open")
            self.assertLessEqual(sum(self.rect(self.desktop.active_window())[1::2]), y)
            click()
            wait_until(lambda: self.desktop.active_window() == before, "the panel is closed")
            self.stowboard.settle()
            self.assertEqual(self.desktop.active_window(), before)

    def test_a_second_launch_opens_it(self):
        self.start("[clip]")
        for _ in range(2):
            second = self.desktop.start([PROGRAM])
            self.assertEqual(second.wait(60), 0)
            self.stowboard.wait_for_panel()
        self.press("Return")
        self.receiver.wait_for("[clip]")

    def test_a_copy_while_it_is_open_is_selected(self):
        self.start("[third]", "[second]")
        self.open_at(600, 300)
        self.press("Down")
        self.copy_after_the_last("[new]")
        self.stowboard.wait_for_text("[new]")
        self.press("Return")
        self.receiver.wait_for("[new]")

    def test_a_screen_reader_hears_that_the_history_was_cleared_while_it_is_open(self):
        controls = Accessibility(self.desktop, "Stowboard")
        self.start("[clip]", **controls.ENVIRONMENT)
        self.open_at(900, 100)
        self.press("ctrl+comma")
        controls.press("push button", "Clear All History")
        controls.find("push button", "Clear History")
        self.press(HOT_KEY)
        controls.find("frame", "Stowboard")
        controls.find("list", "Clipboard history")
        controls.press("push button", "Clear History")
        controls.find("label", "No clipboard history yet")
        wait_until(lambda: self.stowboard.texts() == [], "the history is empty")

    def test_is_wholly_on_screen_and_off_the_task_bar(self):
        self.start("[clip]")
        for at in ((0, 0), (1279, 0), (0, 799), (1279, 799), (640, 400), (640, 500)):
            with self.subTest(at):
                window = self.open_at(*at)
                x, y, width, height = self.rect(window)
                self.assertEqual((width, height), SIZE)
                self.assertTrue(0 <= x <= 1280 - width and 0 <= y <= 800 - height, (x, y))
                if at == (640, 400):
                    self.assertTrue(y > 400 and abs(x + width / 2 - 640) <= 1, (x, y))
                state = self.desktop.output("xprop", "-id", window, "_NET_WM_STATE")
                for name in ("SKIP_TASKBAR", "SKIP_PAGER", "ABOVE"):
                    self.assertIn(name, state)
                self.press("Escape")
                self.stowboard.wait_until_panel_closed()

    def test_opens_on_the_desktop_and_over_the_full_screen_window_that_the_user_is_in(self):
        self.start("[clip]")
        self.open_at(600, 300)
        self.desktop.output("xdotool", "set_desktop", "1")
        self.addCleanup(self.desktop.output, "xdotool", "set_desktop", "0")
        self.press("Escape")
        self.stowboard.wait_until_panel_closed()
        window = self.desktop.start(["xterm", "-fullscreen", "-T", "Wall"])
        self.addCleanup(self.desktop.stop_program, window)
        self.desktop.window("Wall")
        panel = self.open_at(600, 300)
        self.assertIn("= 1", self.desktop.output("xprop", "-id", panel, "_NET_WM_DESKTOP"))
        stacking = self.desktop.output("xprop", "-root", "_NET_CLIENT_LIST_STACKING")
        self.assertEqual(int(stacking.split()[-1], 16), int(panel))
        self.press("Escape")
        self.stowboard.wait_until_panel_closed()


if __name__ == "__main__":
    main()
