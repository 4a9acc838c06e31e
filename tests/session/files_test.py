#!/usr/bin/python3
"""What is recorded reaches the disk, whatever happens to the program or to the disk."""

import json
import os
import pathlib
import random
import signal
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "session"))
from applications import copy_text  # noqa: E402
from case import PROGRAM, SessionCase, main, time, wait_until  # noqa: E402
from desktop import PrivateDesktop  # noqa: E402
from stowboard import Stowboard  # noqa: E402

# Root may write anywhere; without this capability it is held to the permissions as a user is.
AS_USER = ["setpriv", "--bounding-set=-dac_override"] if os.geteuid() == 0 else []


class Files(SessionCase):
    def copy(self, text):
        copy_text(self.desktop, text)
        return self.stowboard.wait_for_text(text)

    def test_a_restart_keeps_the_history_in_private_files(self):
        self.stowboard.start(through=["sh", "-c", 'umask 0; exec "$0"'])
        for text in ("first", "second"):
            self.copy(text)
        before = self.stowboard.history()
        self.assertEqual(self.stowboard.stop(), 0)
        self.stowboard.start()
        self.assertEqual(self.stowboard.history(), before)
        self.copy("third")
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
                copy_text(self.desktop, f"{number.name} {large}")
                # On its way to the disk: written aside, not renamed yet, or already there.
                wait_until(lambda: len(list(self.stowboard.folder.glob("*"))) > 1
                           or self.stowboard.texts()[:1] == [f"{number.name} {large}"],
                           f"process {recorded} saves")
                self.assertEqual(self.stowboard.stop(number), 0, self.stowboard.lines)
                self.assertEqual(self.stowboard.texts()[0], f"{number.name} {large}")

    def test_the_end_of_the_x_server_ends_it_in_order(self):
        with PrivateDesktop() as desktop:
            stowboard = Stowboard(desktop, PROGRAM).start()
            copy_text(desktop, "the last copy of the session")
            stowboard.wait_for_text("the last copy of the session")
            desktop.stop_display()
            self.assertIn(stowboard.wait_for_end(), (0, 1))
            self.assertEqual(stowboard.texts(), ["the last copy of the session"])

    def test_a_damaged_history_is_set_aside_by_the_next_save(self):
        self.stowboard.set(maxRecords=5)
        damaged = b'[{"id":"00000000-0000-4000-8000-000000000000","type":"text"'
        self.stowboard.history_file.write_bytes(damaged)
        self.stowboard.start()
        self.assertEqual(self.stowboard.logged("Failed to decode history.json"), 1)
        self.assertEqual(self.stowboard.history_file.read_bytes(), damaged)
        copy_text(self.desktop, "after the damage")
        aside = self.stowboard.folder / "history.json.damaged"
        wait_until(lambda: aside.exists() and self.stowboard.history_file.read_bytes() != damaged,
                   "the damaged file is set aside and replaced")
        self.assertEqual(aside.read_bytes(), damaged)
        self.assertEqual(self.stowboard.texts(), ["after the damage"])

    def test_it_goes_on_without_a_writable_folder(self):
        self.stowboard.start(through=AS_USER)
        self.copy("writable")
        self.stowboard.folder.chmod(0o500)
        copy_text(self.desktop, "not writable")
        self.stowboard.wait_for_log("Failed to save history.json")
        self.assertEqual(self.stowboard.texts(), ["writable"])
        self.stowboard.folder.chmod(0o700)
        self.copy("writable again")
        self.assertEqual(self.stowboard.texts(), ["writable again", "not writable", "writable"])

    def test_it_goes_on_without_any_folder(self):
        self.stowboard.start(XDG_DATA_HOME="/proc")
        self.assertEqual(self.stowboard.logged("Failed to create storage directory"), 1)
        for count, text in enumerate(("one", "two"), 1):
            copy_text(self.desktop, text)
            self.stowboard.wait_for_log("Failed to save history.json", count)

    def test_a_save_that_finds_no_room_leaves_the_old_list_whole(self):
        # A file size limit, since a test cannot fill the disk: 16 KiB.
        self.stowboard.set(maxRecords=1)
        self.stowboard.start(through=["sh", "-c", 'trap "" XFSZ; ulimit -f 32; exec "$0"'])
        self.copy("fits")
        copy_text(self.desktop, "y" * 60_000)
        self.stowboard.wait_for_log("Failed to save history.json")
        self.assertEqual(self.stowboard.texts(), ["fits"])
        self.copy("fits again")
        self.assertEqual(self.stowboard.texts(), ["fits again"])
        self.assertEqual({path.name for path in self.stowboard.folder.iterdir()},
                         {"history.json", "settings.json"})

    def test_killed_at_any_moment_it_leaves_a_whole_list(self):
        self.stowboard.set(maxRecords=100)
        self.stowboard.start()
        self.copy("z" * 3_000_000)  # so that every save takes a while
        self.stowboard.stop()
        chance = random.Random(1)
        kept = []
        for number in range(1, 61, 5):
            self.stowboard.start()
            self.copy(str(number))
            for text in range(number + 1, number + 5):
                self.copy_after_the_last(str(text))
            time.sleep(chance.uniform(0.0, 0.1))  # a save takes about that long
            self.stowboard.stop(signal.SIGKILL)
            numbers = [int(text) for text in self.stowboard.texts() if text.isdigit()]
            self.assertEqual(numbers, sorted(numbers, reverse=True))
            self.assertEqual([n for n in numbers if n < number], kept)
            self.assertIn(number, numbers)
            kept = numbers
        self.stowboard.start()
        self.copy("after all that")
        self.assertEqual({path.name for path in self.stowboard.folder.iterdir()},
                         {"history.json", "settings.json"})

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
        copy_text(self.desktop, "not to be seen")
        self.stowboard.settle()
        self.assertFalse(self.stowboard.folder.exists())
        self.assertEqual(self.stowboard.lines, [])

    def test_without_a_terminal_only_errors_are_written(self):
        if os.path.exists("/run/systemd/journal/socket"):
            self.skipTest("errors go to this machine's journal")
        self.stowboard.set(maxRecords="many")
        self.stowboard.start(terminal=False)
        wait_until(lambda: self.stowboard.lines, "the settings' error")
        wait_until(lambda: copy_text(self.desktop, "seen") or self.stowboard.texts(), "a copy")
        self.assertEqual(self.stowboard.stop(), 0)
        self.assertEqual(len(self.stowboard.lines), 1, self.stowboard.lines)
        self.assertIn("Failed to decode settings.json", self.stowboard.lines[0])
        self.assertEqual(json.loads(self.stowboard.settings_file.read_text()),
                         {"maxRecords": "many"})


if __name__ == "__main__":
    main()
