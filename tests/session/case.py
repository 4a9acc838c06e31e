"""The ground of the end-to-end tests: one private desktop a class, one fresh home a test."""

import os
import pathlib
import shutil
import subprocess
import sys
import time
import unittest

from Xlib import display

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(1, str(ROOT / "tools" / "session"))
from applications import copy_text  # noqa: E402
from desktop import PrivateDesktop, ends_on_signals, wait_until  # noqa: E402
from stowboard import Stowboard  # noqa: E402

PROGRAM = pathlib.Path(os.environ.get("STOWBOARD_PROGRAM", ROOT / "build/test/stowboard"))
SANITIZER_REPORTS = ("AddressSanitizer", "LeakSanitizer", "runtime error:")


class SessionCase(unittest.TestCase):
    """Gives `desktop` and `stowboard`, not started yet. After each test the program must end with
    status 0 and without a sanitizer's report, unless the test ended it itself."""

    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.enterClassContext(PrivateDesktop())

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
            self.assert_no_sanitizer_report()

    def assert_no_sanitizer_report(self):
        reports = [line for line in self.stowboard.lines
                   if any(mark in line for mark in SANITIZER_REPORTS)]
        self.assertEqual(reports, [], "\n".join(self.stowboard.lines))

    def open(self, *command, title, **options):
        """Starts an application, waits for its window, ends it with the test."""
        program = self.desktop.start(command, **options)
        self.addCleanup(self.desktop.stop_program, program)
        self.desktop.window(title)
        return program

    def copy_after_the_last(self, text):
        """A copy by xclip; returns when the X server has the new owner, so that copies keep their
        order: xclip takes the clipboard only after it has put itself in the background."""
        if not hasattr(self, "_watch"):
            self._watch = display.Display(self.desktop.environment["DISPLAY"])
            self.addCleanup(self._watch.close)
        owner = lambda: self._watch.get_selection_owner(self._watch.intern_atom("CLIPBOARD"))
        before = owner()
        copy_text(self.desktop, text)
        wait_until(lambda: owner() != before, "a new owner")

    def start_owner(self, script, *arguments):
        """Starts a clipboard owner written in Python; waits until it says that it owns."""
        owner = self.desktop.start(["/usr/bin/python3", "-c", script, *arguments],
                                   stdout=subprocess.PIPE)
        self.addCleanup(owner.stdout.close)
        self.addCleanup(self.desktop.stop_program, owner)
        self.assertEqual(owner.stdout.readline().strip(), b"owns")
        return owner


def main():
    ends_on_signals()
    unittest.main(verbosity=2)


__all__ = ["PROGRAM", "SessionCase", "main", "subprocess", "sys", "time", "wait_until"]
