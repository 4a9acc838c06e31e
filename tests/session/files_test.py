#!/usr/bin/python3
"""What is recorded reaches the disk, whatever happens to the program or to the disk."""

import os
import signal

from case import PROGRAM, SessionCase, main, wait_until
from desktop import PrivateDesktop
from stowboard import Stowboard
from sway import SwayDesktop


class Files(SessionCase):
    def test_a_restart_keeps_the_history_in_private_files(self):
        self.stowboard.start(through=["sh", "-c", 'umask 0; exec "$0"'])
        self.record("first", "second")
        before = self.stowboard.history()
        self.assertEqual(self.stowboard.stop(), 0)
        self.stowboard.start()
        self.assertEqual(self.stowboard.history(), before)
        self.record("third")
        self.assertEqual(self.stowboard.history()[1:], before)
        self.assertEqual(self.stowboard.folder.stat().st_mode & 0o777, 0o700)
        for path in self.stowboard.folder.iterdir():
            self.assertEqual(path.stat().st_mode & 0o777, 0o600, path)

    def test_what_was_recorded_is_on_disk_after_any_orderly_end(self):
        large = "x" * 4_000_000  # takes a while to write
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(signal=number.name):
                self.stowboard.start()
                recorded = self.stowboard.process.pid
                self.desktop.copy(f"{number.name} {large}")
                # On its way to the disk: written aside, not renamed yet, or already there.
                wait_until(lambda: len(list(self.stowboard.folder.glob("*"))) > 1
                           or self.stowboard.texts()[:1] == [f"{number.name} {large}"],
                           f"process {recorded} saves")
                self.assertEqual(self.stowboard.stop(number), 0, self.stowboard.lines)
                self.assertEqual(self.stowboard.texts()[0], f"{number.name} {large}")

    def test_the_end_of_the_x_server_or_the_compositor_ends_it_in_order(self):
        for kind in (PrivateDesktop, SwayDesktop):
            with self.subTest(kind.__name__), kind() as desktop:
                stowboard = Stowboard(desktop, PROGRAM).start()
                desktop.copy("the last copy of the session")
                stowboard.wait_for_text("the last copy of the session")
                desktop.stop_display()
                self.assertEqual(stowboard.wait_for_end(), 0)
                self.assertEqual(stowboard.texts(), ["the last copy of the session"])

    def test_a_damaged_history_is_set_aside_by_the_next_save(self):
        self.stowboard.set(maxRecords=5)
        damaged = b'[{"id":"00000000-0000-4000-8000-000000000000","type":"text"'
        self.stowboard.history_file.write_bytes(damaged)
        self.stowboard.start()
        self.assertEqual(self.stowboard.logged("Failed to decode history.json"), 1)
        self.assertEqual(self.stowboard.history_file.read_bytes(), damaged)
        self.desktop.copy("after the damage")
        aside = self.stowboard.folder / "history.json.damaged"
        wait_until(lambda: aside.exists() and self.stowboard.history_file.read_bytes() != damaged,
                   "the damaged file is set aside and replaced")
        self.assertEqual(aside.read_bytes(), damaged)
        self.assertEqual(self.stowboard.texts(), ["after the damage"])

    def test_without_a_display_it_says_so_in_one_line(self):
        for display in (["-u", "DISPLAY"], ["DISPLAY=:65000"]):
            with self.subTest(display=display):
                self.stowboard.start(wait=False, through=["env", *display])
                self.assertEqual(self.stowboard.wait_for_end(), 1)
                self.assertEqual(len(self.stowboard.lines), 1, self.stowboard.lines)
                self.assertIn("isplay" if "-u" in display else ":65000", self.stowboard.lines[0])
                self.assertFalse(self.stowboard.folder.exists())

    def test_hosted_by_a_test_runner_it_does_nothing(self):
        self.stowboard.start(wait=False, XCTestConfigurationFilePath="x")
        self.stowboard.settle()
        self.desktop.copy("not to be seen")
        self.stowboard.settle()
        self.assertFalse(self.stowboard.folder.exists())
        self.assertEqual(self.stowboard.lines, [])

    def test_without_a_terminal_only_errors_are_written(self):
        if os.path.exists("/run/systemd/journal/socket"):
            self.skipTest("errors go to this machine's journal")
        self.stowboard.set(maxRecords="many")
        self.stowboard.start(terminal=False)
        wait_until(lambda: self.stowboard.lines, "the settings' error")
        wait_until(lambda: self.desktop.copy("seen") or self.stowboard.texts(), "a copy")
        self.assertEqual(self.stowboard.stop(), 0)
        self.assertEqual(len(self.stowboard.lines), 1, self.stowboard.lines)
        self.assertIn("Failed to decode settings.json", self.stowboard.lines[0])
        self.assertEqual(self.stowboard.settings(), {"maxRecords": "many"})


if __name__ == "__main__":
    main()
