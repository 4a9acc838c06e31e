#!/usr/bin/python3
"""The clipboard under load, owners that misbehave, content that is not to be kept, and rest."""

import hashlib
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "session"))
from applications import copy_in_terminal, copy_text  # noqa: E402
from case import SessionCase, main, time, wait_until  # noqa: E402

# Takes the clipboard as a password manager does. The argument is the type that marks a secret.
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
            self.copy_after_the_last(f"copy {number}")
            time.sleep(0.02)  # the pace is what is tested
        self.stowboard.wait_for_text("copy 99", 30)
        self.assertEqual(self.stowboard.texts(), [f"copy {n}" for n in range(99, -1, -1)])

    def test_large_texts_are_recorded_whole(self):
        self.stowboard.set(maxRecords=1)
        self.stowboard.start()
        for megabytes in (1, 10, 50):
            with self.subTest(megabytes=megabytes):
                text = "".join(f"{n:015d}\n" for n in range(megabytes << 16))
                copy_text(self.desktop, text)
                size = len(text)
                wait_until(lambda: self.stowboard.history_file.exists()
                           and self.stowboard.history_file.stat().st_size > size,
                           f"{megabytes} MB are on disk", 60)
                digest = lambda value: hashlib.sha256(value.encode()).hexdigest()
                self.assertEqual(digest(self.stowboard.texts()[0]), digest(text))
                copy_text(self.desktop, "a short one after it")
                self.stowboard.wait_for_text("a short one after it")


class Owners(SessionCase):
    def test_a_copy_after_a_misbehaving_owner_is_recorded(self):
        self.stowboard.start()
        for kind in ("silent", "dying"):
            with self.subTest(owner=kind):
                self.start_owner(BAD_OWNER, kind)
                copy_text(self.desktop, f"after the {kind} one")
                self.stowboard.wait_for_text(f"after the {kind} one")

    def test_an_owner_that_never_answers_is_given_up_with_its_log(self):
        self.stowboard.start()
        self.start_owner(BAD_OWNER, "silent")
        self.stowboard.wait_for_log("Detected change but no readable content; types: ", 3, 30)
        self.stowboard.wait_for_log("Gave up reading clipboard content after 3 retries")
        self.assertEqual(self.stowboard.history(), [])

    def test_a_text_marked_as_secret_is_not_recorded(self):
        self.stowboard.start()
        self.start_owner(SECRET_OWNER)
        copy_text(self.desktop, "no secret")
        self.stowboard.wait_for_text("no secret")
        self.assertEqual(self.stowboard.texts(), ["no secret"])
        self.assertEqual(self.stowboard.logged("no readable content"), 0)

    def test_a_copy_in_an_excluded_application_is_skipped(self):
        self.stowboard.set(excludedBundleIds=["debian-xterm"])
        self.stowboard.start()
        terminal = copy_in_terminal(self.desktop, "typed in the excluded one")
        self.stowboard.wait_for_log("Skipped: source app is excluded")
        self.desktop.stop_program(terminal)
        copy_text(self.desktop, "typed elsewhere")
        self.stowboard.wait_for_text("typed elsewhere")
        self.assertEqual(self.stowboard.texts(), ["typed elsewhere"])

    def test_what_was_there_before_and_what_repeats_is_not_recorded(self):
        copy_text(self.desktop, "there before")
        self.stowboard.start()
        for text in ("one", "one", "two", "one"):
            before = self.stowboard.logged("Skipped: duplicate of the latest entry")
            recorded = len(self.stowboard.history())
            copy_text(self.desktop, text)
            wait_until(lambda: len(self.stowboard.history()) > recorded or self.stowboard.logged(
                "Skipped: duplicate of the latest entry") > before, f"{text} is dealt with")
        self.assertEqual(self.stowboard.texts(), ["one", "two", "one"])
        self.assertEqual(self.stowboard.logged("Skipped: duplicate of the latest entry"), 1)


class Rest(SessionCase):
    def test_the_idle_program_does_not_wake(self):
        self.stowboard.start()
        copy_text(self.desktop, "before the rest")
        self.stowboard.wait_for_text("before the rest")
        self.stowboard.settle()
        before = self.stowboard.main_thread_switches(), self.stowboard.processor_ticks()
        time.sleep(3)  # the rest is what is measured; six poll intervals
        after = self.stowboard.main_thread_switches(), self.stowboard.processor_ticks()
        self.assertEqual(after, before)


if __name__ == "__main__":
    main()
