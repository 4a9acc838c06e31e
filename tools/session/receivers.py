"""Real programs that a clip is pasted into, each telling what arrived in it.

A receiver writes its content to a file at every change; `content()` reads that file.
"""

import os

from applications import CHROMIUM
from desktop import wait_until

GTK = """
import sys, gi
gi.require_version("Gtk", sys.argv[2])
from gi.repository import Gtk, GLib
def report(buffer):
    text = buffer.get_text(buffer.get_start_iter(), buffer.get_end_iter(), True)
    open(sys.argv[1], "w", encoding="utf-8").write(text)
def fill(window):
    window.set_title("GTK receiver")
    view = Gtk.TextView()
    view.get_buffer().connect("changed", report)
    if sys.argv[2] == "3.0":
        window.add(view)
        window.show_all()
    else:
        window.set_child(view)
        window.present()
if sys.argv[2] == "3.0":
    fill(Gtk.Window())
    Gtk.main()
else:
    Gtk.init()
    fill(Gtk.Window(default_width=400, default_height=200))
    GLib.MainLoop().run()
"""
QT = """
import sys
from PyQt6.QtWidgets import QApplication, QPlainTextEdit
application = QApplication([])
editor = QPlainTextEdit()
editor.setWindowTitle("Qt receiver")
editor.textChanged.connect(
    lambda: open(sys.argv[1], "w", encoding="utf-8").write(editor.toPlainText()))
editor.show()
application.exec()
"""
PAGE = """<meta charset=utf-8><title>Loading</title><body><textarea id=t rows=20 cols=60></textarea>
<script>
const field = document.getElementById("t");
let picture = "";
addEventListener("paste", event => {
  for (const item of event.clipboardData.items) if (item.kind == "file") {
    const type = item.type;  // gone once the event is over
    createImageBitmap(item.getAsFile()).then(
      image => picture = ` [${type} ${image.width}x${image.height}]`);
  }
});
setInterval(() => {
  field.focus();
  if (document.hasFocus()) document.title = "Browser receiver " + field.value + picture;
}, 20);
</script>"""


class Receiver:
    """`kind` is one of KINDS."""

    def __init__(self, desktop, kind):
        self.desktop = desktop
        self.file = desktop.directory / f"{kind}.received"
        self.file.unlink(missing_ok=True)
        self.program = getattr(self, f"_start_{kind}")()
        self.title = {"gtk3": "GTK receiver", "gtk4": "GTK receiver", "qt": "Qt receiver",
                      "browser": "Browser receiver"}.get(kind, "Terminal receiver")
        self.window = desktop.window(self.title, 60)
        if kind == "browser":
            self.content = self._title
        elif self.title == "Terminal receiver":
            wait_until(self.file.exists, "the terminal's shell runs", 20)

    def content(self):
        return self.file.read_text() if self.file.exists() else ""

    def wait_for(self, text, seconds=10.0):
        try:
            wait_until(lambda: self.content() == text, f"{text!r} in {self.title}", seconds)
        except AssertionError as error:
            raise AssertionError(f"{error}; it holds {self.content()!r}") from None

    def close(self):
        self.desktop.stop_program(self.program)

    def _python(self, script, *arguments):
        return self.desktop.start(["/usr/bin/python3", "-c", script, self.file, *arguments])

    def _start_gtk3(self):
        return self._python(GTK, "3.0")

    def _start_gtk4(self):
        return self._python(GTK, "4.0")

    def _start_qt(self):
        return self._python(QT)

    def _shell(self):
        """Keeps what the terminal hands to its program, as it comes, without waiting for a line."""
        return ["sh", "-c", f"stty raw -echo; exec cat -u > '{self.file}'"]

    def _start_xterm(self):
        return self.desktop.start(["xterm", "-T", "Terminal receiver", "-e", *self._shell()])

    def _start_vte(self):
        return self.desktop.start(["lxterminal", "--no-remote", "-t", "Terminal receiver", "-e",
                                   " ".join(["sh", "-c", f'"{self._shell()[2]}"'])])

    def _start_browser(self):
        page = self.desktop.directory / "home" / "receiver.html"
        page.write_text(PAGE)
        sandbox = ["--no-sandbox"] if os.geteuid() == 0 else []
        return self.desktop.start([*CHROMIUM, *sandbox, f"file://{page}",
                                   f"--user-data-dir={self.desktop.directory}/receiver-profile"])

    def _title(self):
        title = self.desktop.output("xdotool", "getwindowname", self.window).strip()
        return title.removeprefix("Browser receiver").removesuffix("- Chromium").strip()


KINDS = ("gtk3", "gtk4", "qt", "xterm", "vte", "browser")
