#!/usr/bin/python3
"""The status icon in real trays of both kinds, whenever they come, and what its menu does."""

import pathlib

from PyQt6.QtCore import qVersion
from gi.repository import Gio, GLib
from Xlib import X, display, error

from case import SessionCase, main, wait_until

WATCHER = "org.kde.StatusNotifierWatcher"
MISSING = "No panel shows status icons yet"
PANEL = """[General]
panels=panel1
[panel1]
plugins=statusnotifier
position=Bottom
panelSize=32
iconSize=22
[statusnotifier]
type=statusnotifier
alignment=Left
"""
HUNG_WATCHER = f"""
import time
from gi.repository import Gio, GLib
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
              GLib.Variant("(su)", ("{WATCHER}", 0)), None, 0, -1)
print("owns", flush=True)
time.sleep(600)
"""


class Tray(SessionCase):
    def setUp(self):
        super().setUp()
        self.x = display.Display(self.desktop.environment["DISPLAY"])
        self.addCleanup(self.x.close)
        self.connect(self.desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        self.addCleanup(self.disconnect)

    def connect(self, address):
        """Makes this the bus that is asked for its items."""
        flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
                 Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        self.bus = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)

    def disconnect(self):
        if not self.bus.is_closed():
            self.bus.close_sync(None)

    # The trays

    def start_xembed_tray(self):
        tray = self.desktop.start_tray()
        self.addCleanup(self.desktop.stop_program, tray)
        return tray

    def start_notifier_tray(self, environment=None):
        folder = pathlib.Path(self.desktop.environment["XDG_CONFIG_HOME"]) / "lxqt"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "panel.conf").write_text(PANEL)
        return self.start_program("lxqt-panel", environment=environment)

    def windows(self, of_class):
        """Windows on screen of a class, at any depth, as (x, y, width, height)."""
        def found(window):
            try:
                attributes, name = window.get_attributes(), window.get_wm_class()
                if attributes.map_state == X.IsViewable and name and of_class in name:
                    at, size = root.translate_coords(window, 0, 0), window.get_geometry()
                    yield at.x, at.y, size.width, size.height
                for child in window.query_tree().children:
                    yield from found(child)
            except (error.BadWindow, error.BadDrawable):  # it has just gone
                return
        root = self.x.screen().root
        return list(found(root))

    def xembed_icon(self):
        """The middle of the icon in the X11 tray; none when it is not there."""
        return next(((x + width // 2, y + height // 2) for x, y, width, height in
                     self.windows("stowboard") if width == height <= 32), None)

    def items(self):
        """The items that the StatusNotifier tray shows."""
        try:
            return self.bus.call_sync(
                WATCHER, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties", "Get",
                GLib.Variant("(ss)", (WATCHER, "RegisteredStatusNotifierItems")), None, 0, 5000,
                None).unpack()[0]
        except GLib.Error:
            return []

    def notifier_icon(self):
        """The middle of the icon in the StatusNotifier tray; none when it is not there."""
        bars = [bar for bar in self.windows("lxqt-panel") if bar[2] == 1280]
        return (16, bars[0][1] + 16) if bars and self.items() else None

    # The icon and its menu

    def panel(self):
        return [each for each in self.windows("stowboard") if each[2] > 400]

    def menus(self):
        """Sizes of the open menus, whichever program shows them."""
        both = self.windows("stowboard") + self.windows("lxqt-panel")
        return [(width, height) for _, _, width, height in both if 100 < width < 400]

    def open_menu(self, icon):
        # Now left and now right of the middle, which keeps two clicks from making a double click.
        self.side = -getattr(self, "side", 6)
        self.desktop.click(icon[0] + self.side, icon[1], button=3)
        return wait_until(self.menus, "the menu is open")[0]

    def choose(self, icon, *keys):
        """Returns the size of the menu from which the entry was chosen."""
        size = self.open_menu(icon)
        self.desktop.keys(*keys)
        wait_until(lambda: not self.menus(), "the menu is closed")
        return size

    def record_opened_files(self):
        """Makes a viewer of text files that only notes their paths; returns its notes."""
        notes, viewer = self.desktop.directory / "opened", self.desktop.directory / "viewer"
        viewer.write_text(f'#!/bin/sh\necho "$1" >> {notes}\n')
        viewer.chmod(0o755)
        self.desktop.show_text_with([str(viewer)])
        notes.unlink(missing_ok=True)
        return lambda: notes.read_text().splitlines() if notes.exists() else []

    # The tests

    def use(self, find_icon):
        opened = self.record_opened_files()
        self.stowboard.start()
        icon = wait_until(find_icon, "the icon is in the tray")
        for is_open in (True, False):
            self.desktop.click(*icon)
            wait_until(lambda: bool(self.panel()) == is_open, f"the panel is open: {is_open}")
        self.desktop.click(*icon, button=2)
        english = self.choose(icon, "Down", "Return")
        self.assertEqual(self.panel(), [], "the middle button opens nothing")
        folder = pathlib.Path(self.desktop.environment["TMPDIR"])
        wait_until(lambda: opened() == [str(folder / "Stowboard_Help.txt")], "the guide is opened")
        self.choose(icon, "Down", "Down", "Return")
        self.desktop.window("Stowboard Settings")
        self.desktop.keys("Tab", "Down")  # the language comes first
        self.desktop.window("Stowboard 设置")
        chinese = self.choose(icon, "Down", "Return")
        self.assertNotEqual(chinese[0], english[0])
        wait_until(lambda: opened()[1:] == [str(folder / "Stowboard_使用指南.txt")],
                   "the other guide is opened")
        self.choose(icon, "Up", "Return")
        self.assertEqual(self.stowboard.wait_for_end(), 0)

    def test_in_the_x11_tray(self):
        self.start_xembed_tray()
        self.use(self.xembed_icon)

    def test_as_a_status_notifier_item(self):
        self.start_notifier_tray()
        self.use(self.notifier_icon)

    def test_trays_that_come_end_and_take_over(self):
        self.stowboard.start()
        self.stowboard.wait_for_log(MISSING)
        for _ in range(2):
            xembed = self.start_xembed_tray()
            wait_until(self.xembed_icon, "the X11 tray has it")
            self.desktop.stop_program(xembed)
        self.start_xembed_tray()
        for _ in range(2):
            notifier = self.start_notifier_tray()
            wait_until(self.notifier_icon, "the other one has it")
            wait_until(lambda: not self.xembed_icon(), "the X11 tray has it no more")
            self.desktop.stop_program(notifier)
            wait_until(self.xembed_icon, "the X11 tray has it again")
        self.assertEqual(self.stowboard.logged(MISSING), 1)

    def test_a_watcher_that_hangs_holds_up_nothing(self):
        if tuple(map(int, qVersion().split("."))) >= (6, 8):
            self.skipTest("this toolkit's X11 icon goes to the watcher that hangs all the same")
        hung = self.start_owner(HUNG_WATCHER)
        self.stowboard.start()
        self.record("copied meanwhile")
        self.start_xembed_tray()
        wait_until(self.xembed_icon, "the X11 tray has it")
        self.desktop.stop_program(hung)
        self.start_notifier_tray()
        wait_until(self.notifier_icon, "the other one has it")

    def test_a_bus_that_is_restarted_has_it_again(self):
        address = f"unix:path={self.desktop.directory}/restarted"
        restarted = {"DBUS_SESSION_BUS_ADDRESS": address}
        bus = self.start_bus(address)
        self.stowboard.start(**restarted)
        for _ in range(2):
            self.disconnect()
            self.connect(address)
            tray = self.start_notifier_tray(restarted)
            wait_until(self.notifier_icon, "the tray has it")
            self.desktop.click(*self.notifier_icon())
            self.stowboard.wait_for_panel()
            self.desktop.keys("Escape")
            self.stowboard.wait_until_panel_closed()
            for program in (tray, bus):
                self.desktop.stop_program(program)
            bus = self.start_bus(address)


if __name__ == "__main__":
    main()
