#!/usr/bin/python3
"""What an installation puts into the desktop: the entry in its menu, the service of its bus, icons,
the manual page and the description for software centres.

Installs the build into a folder of its own, unless STOWBOARD_PREFIX names where it is installed.
"""

import os
import pathlib
import re
import tempfile
import unittest
import xml.etree.ElementTree

from gi.repository import Gio

from case import PROGRAM, ROOT, SessionCase, main, subprocess, wait_until

ID = "com.qarvin.stowboard"
LAUNCH = """
import sys
from gi.repository import Gio, GLib
entry = Gio.DesktopAppInfo.new_from_filename(sys.argv[1])
if len(sys.argv) > 2:
    entry.launch_action(sys.argv[2], None)
else:
    entry.launch([], None)
GLib.MainLoop().run()
"""
DRAW_SYMBOL = """
import sys, gi
gi.require_version("Gtk", "3.0")
from gi.repository import Gtk, Gdk
theme = Gtk.IconTheme.get_default()
theme.prepend_search_path(sys.argv[1])
for size in (16, 48):
    assert theme.lookup_icon(sys.argv[2], size, 0).get_filename().startswith(sys.argv[1])
symbol = theme.lookup_icon(sys.argv[2] + "-symbolic", 16, 0)
pixels = symbol.load_symbolic(Gdk.RGBA(1, 0, 0, 1))[0].get_pixels()
print({tuple(pixels[at:at + 3]) for at in range(0, len(pixels), 4) if pixels[at + 3] == 255})
"""


def install(prefix):
    subprocess.run(["cmake", "--install", PROGRAM.parent, "--prefix", prefix], check=True,
                   stdout=subprocess.DEVNULL)
    return prefix


class Installation(SessionCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        installed = os.environ.get("STOWBOARD_PREFIX")
        # A path that has to be quoted.
        cls.prefix = pathlib.Path(installed) if installed else install(cls.desktop.directory / "a prefix")
        cls.share = cls.prefix / "share"
        cls.entry = cls.share / "applications" / f"{ID}.desktop"

    def setUp(self):
        super().setUp()
        service = self.desktop.directory / "services" / f"{ID}.service"
        service.write_text((self.share / "dbus-1" / "services" / service.name).read_text())
        self.addCleanup(service.unlink)
        wait_until(lambda: ID in self.call_bus("ListActivatableNames"), "the bus knows the service")
        self.addCleanup(self.quit)

    def call_bus(self, method, *arguments):
        return self.desktop.output("dbus-send", "--session", "--print-reply=literal",
                                   "--dest=org.freedesktop.DBus", "/",
                                   f"org.freedesktop.DBus.{method}", *arguments)

    def is_running(self):
        return "true" in self.call_bus("NameHasOwner", f"string:{ID}")

    def act(self, action, *parameter):
        subprocess.run(["gapplication", "action", ID, action, *parameter], check=True,
                       env=self.desktop.environment, timeout=30)

    def launch(self, *action):
        """As a menu of the desktop does it, which stays: the bus forgets calls of who has gone."""
        self.start_program("/usr/bin/python3", "-c", LAUNCH, self.entry, *action)

    def quit(self):
        if self.is_running():
            self.act("quit")
            wait_until(lambda: not self.is_running(), "it has ended")

    def test_a_launch_is_quiet_and_the_next_one_shows_the_history(self):
        self.launch()
        wait_until(self.is_running, "it runs")
        # Shows the panel only if the launch did not.
        self.act("show-history")
        self.stowboard.wait_for_panel()
        self.desktop.keys("Escape")
        self.stowboard.wait_until_panel_closed()
        self.launch()
        self.stowboard.wait_for_panel()

    def test_the_entry_offers_what_the_program_does(self):
        self.launch()
        wait_until(self.is_running, "it runs")
        self.launch("show-history")
        self.stowboard.wait_for_panel()
        self.launch("open-settings")
        wait_until(lambda: self.desktop.windows("^Stowboard Settings$"), "the settings are open")
        self.launch("quit")
        wait_until(lambda: not self.is_running(), "it has ended")
        actions = Gio.DesktopAppInfo.new_from_filename(str(self.entry)).list_actions()
        self.assertEqual(actions, ["show-history", "open-settings", "quit"])

    def test_the_bus_starts_the_one_that_is_installed(self):
        self.act("show-history")
        self.stowboard.wait_for_panel()
        owner = self.call_bus("GetConnectionUnixProcessID", f"string:{ID}").split()[-1]
        self.assertEqual(os.readlink(f"/proc/{owner}/exe"), str(self.prefix / "bin" / "stowboard"))

    def test_icons_are_found_and_the_symbol_takes_the_panels_colour(self):
        colours = self.desktop.output("/usr/bin/python3", "-c", DRAW_SYMBOL, self.share / "icons", ID)
        self.assertEqual(colours, "{(255, 0, 0)}\n")


class Files(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.share = install(folder) / "share"

    def test_the_desktops_own_tools_find_no_fault(self):
        for command in (
                ["desktop-file-validate", self.share / "applications" / f"{ID}.desktop"],
                ["appstreamcli", "validate", "--no-net", "--no-color",
                 self.share / "metainfo" / f"{ID}.metainfo.xml"],
                ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z",
                 self.share / "man" / "man1" / "stowboard.1"]):
            with self.subTest(command[0]):
                result = subprocess.run(command, capture_output=True, text=True, timeout=60)
                self.assertEqual((result.returncode, result.stderr), (0, ""), result.stdout)

    def test_notices_and_build_dependencies_are_complete(self):
        linked = subprocess.run(["objdump", "-p", PROGRAM], capture_output=True, text=True).stdout
        # Without the sanitizers' and those that the toolkit only names to the linker.
        libraries = set(re.findall(r"NEEDED +(lib[^.]*)", linked)) - {
            "libasan", "libubsan", "libtsan", "libGLX", "libOpenGL"}
        self.assertLess({"libQt6Core", "libxcb"}, libraries)
        named = set(re.findall(r"lib[\w+-]+", (ROOT / "NOTICE").read_text()))
        self.assertEqual(libraries - named, set())
        listed = re.sub("#.*", "", (ROOT / "tools/packages/build.list").read_text())
        control = (ROOT / "debian/control").read_text().split("\n\n")[0]
        # The compiler comes with every build of a package.
        self.assertEqual({name for name in re.findall(r"^[\w.+-]+", listed, re.MULTILINE)
                          if not re.search(rf"[ ]{re.escape(name)}\b", control)}, {"g++"})

    def test_one_version_everywhere(self):
        def first(pattern, file):
            return re.search(pattern, (ROOT / file).read_text(), re.MULTILINE).groups()
        version, date = first(r"^## (\d\S*) - (\S+)$", "CHANGELOG.md")
        self.assertEqual(first(r"^project\(Stowboard VERSION (\S+) ", "CMakeLists.txt"), (version,))
        self.assertEqual(first(r"^stowboard \((.*)-\d+\)", "debian/changelog"), (version,))
        self.assertEqual(first(r"^\.TH STOWBOARD 1 (\S+) \"Stowboard (\S+)\"",
                               "resources/stowboard.1"), (date, version))
        metainfo = xml.etree.ElementTree.parse(self.share / "metainfo" / f"{ID}.metainfo.xml")
        newest = metainfo.find("releases/release")
        self.assertEqual((newest.get("version"), newest.get("date")), (version, date))


if __name__ == "__main__":
    main()
