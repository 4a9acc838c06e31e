#!/usr/bin/python3
"""The history panel: opens anywhere, takes the keyboard, pastes, and goes when the user turns away."""

import signal
import unittest

from Xlib import X, display
from Xlib.ext import xtest

from case import ON_GNOME, ON_KWIN, ON_SWAY, ON_WAYLAND, SessionCase, main, wait_until
from accessibility import Accessibility

HOT_KEY = "super+shift+v"
SUPER, SHIFT, V = 133, 50, 55
LETTERS = {"a": 38, "b": 56, "c": 54}


class Panel(SessionCase):
    def setUp(self):
        super().setUp()
        self.gtk = self.receiver("gtk3")

    def start(self, *texts, **environment):
        self.stowboard.start(**environment)
        self.record(*texts)
        self.desktop.window(self.gtk.title)

    def open_at(self, x, y):
        self.desktop.point(x, y)
        self.desktop.keys(HOT_KEY)
        window = self.stowboard.wait_for_panel()
        if ON_GNOME:
            self.stowboard.settle()  # the shell moves it before it has come up
        return window

    def test_what_is_typed_at_once_is_searched_and_pasted(self):
        self.start("[Übung]", "[second]", "[first]")
        expected = ""
        # The first opening takes longer than the next key of a machine that types.
        rows = (("", ["Return"], "[first]"), ("sec", ["Return"], "[second]"),
                ("", ["ctrl+v", "Return"], "[second]"), ("", ["Down", "Return"], "[second]"),
                ("", ["Down", "Down", "Down", "Up", "KP_Enter"], "[second]"),
                ("Bung", ["Return"], "[Übung]"), ("", ["ctrl+3"], "[Übung]"))
        for text, keys, clip in rows:
            with self.subTest(text=text, keys=keys):
                self.desktop.keys(HOT_KEY)
                # No program can have sway keep the keyboard until its window is there.
                if ON_WAYLAND or not text:
                    self.stowboard.wait_for_panel()
                if text:
                    self.desktop.type_text(text)
                self.desktop.keys(*keys)
                expected += clip
                self.gtk.wait_for(expected)
                self.stowboard.wait_until_panel_closed()
        self.assertEqual(self.stowboard.texts(), ["[first]", "[second]", "[Übung]"])

    def server(self):
        """A connection to the X server of our own."""
        server = display.Display(self.desktop.environment["DISPLAY"])
        self.addCleanup(server.close)
        return server

    def play(self, keys, milliseconds):
        """Has the server press ("+" before it) and release keys, at the pace of a keyboard."""
        server = self.server()
        for key in keys:
            xtest.fake_input(server, X.KeyPress if key > 0 else X.KeyRelease, abs(key),
                             time=milliseconds)
        server.sync()

    @unittest.skipIf(ON_WAYLAND, "no program can have a compositor keep the keyboard until its window is there")
    def test_what_is_typed_from_the_press_on_is_searched(self):
        chord = [SUPER, SHIFT, V]
        typed = [step for letter in "abc" for step in (LETTERS[letter], -LETTERS[letter])]
        expected = ""
        for how, keys in (("after the chord", chord + [-V, -SHIFT, -SUPER] + typed),
                          ("while its key is held", chord + [-SHIFT, -SUPER] + typed + [-V]),
                          ("while all of it is held", chord + typed + [-V, -SHIFT, -SUPER])):
            with self.subTest(how):
                self.start("[abc]", "[first]")
                self.play(keys, 8)
                self.stowboard.wait_for_panel()
                self.desktop.keys("Return")
                expected += "[abc]"
                self.gtk.wait_for(expected)
                self.stowboard.stop()

    @unittest.skipIf(ON_WAYLAND, "there is no grab")
    def test_the_keyboard_comes_back_while_the_program_hangs(self):
        self.start("[clip]")
        server = self.server()
        def is_held():
            status = server.screen().root.grab_keyboard(False, X.GrabModeAsync, X.GrabModeAsync,
                                                        X.CurrentTime)
            server.ungrab_keyboard(X.CurrentTime)
            server.sync()
            return status == X.AlreadyGrabbed
        self.desktop.manager.send_signal(signal.SIGSTOP)  # so that the panel gets no focus
        self.addCleanup(self.desktop.manager.send_signal, signal.SIGCONT)
        self.play([SUPER, SHIFT, V, -V, -SHIFT, -SUPER], 8)
        wait_until(is_held, "the keyboard is held for the panel", 0.2)
        self.stowboard.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.stowboard.process.send_signal, signal.SIGCONT)
        wait_until(lambda: not is_held(), "the keyboard is free")
        self.desktop.type_text("abc")
        self.gtk.wait_for("abc")

    def test_a_click_on_a_row_pastes_it(self):
        self.start("[second]", "[first]")
        self.open_at(400, 200)
        x, y, _, _ = self.stowboard.panel_rect()
        self.desktop.click(x + 240, y + 65)
        self.gtk.wait_for("[first]")
        self.stowboard.wait_until_panel_closed()

    def test_removes_a_clip_and_pastes_the_next_without_formatting(self):
        self.start("[third]", "[second]", "[first]")
        self.open_at(400, 200)
        self.desktop.keys("Down", "shift+Delete")
        wait_until(lambda: self.stowboard.texts() == ["[first]", "[third]"], "removed on disk")
        self.desktop.keys("shift+Return")
        self.gtk.wait_for("[third]")
        self.stowboard.wait_until_panel_closed()

    def test_what_closes_it_and_what_does_not(self):
        self.start("[clip]")
        server = display.Display(self.desktop.environment["DISPLAY"])
        self.addCleanup(server.close)
        root = server.screen().root
        # A window that never takes the focus, as a desktop's own panel is.
        root.create_window(1000, 700, 100, 30, 0, X.CopyFromParent, override_redirect=True,
                           event_mask=X.ButtonPressMask).map()
        server.sync()
        x, y, _, _ = self.desktop.rect(self.gtk.window)
        click, keys = self.desktop.click, self.desktop.keys
        for how, close, is_focus_back in (
                ("Escape", lambda: keys("Escape"), True),
                ("the hot key", lambda: keys(HOT_KEY), True),
                ("the desktop", lambda: click(20, 780), False),
                ("a dock", lambda: click(1050, 715), False),
                ("another window", lambda: click(x + 20, y + 150), True)):
            if ON_WAYLAND and how == "a dock" or ON_KWIN and how == "the desktop":
                continue  # it would be none of X11's; there is none without KDE's shell
            with self.subTest(how):
                self.open_at(900, 100)
                close()
                self.stowboard.wait_until_panel_closed()
                keys("Escape")  # the desktop's menu
                if is_focus_back:
                    wait_until(lambda: self.desktop.active_window() == self.gtk.window,
                               "the focus is back")
                self.desktop.window(self.gtk.title)
        self.open_at(900, 100)
        x, y, _, _ = self.stowboard.panel_rect()
        click(1050, 715, button=5)
        click(x + 100, y + 15)
        if not ON_WAYLAND:  # whose hot keys grab nothing of X11's
            root.grab_keyboard(True, X.GrabModeAsync, X.GrabModeAsync, X.CurrentTime)
            server.sync()
            self.stowboard.settle()  # it has done all that it does when the keyboard is taken away
            server.ungrab_keyboard(X.CurrentTime)
            server.sync()
        self.stowboard.wait_for_panel()
        if ON_GNOME:
            self.stowboard.settle()  # a key just after a click is lost
        keys("Return")
        self.gtk.wait_for("[clip]")

    def test_a_screen_reader_hears_that_the_history_was_cleared_while_it_is_open(self):
        controls = Accessibility(self.desktop, "Stowboard")
        self.start("[clip]", **controls.ENVIRONMENT)
        self.open_at(900, 100)
        self.desktop.keys("ctrl+comma")
        controls.press("push button", "Clear All History")
        wait_until(lambda: self.desktop.active_title() == "Clear History", "the question is asked")
        self.desktop.keys(HOT_KEY)
        controls.find("frame", "Stowboard")
        controls.find("list", "Clipboard history")
        controls.press("push button", "Clear History")
        controls.find("label", "No clipboard history yet")
        wait_until(lambda: self.stowboard.texts() == [], "the history is empty")

    def test_is_wholly_on_screen_and_off_the_task_bar(self):
        self.start("[clip]")
        for at in ((0, 0), (1279, 799), (640, 400), (640, 500)):
            with self.subTest(at):
                window = self.open_at(*at)
                x, y, width, height = self.stowboard.panel_rect()
                self.assertEqual((width, height), self.stowboard.PANEL_SIZE)
                self.assertTrue(0 <= x <= 1280 - width and 0 <= y <= 800 - height, (x, y))
                if at == (640, 400):
                    top = 400 - height / 2 if ON_SWAY else 405
                    self.assertTrue(abs(y - top) <= 2 and abs(x + width / 2 - 640) <= 1, (x, y))
                for name in () if ON_WAYLAND else ("SKIP_TASKBAR", "SKIP_PAGER", "ABOVE"):
                    self.assertIn(name, self.desktop.output("xprop", "-id", window, "_NET_WM_STATE"))
                self.desktop.keys("Escape")
                self.stowboard.wait_until_panel_closed()

    def test_opens_on_the_desktop_and_over_the_full_screen_window_that_the_user_is_in(self):
        self.start("[clip]")
        self.open_at(600, 300)
        self.desktop.go_to_workspace(1)
        self.addCleanup(self.desktop.go_to_workspace, 0)
        self.desktop.keys("Escape")
        self.stowboard.wait_until_panel_closed()
        self.start_program("xterm", "-fullscreen", "-T", "Wall")
        self.desktop.window("Wall")
        def fills_the_screen():
            front = self.desktop.active_window()
            return (self.desktop.title(front) == "Wall" and
                    self.desktop.rect(front) == (0, 0, 1280, 800))
        wait_until(fills_the_screen, "it fills the screen")
        panel = self.open_at(600, 300)
        if not ON_WAYLAND:
            desktop = ("xprop", "-id", panel, "_NET_WM_DESKTOP")
            wait_until(lambda: "= 1" in self.desktop.output(*desktop), "it is on the second desktop")
            stacking = self.desktop.output("xprop", "-root", "_NET_CLIENT_LIST_STACKING")
            self.assertEqual(int(stacking.split()[-1], 16), int(panel))
        self.desktop.keys("Escape")
        self.stowboard.wait_until_panel_closed()
        wait_until(fills_the_screen, "it fills the screen again")


if __name__ == "__main__":
    main()
