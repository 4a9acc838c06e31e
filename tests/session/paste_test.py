#!/usr/bin/python3
"""Clips are pasted by hot key into the application in front, and arrive as what they are."""

import pathlib
import unittest

from case import ON_GNOME, SessionCase, main, wait_until
from applications import copy_in_word_processor, write_picture
from receivers import kinds
from stowboard import bytes_of


class Pasting(SessionCase):
    def test_three_digits_with_the_modifiers_held_paste_three_clips_everywhere(self):
        self.stowboard.start()
        self.record("[drei]", "[zwei]", "[eins]")
        for kind in kinds(self.desktop):
            with self.subTest(program=kind):
                receiver = self.receiver(kind)
                self.desktop.hold("super", "alt")
                expected = ""
                for digit, text in enumerate(("[eins]", "[zwei]", "[drei]"), 1):
                    self.desktop.keys(digit)
                    expected += text
                    if not self.desktop.PASTES_ON_RELEASE:
                        receiver.wait_for(expected)
                self.desktop.release("alt", "super")
                receiver.wait_for(expected)
                self.assertEqual(self.desktop.held_keys(), [])
                self.desktop.type_text("x")
                receiver.wait_for(expected + "x")  # nothing opened that took the keyboard away
                receiver.close()
        self.assertEqual(self.stowboard.texts(), ["[eins]", "[zwei]", "[drei]"])

    def test_digits_in_quick_succession_paste_their_clips_in_order(self):
        self.stowboard.start()
        self.record("gamma", "beta", "alpha")
        for kind in kinds(self.desktop):
            with self.subTest(program=kind):
                receiver = self.receiver(kind)
                self.desktop.hold("super", "alt")
                self.desktop.keys("--delay", "50", 1, 2, 3)
                self.desktop.release("alt", "super")
                receiver.wait_for("alphabetagamma")
                receiver.close()

    def test_a_layout_without_latin_letters_makes_no_difference(self):
        self.stowboard.start()
        self.record("Текст")
        receivers = [self.receiver(kind) for kind in ("gtk3", "qt", "xterm")]
        self.addCleanup(self.desktop.set_layout, "us")
        for count, layout in enumerate(("ru", "gr"), 1):
            self.desktop.set_layout(layout)
            for receiver in receivers:
                with self.subTest(layout=layout, program=receiver.title):
                    self.desktop.window(receiver.title)
                    self.desktop.keys("133+64+10")  # positions: Super, Alt, 1
                    receiver.wait_for("Текст" * count)

    def test_rich_text_keeps_its_formatting(self):
        # A word processor offers pictures of the selection too, and refuses them on request.
        self.stowboard.start()
        program = copy_in_word_processor(self.desktop, r"{\rtf1\ansi A {\b bold} word.\par}")
        clip = self.stowboard.wait_for_clip("rich text", lambda clip: clip["type"] == "rtf")
        self.assertIn("A bold word.", clip["textContent"])
        self.assertTrue(bytes_of(clip, "rtfData").startswith(rb"{\rtf1"))
        self.addCleanup(self.desktop.stop_program, program)
        self.record("in between")
        self.desktop.keys("ctrl+a", "Delete", "super+alt+2")
        self.stowboard.wait_for_log("Direct paste triggered")

        def copied_back():
            self.desktop.keys("ctrl+a", "ctrl+c")
            clip = self.stowboard.history()[0]
            return clip["type"] == "rtf" and b"\\b" in bytes_of(clip, "rtfData") and clip
        self.assertIn("A bold word.", wait_until(copied_back, "the word came back")["textContent"])

    def test_a_picture_arrives_as_a_picture(self):
        self.stowboard.start()
        picture = self.desktop.directory / "picture.png"
        write_picture(picture, 600, 400)
        self.desktop.copy(picture.read_bytes(), "image/png")
        self.stowboard.wait_for_clip("an image", lambda clip: clip["type"] == "image")
        receiver = self.receiver("browser")
        self.desktop.keys("super+alt+1")
        receiver.wait_for("[image/png 300x200]")

    def test_fifty_megabytes_come_back_byte_for_byte(self):
        self.stowboard.start()
        text = "Zeile mit Umlauten: äöü\n" * 2_000_000
        self.record(text, seconds=60)
        self.desktop.keys("super+alt+1")
        self.stowboard.wait_for_log("Direct paste triggered")
        wait_until(lambda: self.desktop.OWN_TARGET in self.desktop.clipboard("TARGETS"),
                   "it is the owner")
        self.assertEqual(self.desktop.clipboard(), text)

    def test_content_outlives_its_application(self):
        self.stowboard.start()
        owner = self.start_program(*self.desktop.owner_command(__file__))
        text = pathlib.Path(__file__).read_text()
        self.stowboard.wait_for_text(text)
        self.desktop.stop_program(owner)
        wait_until(lambda: self.desktop.clipboard() == text, "the text is still on the clipboard")
        self.assertEqual(self.stowboard.texts(), [text])

    @unittest.skipIf(ON_GNOME, "whose own keys the extension names")
    def test_settings_name_the_hot_keys_and_a_taken_one_is_refused(self):
        self.addCleanup(self.desktop.give_hot_key_back)
        self.desktop.take_hot_key(55, "Shift", "Mod4")
        self.stowboard.set(directPasteModifiers=0x1200)
        self.stowboard.start()
        for line in ("RegisterEventHotKey failed (10) for id 1 ⇧⌘V", "Hotkey registration failed —"):
            self.assertEqual(self.stowboard.logged(line), 1, self.stowboard.lines)
        self.record("pasted")
        receiver = self.receiver("gtk3")
        self.desktop.keys("super+alt+1", "ctrl+shift+1")
        receiver.wait_for("pasted")
        self.assertEqual(self.stowboard.logged("Direct paste triggered"), 1)


if __name__ == "__main__":
    main()
