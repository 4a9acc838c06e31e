#!/usr/bin/python3
"""The clipboard under load, content that is not to be kept, and rest."""

import time

from case import SessionCase, main
from applications import copy_in_terminal

# Takes the clipboard as a password manager does, with its window in front.
SECRET_OWNER = """
from PyQt6.QtCore import QMimeData
from PyQt6.QtWidgets import QApplication, QWidget
application = QApplication([])
window = QWidget()
window.setWindowTitle("Secrets")
window.show()
while not window.isActiveWindow():
    application.processEvents()
content = QMimeData()
content.setText("a password")
content.setData("x-kde-passwordManagerHint", b"secret")
application.clipboard().setMimeData(content)
application.processEvents()
print("owns", flush=True)
application.exec()
"""


class Clipboard(SessionCase):
    def test_a_hundred_owners_20_ms_apart_are_all_recorded_in_order(self):
        self.stowboard.set(maxRecords=1000)
        self.stowboard.start()
        for number in range(100):
            self.desktop.copy(f"copy {number}")
            time.sleep(0.02)  # the pace is what is tested
        self.stowboard.wait_for_text("copy 99", 30)
        self.assertEqual(self.stowboard.texts(), [f"copy {n}" for n in range(99, -1, -1)])

    def test_a_text_marked_as_secret_is_not_recorded(self):
        self.stowboard.start()
        # Some compositors lose the mark of what comes from an X11 program.
        for platform in ("", "xcb"):
            self.start_owner(SECRET_OWNER, environment={"QT_QPA_PLATFORM": platform})
            self.stowboard.settle()
            self.record("no secret" + platform)
        self.assertEqual(self.stowboard.texts(), ["no secretxcb", "no secret"])
        self.assertEqual(self.stowboard.logged("no readable content"), 0)

    def test_a_copy_in_an_excluded_application_is_skipped(self):
        self.stowboard.set(excludedBundleIds=["debian-xterm"])
        self.stowboard.start()
        terminal = copy_in_terminal(self.desktop, "typed in the excluded one")
        self.stowboard.wait_for_log("Skipped: source app is excluded")
        self.desktop.stop_program(terminal)
        self.record("typed elsewhere")
        self.assertEqual(self.stowboard.texts(), ["typed elsewhere"])

    def test_what_was_there_before_and_what_repeats_is_not_recorded(self):
        self.desktop.copy("there before")
        self.stowboard.start()
        self.record("one")
        self.desktop.copy("one")
        self.stowboard.wait_for_log("Skipped: duplicate of the latest entry")
        self.record("two", "one")
        self.assertEqual(self.stowboard.texts(), ["one", "two", "one"])

    def test_the_idle_program_does_not_wake(self):
        self.stowboard.start()
        self.record("before the rest")
        self.stowboard.settle()
        before = self.stowboard.activity()
        time.sleep(3)  # the rest is what is measured; six poll intervals
        self.assertEqual(self.stowboard.activity(), before)


if __name__ == "__main__":
    main()
