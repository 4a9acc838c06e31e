"""Real programs that a clip is pasted into, each telling what arrived in it.

A receiver writes its content to a file at every change; `content()` reads that file.
"""

from applications import chromium
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
    """`kind` is one of kinds()."""

    def __init__(self, desktop, kind):
        self.desktop = desktop
        self.file = desktop.directory / f"{kind}.received"
        self.file.unlink(missing_ok=True)
        self.title, command = self._command(kind)
        self.program = desktop.start(command)
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

    def _command(self, kind):
        """The title of its window, and what starts it."""
        # Keeps what the terminal hands to its program, as it comes, without waiting for a line.
        shell = f"stty raw -echo; exec cat -u > '{self.file}'"
        python, terminal = ["/usr/bin/python3", "-c"], "Terminal receiver"
        page = self.desktop.directory / "home" / "receiver.html"
        page.write_text(PAGE)
        return {
            "gtk3": ("GTK receiver", [*python, GTK, self.file, "3.0"]),
            "gtk4": ("GTK receiver", [*python, GTK, self.file, "4.0"]),
            "qt": ("Qt receiver", [*python, QT, self.file]),
            "xterm": (terminal, ["xterm", "-T", terminal, "-e", "sh", "-c", shell]),
            "foot": (terminal, ["foot", "-T", terminal, "sh", "-c", shell]),
            "vte": (terminal, ["lxterminal", "--no-remote", "-t", terminal, "-e",
                               f'sh -c "{shell}"']),
            "browser": ("Browser receiver", chromium(self.desktop, page, "receiver-profile")),
        }[kind]

    def _title(self):
        title = self.desktop.title(self.window)
        return title.removeprefix("Browser receiver").removesuffix("- Chromium").strip()


def kinds(desktop):
    """All that there are on this desktop."""
    return ("gtk3", "gtk4", "qt", "xterm", "browser", *desktop.TERMINALS)
