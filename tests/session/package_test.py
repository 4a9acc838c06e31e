#!/usr/bin/python3
"""The installed Debian package, upgraded, removed and purged while the program runs.

Changes the system, by sudo, so CTest does not run it: tools/try-package does, in a system made for
it. STOWBOARD_PACKAGE names the package's file, which is installed already.
"""

import os
import pathlib
import tempfile

from case import SessionCase, main, subprocess

PACKAGE = "stowboard"


def as_root(*command):
    subprocess.run(["sudo", "env", "DEBIAN_FRONTEND=noninteractive", *command], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def installed_version():
    return subprocess.run(["dpkg-query", "-W", "-f=${Version}", PACKAGE], check=True,
                          stdout=subprocess.PIPE, text=True).stdout


def files_of_package():
    listed = subprocess.run(["dpkg-query", "-L", PACKAGE], check=True, stdout=subprocess.PIPE,
                            text=True).stdout
    return [path for path in map(pathlib.Path, listed.split()) if PACKAGE in path.name]


def newer(package, folder):
    """The same package with a higher version."""
    unpacked = pathlib.Path(folder) / "unpacked"
    subprocess.run(["dpkg-deb", "-R", package, unpacked], check=True)
    control = unpacked / "DEBIAN" / "control"
    version = installed_version()
    control.write_text(control.read_text().replace(version, f"{version}.1"))
    file = pathlib.Path(folder) / "newer.deb"
    subprocess.run(["dpkg-deb", "--root-owner-group", "-b", unpacked, file], check=True,
                   stdout=subprocess.DEVNULL)
    return file


class Package(SessionCase):
    def paste_newest(self, text):
        receiver = self.receiver("xterm")
        self.desktop.keys("super+alt+1")
        receiver.wait_for(text)
        receiver.close()

    def test_a_running_program_and_its_history_outlive_upgrade_removal_and_purge(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        before = installed_version()
        self.stowboard.start()
        self.record("before the upgrade")
        as_root("apt-get", "install", "-y", newer(os.environ["STOWBOARD_PACKAGE"], folder))
        self.assertNotEqual(installed_version(), before)

        self.record("after the upgrade")
        self.paste_newest("after the upgrade")
        new = self.desktop.start([self.stowboard.program])
        self.assertEqual(new.wait(20), 0)
        self.stowboard.wait_for_panel()
        self.desktop.keys("Escape")
        self.stowboard.wait_until_panel_closed()
        self.assertEqual(self.stowboard.stop(), 0)

        for command in ("remove", "purge"):
            self.stowboard.start()
            files = files_of_package()
            as_root("apt-get", command, "-y", PACKAGE)
            self.assertEqual([path for path in files if path.exists()], [])
            self.record(f"after the {command}")
            self.assertEqual(self.stowboard.stop(), 0)
            as_root("apt-get", "install", "-y", os.environ["STOWBOARD_PACKAGE"])
        self.stowboard.start()
        self.assertEqual(self.stowboard.texts(), ["after the purge", "after the remove",
                                                  "after the upgrade", "before the upgrade"])


if __name__ == "__main__":
    main()
