#!/usr/bin/python3
"""Copies made in real applications are recorded as what they are."""

from case import SessionCase, main
from applications import Browser
from stowboard import bytes_of, jpeg_size

TEXT = "Grüße, 你好, 👩‍👩‍👧 — drei\nZeilen\n\tmit Tab"


class Applications(SessionCase):
    def setUp(self):
        super().setUp()
        self.stowboard.start()

    def test_xclip_records_a_text_that_stays_after_its_end(self):
        clip = self.record(TEXT)
        self.assertEqual(sorted(clip), ["id", "textContent", "timestamp", "type"])
        self.assertEqual(clip["type"], "text")
        self.assertRegex(clip["id"], r"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$")

    def test_gtk_and_qt_editors_record_a_text_each(self):
        for kind in ("gtk3", "qt"):
            with self.subTest(toolkit=kind):
                editor = self.receiver(kind)
                self.desktop.copy(f"{kind}: {TEXT}")
                self.desktop.keys("ctrl+v")
                editor.wait_for(f"{kind}: {TEXT}")
                self.record("in between")
                self.desktop.keys("ctrl+a", "ctrl+c")
                self.assertEqual(self.stowboard.wait_for_text(f"{kind}: {TEXT}")["type"], "text")

    def test_a_browser_records_text_and_picture(self):
        browser = Browser(self.desktop)
        self.addCleanup(self.desktop.stop_program, browser.program)
        browser.copy_text()
        clip = self.stowboard.wait_for_clip(
            "the page's text", lambda clip: Browser.TEXT in (clip.get("textContent") or ""))
        self.assertEqual(clip["type"], "text")
        browser.copy_picture()
        clip = self.stowboard.wait_for_clip("an image", lambda clip: clip["type"] == "image")
        self.assertEqual(sorted(clip), ["id", "imageData", "timestamp", "type"])
        self.assertEqual(jpeg_size(bytes_of(clip, "imageData")), (300, 225))


if __name__ == "__main__":
    main()
