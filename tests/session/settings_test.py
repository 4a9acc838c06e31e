#!/usr/bin/python3
"""The settings window, by a screen reader's way and with real keys: every control takes effect."""

import pathlib
import struct
import unittest

from Xlib import X, display

from case import ON_GNOME, ON_WAYLAND, PROGRAM, SessionCase, main, wait_until
from accessibility import Accessibility

TITLE = "Stowboard Settings"


class Settings(SessionCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.controls = Accessibility(cls.desktop, "Stowboard")

    def start(self, **environment):
        self.stowboard.start(**self.controls.ENVIRONMENT, **environment)

    def ask_for_settings(self):
        self.desktop.output(
            "gdbus", "call", "--session", "--dest", "com.qarvin.stowboard", "--object-path",
            "/com/qarvin/stowboard", "--method", "org.freedesktop.Application.ActivateAction",
            "open-settings", "[]", "{}")

    def open_settings(self):
        self.ask_for_settings()
        wait_until(lambda: self.desktop.active_title() == TITLE, "the settings are in front")

    def wait_for_setting(self, **expected):
        def stored():
            settings = self.stowboard.settings() if self.stowboard.settings_file.exists() else {}
            return {key: settings.get(key) for key in expected} == expected
        wait_until(stored, f"{expected} on disk")

    def choose(self, picker, key):
        """Steps through a drop-down list with the keyboard."""
        self.controls.focus("combo box", picker)
        self.desktop.keys(key)

    @unittest.skipIf(ON_GNOME, "which has Super with Ctrl and a digit itself")
    def test_shortcuts_are_registered_anew(self):
        self.start()
        self.open_settings()
        self.choose("Second modifier key", "Down")
        self.choose("Key", "k")
        self.wait_for_setting(hotKey={"keyCode": 40, "modifiers": 0x1100})
        self.stowboard.wait_for_log("Hotkey [1] registered: ⌃⌘K")
        self.choose("First modifier key", "Down")
        self.wait_for_setting(hotKey={"keyCode": 40, "modifiers": 0x1800})
        self.choose("Modifier keys for direct paste", "Down")
        self.wait_for_setting(directPasteModifiers=0x1100)
        self.controls.find("label", "Super + Ctrl + 1~9")
        self.stowboard.wait_for_log("Hotkey [109] registered: ⌃⌘9")

        self.desktop.keys("super+shift+v", "super+ctrl+k", "super+alt+1", "super+ctrl+1")
        self.stowboard.wait_for_log("no clip at index 0")
        self.assertEqual(self.stowboard.logged("no clip at index"), 1, "not by the old ones")
        self.assertEqual(self.stowboard.panel(), "")
        self.desktop.keys("ctrl+alt+k")
        wait_until(self.stowboard.panel, "the new hot key opens the panel")

    def test_history_is_trimmed_and_cleared(self):
        self.start()
        self.record("one", "two", "three")
        self.open_settings()
        self.controls.focus("text", "Maximum records")
        self.desktop.keys("ctrl+a", "0", "Return")
        self.wait_for_setting(maxRecords=1)
        wait_until(lambda: self.stowboard.texts() == ["three"], "trimmed")
        self.controls.focus("spin button", "Maximum records")
        self.desktop.keys("Up")
        self.wait_for_setting(maxRecords=10)
        self.controls.find("spin button", "Maximum records").set_current_value(40)
        self.wait_for_setting(maxRecords=40)

        self.controls.press("push button", "Clear All History")
        self.controls.find("label", "This cannot be undone.")
        self.desktop.keys("Return")  # cancels
        wait_until(lambda: not self.desktop.windows("^Clear History$"), "cancelled")
        self.controls.press("push button", "Clear All History")
        self.assertEqual(self.stowboard.texts(), ["three"])
        self.controls.press("push button", "Clear History")
        wait_until(lambda: self.stowboard.texts() == [], "cleared")

    def test_language_and_launching_at_login(self):
        self.start()
        self.open_settings()
        self.choose("Language", "Down")
        self.wait_for_setting(language="zh-Hans")
        self.controls.find("check box", "开机自动启动")
        wait_until(lambda: self.desktop.active_title() == "Stowboard 设置", "the title follows")
        self.choose("界面语言", "Up")
        self.wait_for_setting(language="en")

        autostart = pathlib.Path(self.desktop.environment["XDG_CONFIG_HOME"]) / "autostart"
        entry = autostart / "com.qarvin.stowboard.desktop"
        switch = ("check box", "Launch at Login")
        written = lambda: entry.exists() and f'Exec="{PROGRAM}"\n' in entry.read_text()
        for isOn in (True, False):
            self.controls.press(*switch, "Toggle")
            self.stowboard.wait_for_log("Login item " + ("enabled" if isOn else "disabled"))
            wait_until(lambda: self.controls.is_checked(*switch) == isOn, "the switch shows it")
            self.assertEqual(written(), isOn)
        entry.mkdir(parents=True)  # in the way
        self.addCleanup(entry.rmdir)
        self.controls.press(*switch, "Toggle")
        self.stowboard.wait_for_log("Login item toggle failed")
        wait_until(lambda: not self.controls.is_checked(*switch), "it springs back")

    def test_another_text_scaling_takes_effect_in_open_windows(self):
        server = display.Display(self.desktop.environment["DISPLAY"])
        self.addCleanup(server.close)
        manager = server.screen().root.create_window(0, 0, 1, 1, 0, X.CopyFromParent)

        def scale(serial, dots_per_inch):
            """What a desktop's settings daemon tells of its text scaling."""
            name = b"Xft/DPI"
            settings = struct.pack("<BxxxIIBxH7sxIi", 0, serial, 1, 0, len(name), name, serial,
                                   dots_per_inch * 1024)
            kind = server.intern_atom("_XSETTINGS_SETTINGS")
            manager.change_property(kind, kind, 8, settings)
            server.sync()

        def size(window=None):
            return self.desktop.rect(window or self.desktop.windows(TITLE)[0])[2:]
        def is_larger(now, before):
            return all(pixels >= 1.45 * usual for pixels, usual in zip(now, before))
        scale(1, 96)
        manager.set_selection_owner(server.intern_atom("_XSETTINGS_S0"), X.CurrentTime)
        server.sync()
        self.start()
        self.open_settings()
        usual = size()
        scale(2, 144)
        wait_until(lambda: is_larger(size(), usual), "larger")
        scale(3, 96)
        wait_until(lambda: size() == usual, "and back")
        self.desktop.keys("Escape")
        self.record("[clip]")
        def open_panel():
            self.desktop.keys("super+shift+v")
            return self.stowboard.wait_for_panel()
        panel = open_panel()
        usual = size(panel)
        scale(4, 144)
        wait_until(lambda: is_larger(size(panel), usual), "the panel is larger")
        if ON_WAYLAND:
            return  # where no picture of a window is to be had
        self.stowboard.settle()
        fitted = self.desktop.darkness(panel)
        self.desktop.keys("Escape")
        self.stowboard.wait_until_panel_closed()
        panel = open_panel()
        self.stowboard.settle()
        self.assertAlmostEqual(fitted, self.desktop.darkness(panel), 2, "painted as one just opened")

    @unittest.skipIf(ON_WAYLAND, "whose hot keys need no keyboard that a list has")
    def test_hot_keys_work_while_a_list_is_open(self):
        def windows():
            return self.desktop.windows("^stowboard$", by="classname")
        for keys, modifiers in (("super+shift+v", 0x300), ("ctrl+shift+v", 0x1200)):
            with self.subTest(keys):
                self.stowboard.set(hotKey={"keyCode": 9, "modifiers": modifiers})
                self.start()
                self.open_settings()
                closed = windows()
                self.controls.focus("combo box", "Language")
                self.desktop.keys("space")
                wait_until(lambda: windows() != closed, "the list is open")
                self.desktop.keys(keys)
                self.stowboard.wait_for_panel()
                self.desktop.keys(keys)
                self.stowboard.wait_until_panel_closed()
                wait_until(lambda: windows() == closed, "the list is closed")
                self.stowboard.stop()

    @unittest.skipIf(ON_WAYLAND, "which places windows itself")
    def test_one_window_that_keeps_its_place(self):
        def window():
            return wait_until(lambda: self.desktop.windows(TITLE), "the window is on screen")[0]
        def place():
            return self.desktop.rect(window())[:2]
        self.start()
        self.open_settings()
        left, top = place()
        self.assertLess(abs(left + 280 - 640), 20)
        self.assertLess(abs(top + 175 - 400), 20)
        self.desktop.move(window(), 300, 250)
        wait_until(lambda: place() != (left, top), "moved")
        moved = place()
        self.start_program("xterm", "-T", "Other")
        self.desktop.window("Other")
        self.open_settings()
        for _ in range(2):
            self.desktop.keys("Escape")
            wait_until(lambda: not self.desktop.windows(TITLE), "closed")
            self.open_settings()
            self.assertEqual(place(), moved)
        for put_away in (lambda: self.desktop.minimize(window()),
                         lambda: self.desktop.go_to_workspace(1)):
            put_away()
            wait_until(lambda: self.desktop.active_title() != TITLE, "put away")
            self.open_settings()
        self.controls.press("push button", "Clear All History")
        wait_until(lambda: self.desktop.active_title() == "Clear History", "the question is in front")
        self.desktop.minimize(window())
        wait_until(lambda: not self.desktop.windows(TITLE), "both are put away")
        self.ask_for_settings()
        wait_until(lambda: self.desktop.active_title() == "Clear History", "the question is back")
        self.desktop.keys("Return")
        wait_until(lambda: self.desktop.active_title() == TITLE, "and has the keyboard")
        self.assertFalse(self.stowboard.settings_file.exists(), "and nothing was changed")


if __name__ == "__main__":
    main()
