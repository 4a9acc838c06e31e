#!/usr/bin/python3
"""The clipboard under load, owners that misbehave, content that is not to be kept, and rest."""

import time

from case import SessionCase, main, wait_until
from applications import copy_in_terminal

# Takes the clipboard as a password manager does.
SECRET_OWNER = """
import sys
from PyQt6.QtCore import QMimeData
from PyQt6.QtWidgets import QApplication
application = QApplication([])
content = QMimeData()
content.setText("a password")
content.setData("x-kde-passwordManagerHint", b"secret")
application.clipboard().setMimeData(content)
application.processEvents()
print("owns", flush=True)
application.exec()
"""

# Takes the clipboard. "silent" never answers; "dying" offers text and goes away in the middle of an
# incremental transfer of it.
BAD_OWNER = """
import os, sys
from Xlib import X, Xatom, display
from Xlib.protocol import event
d = display.Display()
window = d.screen().root.create_window(0, 0, 1, 1, 0, 0)
clipboard, targets, utf8, incr = map(d.intern_atom, ("CLIPBOARD", "TARGETS", "UTF8_STRING", "INCR"))
window.set_selection_owner(clipboard, X.CurrentTime)
d.sync()
print("owns", flush=True)
while True:
    e = d.next_event()
    if sys.argv[1] == "silent" or e.type != X.SelectionRequest:
        continue
    if e.target == targets:
        e.requestor.change_property(e.property, Xatom.ATOM, 32, [targets, utf8])
    else:
        e.requestor.change_property(e.property, incr, 32, [1000])
    e.requestor.send_event(event.SelectionNotify(time=e.time, requestor=e.requestor,
        selection=e.selection, target=e.target, property=e.property))
    d.sync()
    if e.target == utf8:
        os._exit(0)
"""


class Load(SessionCase):
    def test_a_hundred_owners_20_ms_apart_are_all_recorded_in_order(self):
        self.stowboard.set(maxRecords=1000)
        self.stowboard.start()
        for number in range(100):
            self.desktop.copy(f"copy {number}")
            time.sleep(0.02)  # the pace is what is tested
        self.stowboard.wait_for_text("copy 99", 30)
        self.assertEqual(self.stowboard.texts(), [f"copy {n}" for n in range(99, -1, -1)])


class Owners(SessionCase):
    def test_a_copy_after_a_misbehaving_owner_is_recorded(self):
        self.stowboard.start()
        for kind in ("silent", "dying"):
            with self.subTest(owner=kind):
                self.start_owner(BAD_OWNER, kind)
                self.record(f"after the {kind} one")

    def test_a_text_marked_as_secret_is_not_recorded(self):
        self.stowboard.start()
        self.start_owner(SECRET_OWNER)
        self.record("no secret")
        self.assertEqual(self.stowboard.texts(), ["no secret"])
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


class Rest(SessionCase):
    def test_the_idle_program_does_not_wake(self):
        self.stowboard.start()
        self.record("before the rest")
        self.stowboard.settle()
        before = self.stowboard.main_thread_switches(), self.stowboard.processor_ticks()
        time.sleep(3)  # the rest is what is measured; six poll intervals
        after = self.stowboard.main_thread_switches(), self.stowboard.processor_ticks()
        self.assertEqual(after, before)


if __name__ == "__main__":
    main()
