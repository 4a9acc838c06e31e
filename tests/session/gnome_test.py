#!/usr/bin/python3
"""What only GNOME's session has: an extension of the shell that comes and goes, and answers to nobody
else; and a clipboard that the shell takes over."""

from case import SessionCase, main, wait_until
from clipboard_test import SECRET_OWNER
from gnome import EXTENSION, PortalDesktop

HOT_KEY = "super+shift+v"
NOBODY_ELSE = """
import sys
from gi.repository import Gio, GLib
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
name = "com.qarvin.stowboard.Shell"
for method, arguments in (("Follow", None), ("Grab", GLib.Variant("(ss)", ("x", "<Super>0x37"))),
                          ("Type", GLib.Variant("(auu)", ([29], 47)))):
    try:
        bus.call_sync(name, "/com/qarvin/stowboard/Shell", name, method, arguments, None, 0, -1, None)
        print(method, "answered")
    except GLib.Error as error:
        print(method, Gio.DBusError.get_remote_error(error))
"""


class Gnome(SessionCase):
    def start(self):
        self.stowboard.start()
        self.stowboard.wait_for_log("The extension of GNOME Shell is there")
        self.record("[clip]")

    def test_the_extension_comes_and_goes(self):
        self.start()
        editor = self.receiver("gtk4")
        expected = ""
        for times in range(2):
            self.desktop.keys(HOT_KEY)
            self.stowboard.wait_for_panel()
            self.desktop.keys("Return")
            expected += "[clip]"
            editor.wait_for(expected)
            self.stowboard.wait_until_panel_closed()
            self.desktop.enable_extension(False)
            self.stowboard.wait_for_log("The extension of GNOME Shell is gone", times + 1)
            self.desktop.enable_extension(True)
            self.stowboard.wait_for_log("The extension of GNOME Shell is there", times + 2)
        self.assertEqual(self.desktop.evaluate(
            f"String(Main.extensionManager.lookup('{EXTENSION}').error)"), '""')

    def test_the_extension_answers_to_nobody_else(self):
        self.start()
        answers = self.desktop.output("/usr/bin/python3", "-c", NOBODY_ELSE)
        refused = "org.freedesktop.DBus.Error.AccessDenied"
        self.assertEqual(answers.split("\n")[:3],
                         [f"{each} {refused}" for each in ("Follow", "Grab", "Type")])

    def test_a_key_of_the_desktop_is_named(self):
        self.desktop.output("gsettings", "set", "org.gnome.desktop.wm.keybindings",
                            "toggle-maximized", "['<Super><Alt>7']")
        self.addCleanup(self.desktop.output, "gsettings", "reset",
                        "org.gnome.desktop.wm.keybindings", "toggle-maximized")
        self.start()
        self.stowboard.wait_for_log('Super + Alt + 7 is taken by "Toggle maximization state"')

    def test_a_secret_stays_one_when_its_program_ends(self):
        self.start()
        owner = self.start_owner(SECRET_OWNER)
        self.desktop.stop_program(owner)
        self.record("[after]")
        self.assertEqual(self.stowboard.texts(), ["[after]", "[clip]"])
        lines = "\n".join(self.stowboard.lines)
        files = b"".join(path.read_bytes() for path in self.stowboard.folder.iterdir())
        self.assertNotIn("a password", lines)
        self.assertNotIn(b"a password", files)


class GnomeWithoutTheExtension(SessionCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.enterClassContext(PortalDesktop())

    def test_the_portal_gives_hot_keys(self):
        self.stowboard.start()
        self.record("[clip]")
        editor = self.receiver("gtk4")
        self.stowboard.wait_for_log("The desktop portal gives the hot keys")
        self.desktop.hold("super", "shift", "v")
        panel = self.stowboard.wait_for_panel()
        wakeups = lambda: int(self.stowboard.activity()[0])
        before = wakeups()
        wait_until(lambda: wakeups() > before + 20, "the key repeats")
        self.assertEqual(self.stowboard.panel(), panel, "opened once, and not closed")
        self.desktop.release("v", "shift", "super")
        self.desktop.keys("Escape")
        self.stowboard.wait_until_panel_closed()
        self.desktop.window(editor.title)
        self.desktop.keys("super+alt+1")
        self.stowboard.wait_for_log("Direct paste triggered for index 0")
        self.assertEqual(self.desktop.clipboard(), "[clip]")


if __name__ == "__main__":
    main()
