"""The ground of the end-to-end tests: one private desktop a class, one fresh home a test.

Import it first: it lets tests find the tools that the tour and the benchmarks use as well.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(1, str(ROOT / "tools" / "session"))
from desktop import PrivateDesktop, ends_on_signals, wait_until  # noqa: E402
from receivers import Receiver  # noqa: E402
from stowboard import Stowboard  # noqa: E402
from gnome import GnomeDesktop  # noqa: E402
from kwin import KwinDesktop, become_ordinary  # noqa: E402
from sway import SwayDesktop  # noqa: E402

PROGRAM = pathlib.Path(os.environ.get("STOWBOARD_PROGRAM", ROOT / "build/test/stowboard"))
DESKTOP = os.environ.get("STOWBOARD_DESKTOP")
ON_SWAY = DESKTOP == "sway"
ON_KWIN = DESKTOP == "kwin"
ON_GNOME = DESKTOP == "gnome"
ON_WAYLAND = ON_SWAY or ON_KWIN or ON_GNOME
DESKTOPS = {"sway": SwayDesktop, "kwin": KwinDesktop, "gnome": GnomeDesktop}
SANITIZER_REPORTS = ("AddressSanitizer", "LeakSanitizer", "runtime error:")


class SessionCase(unittest.TestCase):
    """Gives `desktop` and `stowboard`, not started yet. After each test the program must end with
    status 0 and without a sanitizer's report, unless the test ended it itself."""

    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.enterClassContext(DESKTOPS.get(DESKTOP, PrivateDesktop)())

    def setUp(self):
        self.stowboard = Stowboard(self.desktop, PROGRAM)
        self.addCleanup(shutil.rmtree, self.stowboard.folder, ignore_errors=True)
        self.addCleanup(self._end)

    def _end(self):
        process = self.stowboard.process
        if process is not None:
            was_running = process.poll() is None
            status = self.stowboard.stop()
            if was_running:
                self.assertEqual(status, 0, self.stowboard.lines)
            if ON_SWAY:
                # Where a program's keyboard was the last in use, windows have none until the next
                # key, which some programs wait for with their first one.
                self.desktop.keys("shift")
            reports = [line for line in self.stowboard.lines
                       if any(mark in line for mark in SANITIZER_REPORTS)]
            self.assertEqual(reports, [], "\n".join(self.stowboard.lines))

    def start_program(self, *command, **options):
        """Starts a program and ends it with the test."""
        program = self.desktop.start(command, **options)
        self.addCleanup(self.desktop.stop_program, program)
        return program

    def receiver(self, kind):
        """A program to paste into, which ends with the test."""
        receiver = Receiver(self.desktop, kind)
        self.addCleanup(receiver.close)
        return receiver

    def start_bus(self, address):
        """A session bus beside the desktop's own; returns when it answers."""
        bus = self.start_program("dbus-daemon", "--session", "--nofork", "--nopidfile",
                                 f"--address={address}", "--print-address", stdout=subprocess.PIPE)
        with bus.stdout:
            bus.stdout.readline()
        return bus

    def start_owner(self, script, *arguments, **options):
        """Starts a clipboard owner written in Python; waits until it says that it owns."""
        owner = self.start_program("/usr/bin/python3", "-c", script, *arguments,
                                   stdout=subprocess.PIPE, **options)
        self.addCleanup(owner.stdout.close)
        self.assertEqual(owner.stdout.readline().strip(), b"owns")
        return owner

    def record(self, *texts, seconds=10.0):
        """Copies one text after the other; returns the last one's clip."""
        for text in texts:
            self.desktop.copy(text)
            clip = self.stowboard.wait_for_text(text, seconds)
        return clip


def main():
    ends_on_signals()
    if ON_KWIN:
        become_ordinary(PROGRAM)
    unittest.main(verbosity=2)
