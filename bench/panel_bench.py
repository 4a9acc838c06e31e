#!/usr/bin/python3
"""panel_bench.py STOWBOARD [ROUNDS]

How long the history panel takes on screen, with 1000 clips of which 300 are pictures, as another
program sees it: from the press of a key until the X server has the pixels. Beside it, in the same
run, a bare window of the same size that this program maps and the server fills.

first   the hot key, for the first time in a run
later   the hot key, the other times
typed   a character that leaves no clip, until the list is gone
taken   Backspace, until the list is back
page    Page Down, until another row is selected
window  the bare window, from the request to map it
"""

import base64
import json
import pathlib
import statistics
import subprocess
import sys
import time
import uuid

from Xlib import X, XK, display
from Xlib.ext import xtest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tools" / "session"))
from applications import write_picture
from desktop import PrivateDesktop, ends_on_signals, missing_programs
from stowboard import Stowboard

CLIPS, PICTURES = 1000, 300
POINTER = (640, 300)
SIZE = (482, 302)
# In the first row's background, left of what it shows.
PLACE = (POINTER[0] - SIZE[0] // 2 + 11, POINTER[1] + 5 + 37 + 16)
HOT_KEY = ("Super_L", "Shift_L", "v")


def sample_history(desktop):
    """Clips as the file holds them, a picture in about every third place."""
    picture = desktop.directory / "picture.png"
    thumbnail = desktop.directory / "thumbnail.jpeg"
    write_picture(picture, 300, 225)
    subprocess.run(["/usr/bin/python3", "-c",
                    "import sys; from PyQt6.QtGui import QImage; "
                    "QImage(sys.argv[1]).save(sys.argv[2], 'JPEG', 80)", picture, thumbnail],
                   check=True)
    data = base64.b64encode(thumbnail.read_bytes()).decode()

    def clip(index):
        each = {"id": str(uuid.UUID(int=index + 1)).upper(), "timestamp": 785548800.5 - 37 * index}
        if index % 10 in (1, 4, 7):
            return each | {"type": "image", "imageData": data}
        return each | {"type": "text", "textContent": f"Clip {index}: " + "some more words " * 20}
    return json.dumps([clip(index) for index in range(CLIPS)]).encode()


class Screen:
    """Presses keys and looks at one pixel."""

    def __init__(self, name):
        self.display = display.Display(name)
        self.root = self.display.screen().root

    def code(self, key):
        return self.display.keysym_to_keycode(XK.string_to_keysym(key))

    def send(self, kind, *keys):
        for key in keys:
            xtest.fake_input(self.display, kind, self.code(key))
        self.display.flush()

    def pixel(self):
        return self.root.get_image(*PLACE, 1, 1, X.ZPixmap, 0xFFFFFFFF).data

    def until(self, differs, seconds=5.0):
        """Milliseconds until `differs(pixel)`."""
        start = time.perf_counter()
        while not differs(self.pixel()):
            if time.perf_counter() - start > seconds:
                raise AssertionError("nothing changed on the screen")
        return 1000 * (time.perf_counter() - start)

    def press(self, *keys):
        """Milliseconds from the last key's press until the pixel changes; all are let go then."""
        before = self.pixel()
        self.send(X.KeyPress, *keys)
        taken = self.until(lambda pixel: pixel != before)
        self.send(X.KeyRelease, *reversed(keys))
        return taken

    def map_window(self):
        window = self.root.create_window(PLACE[0] - 11, PLACE[1] - 53, *SIZE, 0, X.CopyFromParent,
                                         background_pixel=0x2040C0)
        window.set_wm_normal_hints(flags=1 << 2 | 1, x=PLACE[0] - 11, y=PLACE[1] - 53)
        self.display.sync()
        before = self.pixel()
        window.map()
        self.display.flush()
        taken = self.until(lambda pixel: pixel != before)
        window.destroy()
        self.until(lambda pixel: pixel == before)
        return taken


def measure(stowboard, screen, figures, rounds):
    stowboard.start()
    stowboard.settle()
    for number in range(rounds):
        empty = screen.pixel()
        figures["first" if number == 0 else "later"].append(screen.press(*HOT_KEY))
        stowboard.wait_for_panel()
        figures["typed"].append(screen.press("q"))
        figures["taken"].append(screen.press("BackSpace"))
        figures["page"].append(screen.press("Next"))
        screen.send(X.KeyPress, "Escape")
        screen.send(X.KeyRelease, "Escape")
        screen.until(lambda pixel: pixel == empty)
        figures["window"].append(screen.map_window())
    if stowboard.stop() != 0:
        raise AssertionError("Stowboard ended badly")


def main(program, rounds=10):
    missing = missing_programs("Xvfb", "openbox", "dbus-daemon", "xdotool", "xprop")
    if missing:
        sys.exit(f"panel_bench: not installed: {' '.join(missing)}")
    ends_on_signals()
    figures = {name: [] for name in ("first", "later", "typed", "taken", "page", "window")}
    with PrivateDesktop() as desktop:
        screen = Screen(desktop.environment["DISPLAY"])
        screen.root.warp_pointer(*POINTER)
        stowboard = Stowboard(desktop, program)
        stowboard.set(maxRecords=CLIPS)
        stowboard.history_file.write_bytes(sample_history(desktop))
        for _ in range(5):
            measure(stowboard, screen, figures, int(rounds))
    for name, values in figures.items():
        values.sort()
        print(f"{name:7} median {statistics.median(values):6.1f} ms   "
              f"{values[0]:.1f} to {values[-1]:.1f}")
    window = statistics.median(figures["window"])
    print("in windows: " + ", ".join(f"{name} {statistics.median(figures[name]) / window:.1f}"
                                     for name in figures if name != "window"))


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    main(*sys.argv[1:])
