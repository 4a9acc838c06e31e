"""Stowboard as it is seen from outside: its process, its log lines, its files."""

import base64
import contextlib
import json
import os
import pathlib
import pty
import re
import signal
import threading
import time

from desktop import NotReached, wait_until

def jpeg_size(data):
    """(width, height) of a JPEG image, as the header of its frame tells."""
    frame = re.search(rb"\xff[\xc0-\xc2]\x00.\x08(..)(..)", data, re.DOTALL)
    if not data.startswith(b"\xff\xd8") or not frame:
        raise ValueError("not a JPEG image")
    return tuple(int.from_bytes(length) for length in reversed(frame.groups()))


class Stowboard:
    """One run after another of the program, on one desktop, with one data folder.

    It gets a terminal by default, because information lines go to a terminal only.
    """

    PANEL_SIZE = 482, 302

    def __init__(self, desktop, program):
        self.desktop = desktop
        self.program = pathlib.Path(program)
        self.folder = pathlib.Path(desktop.environment["XDG_DATA_HOME"]) / "Stowboard"
        self.history_file = self.folder / "history.json"
        self.settings_file = self.folder / "settings.json"
        self.process = None
        self.lines = []

    # The process

    def start(self, terminal=True, wait=True, through=(), **environment):
        """Starts it, by way of a command like env where one is given, and waits until it has
        announced itself when it has a terminal."""
        self.lines = []
        ours, theirs = pty.openpty() if terminal else os.pipe()
        streams = dict.fromkeys(("stderr", "stdout") if terminal else ("stderr",), theirs)
        self.process = self.desktop.start([*through, self.program], environment, **streams)
        os.close(theirs)
        self._reader = threading.Thread(target=self._read, args=(ours,), daemon=True)
        self._reader.start()
        if terminal and wait:
            self.wait_for_log("Stowboard launched", seconds=30)
        return self

    def _read(self, descriptor):
        stream = os.fdopen(descriptor, encoding="utf-8", errors="replace", newline="\n")
        # A terminal whose other side is closed answers EIO.
        with stream, contextlib.suppress(OSError):
            self.lines.extend(line.rstrip() for line in stream if line.strip())

    def stop(self, number=signal.SIGTERM, seconds=20.0):
        """Sends a signal and returns the exit status, negative for a death by signal."""
        if self.process.poll() is None:
            self.process.send_signal(number)
        return self.wait_for_end(seconds)

    def wait_for_end(self, seconds=20.0):
        status = self.process.wait(seconds)
        self._reader.join(5)
        return status

    def wait_for_log(self, text, count=1, seconds=10.0):
        """Waits until `count` lines hold the text; its end before that is its failure."""
        def seen():
            has_ended = self.process.poll() is not None
            if has_ended:
                self._reader.join(5)
            return self.logged(text) >= count or has_ended
        with contextlib.suppress(NotReached):
            wait_until(seen, text, seconds)
        if self.logged(text) < count:
            raise AssertionError(f"not {count} log lines with {text!r} within {seconds:g} s, or it "
                                 f"ended: status {self.process.poll()}; lines: {self.lines[-20:]}")

    def logged(self, text):
        return sum(text in line for line in list(self.lines))

    # Its windows

    def panel(self):
        """The history panel's window; empty while it is not on screen."""
        return self._window("_NET_WM_WINDOW_TYPE_UTILITY")

    def menu(self):
        """The tray icon's menu; empty while it is closed."""
        return self._window(r'"Stowboard"\n_NET_WM_WINDOW_TYPE\(ATOM\) = '
                            r"(_NET_WM_WINDOW_TYPE_POPUP_MENU, )?_NET_WM_WINDOW_TYPE_NORMAL")

    def tray_icon(self):
        """The icon's window in an X11 tray; empty while it is not there."""
        return self._window("= _KDE_NET_WM_WINDOW_TYPE_OVERRIDE, _NET_WM_WINDOW_TYPE_NORMAL")

    def _window(self, trait):
        """The first of its windows with this in its name or type."""
        windows = self.desktop.windows("^Stowboard$", by="class")
        return next((window for window in windows
                     if re.search(trait, self.desktop.traits(window))), "")

    def wait_for_panel(self):
        """Waits until the panel is open and has the keyboard; returns its window."""
        def is_active():
            panel = self.panel()
            return panel if panel and panel == self.desktop.active_window() else ""
        return wait_until(is_active, "the panel is open and active")

    def panel_rect(self):
        """Where the user sees the open panel, its shadow aside."""
        x, y, width, height = self.desktop.rect(self.panel())
        margin = (width - self.PANEL_SIZE[0]) // 2
        return x + margin, y + margin, width - 2 * margin, height - 2 * margin

    def wait_until_panel_closed(self):
        wait_until(lambda: not self.panel(), "the panel is closed")
        # The toolkit takes 100 ms to believe that the focus is gone. Where this plays a person's keys
        # itself, without starting a program for each, it would open the panel again before that.
        if self.desktop.PLAYS_AT_ONCE:
            self.settle()

    # Its files

    def set(self, **settings):
        """Writes the settings file, as a user with an editor would; before start()."""
        self.folder.mkdir(parents=True, exist_ok=True)
        self.settings_file.write_text(json.dumps(settings))

    def settings(self):
        """The settings on disk."""
        return json.loads(self.settings_file.read_bytes())

    def history(self):
        """The clips on disk, newest first; an unfinished file would raise."""
        try:
            return json.loads(self.history_file.read_bytes())
        except FileNotFoundError:
            return []

    def texts(self):
        return [clip.get("textContent") for clip in self.history()]

    def wait_for_clip(self, what, matches, seconds=10.0):
        """Waits until the newest clip on disk satisfies `matches` and returns it."""
        def newest():
            clips = self.history()
            return clips[0] if clips and matches(clips[0]) else None
        try:
            return wait_until(newest, what, seconds)
        except AssertionError as error:
            newest_clip = json.dumps(self.history()[:1])[:400]
            raise AssertionError(f"{error}; newest clip: {newest_clip}; "
                                 f"lines: {self.lines[-10:]}") from None

    def wait_for_text(self, text, seconds=10.0):
        return self.wait_for_clip(f"a clip {text[:60]!r}",
                                  lambda clip: clip.get("textContent") == text, seconds)

    # Its figures

    def activity(self):
        """How often its main thread went to sleep, and the processor time of all its threads; at
        rest, neither grows."""
        status = self._proc(f"task/{self.process.pid}/status")
        return (re.search(r"\nvoluntary_ctxt_switches:\s*(\d+)", status)[1],
                self._proc("stat").rpartition(")")[2].split()[11:13])

    def settle(self, seconds=10.0):
        """Waits until nothing runs in it, by two looks that are some ticks apart."""
        seen = [None]
        def quiet():
            before, seen[0] = seen[0], self.activity()
            if seen[0] != before:
                time.sleep(0.3)
            return seen[0] == before
        wait_until(quiet, "the program is at rest", seconds)

    def _proc(self, name):
        return pathlib.Path("/proc", str(self.process.pid), name).read_text()


def bytes_of(clip, key):
    """The bytes under a key of a stored clip, "imageData" or "rtfData"."""
    return base64.b64decode(clip[key], validate=True)
