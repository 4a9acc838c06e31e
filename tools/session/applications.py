"""Real applications that copy something, driven as a user would drive them."""

import os
import pathlib
import struct
import subprocess
import zlib

from desktop import wait_until


def chromium(desktop, page, profile):
    """The command that opens a page in a browser of its own."""
    # Its sandbox refuses to run as root, and wants a user namespace, which a container may not give.
    has_namespaces = subprocess.run(["unshare", "--user", "true"], stdout=subprocess.DEVNULL,
                                    stderr=subprocess.DEVNULL).returncode == 0
    sandbox = ["--no-sandbox"] if os.geteuid() == 0 or not has_namespaces else []
    return ["chromium", *sandbox, "--no-first-run", "--no-default-browser-check",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--disable-quic", "--disable-gpu",
            f"--ozone-platform={desktop.OZONE_PLATFORM}", "--password-store=basic",
            "--window-size=1000,700", "--window-position=0,0",
            f"--user-data-dir={desktop.directory}/{profile}", f"file://{page}"]


def write_picture(path, width=800, height=600):
    """Writes a PNG file with a colour gradient."""
    row = lambda y: b"\0" + bytes(
        value for x in range(width) for value in (x * 255 // width, y * 255 // height, 160))
    chunk = lambda kind, data: (struct.pack(">I", len(data)) + kind + data +
                                struct.pack(">I", zlib.crc32(kind + data)))
    pathlib.Path(path).write_bytes(
        b"\x89PNG\r\n\x1a\n" +
        chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
        chunk(b"IDAT", zlib.compress(b"".join(map(row, range(height))), 1)) + chunk(b"IEND", b""))


def copy_in_terminal(desktop, text):
    """A command typed into xterm copies a line. Returns the running xterm."""
    terminal = desktop.start(["xterm", "-T", "Terminal", "-geometry", "80x20+40+40", "-e", "sh"])
    desktop.window("Terminal")
    desktop.type_text(f"echo -n '{text}' | xclip -selection clipboard\n")
    return terminal


def copy_in_word_processor(desktop, rich_text):
    """AbiWord opens an RTF document; select all, copy. Returns the running program."""
    document = desktop.directory / "home" / "Letter.rtf"
    document.write_text(rich_text)
    program = desktop.start(["abiword", document])
    desktop.window("Letter.rtf", 60)

    def copied():
        desktop.keys("ctrl+a", "ctrl+c")
        return "rtf" in desktop.clipboard("TARGETS")
    # Its window is there before it takes keys.
    wait_until(copied, "the document is copied")
    return program


class Browser:
    """Chromium with one page, which holds a line of text and a picture."""

    TEXT = "Copied in a browser — ünïcode"

    def __init__(self, desktop):
        self.desktop = desktop
        home = desktop.directory / "home"
        write_picture(home / "picture.png")
        page = home / "page.html"
        # The title changes once the page takes keys, which is some time after its window does.
        page.write_text("<meta charset=utf-8><title>Loading</title><body style='margin:0'>"
                        f"<p>{self.TEXT}</p>"
                        "<img src=picture.png style='position:fixed;left:0;top:100px'>"
                        "<script>setInterval(() => { if (document.readyState == 'complete' && "
                        "document.hasFocus()) document.title = 'Page for copying' }, 20)</script>")
        self.program = desktop.start(chromium(desktop, page, "profile"))
        desktop.window("Loading|Page for copying", 60)
        desktop.window("Page for copying")

    def copy_text(self):
        self.desktop.keys("ctrl+a", "ctrl+c")

    def copy_picture(self):
        """Through the picture's context menu, whose entry for it has the access key Y."""
        menu_is_open = lambda: "+400+450\n" in self.desktop.output("xwininfo", "-root", "-children")
        self.desktop.click(400, 450, button=3)
        wait_until(menu_is_open, "the picture's menu is open")

        def chosen():
            self.desktop.keys("y")
            return not menu_is_open()
        wait_until(chosen, "the picture's menu is closed")
