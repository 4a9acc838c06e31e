#!/usr/bin/python3
"""startup_bench.py STOWBOARD MINIMAL_TRAY [ROUNDS]

How long Stowboard takes from its start to its first recorded copy, with 1000 text clips on disk, and
how much memory only it can have then; beside a minimal program with a tray icon. Both run in turn
on one private desktop with a tray host, each on a terminal of its own.

launched  the line "Stowboard launched" is on the terminal; another program copies right then
ready     Stowboard has fetched that copy, which the history file is then seen to hold
saved     the history file on disk holds it
heard     in a run of its own, in which a program copies every millisecond from the start on: the
          first copy that Stowboard asks for was made
on disk   the history file on disk holds that one
memory    private dirty at rest, after one more copy: the pages that nobody else can have and that the
          system cannot take back, whatever else runs
turn      the minimal program says that its event loop turns
"""

import json
import os
import pathlib
import pty
import random
import select
import signal
import statistics
import sys
import threading
import time
import uuid

from Xlib import X, Xatom, display
from Xlib.protocol import event

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tools" / "session"))
from desktop import PrivateDesktop, ends_on_signals, missing_programs, wait_until

CLIPS = 1000
WORDS = ("the quick auto const return value state \"quoted\" C:\\dir if { } ; // why über naïve "
         "复制一段文字 剪贴板 история буфер").split()


def sample_history():
    """1000 texts of 100 to 2000 characters, about 1 MB in all, as the file holds them."""
    chance = random.Random(1)

    def text(size):
        words = ""
        while len(words) < size:
            words += chance.choice(WORDS) + chance.choice("   \n")
        return words[:size]

    clips = [{"id": str(uuid.UUID(int=chance.getrandbits(128))).upper(), "type": "text",
              "textContent": text(chance.randint(100, 2000)),
              "timestamp": 785548800.5 - 3.7 * index} for index in range(CLIPS)]
    return json.dumps(clips, ensure_ascii=False).encode()


class Copier:
    """Another program, connected before the measured one starts."""

    def __init__(self, name):
        self._display = display.Display(name)
        self._window = self._display.screen().root.create_window(0, 0, 1, 1, 0, X.CopyFromParent)
        atom = self._display.intern_atom
        self._clipboard, self._targets, self._utf8 = map(
            atom, ("CLIPBOARD", "TARGETS", "UTF8_STRING"))

    def copy(self):
        self._window.set_selection_owner(self._clipboard, X.CurrentTime)
        self._display.flush()

    def serve(self, text, seconds=10.0):
        """Answers until the text has been fetched; returns when that was."""
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if not self._display.pending_events():
                select.select([self._display], [], [], 0.1)
                continue
            request = self._display.next_event()
            if request.type == X.SelectionRequest and self._answer(request, text):
                return time.monotonic()
        raise AssertionError("the copy was not fetched")

    def copy_until_heard(self, text):
        """Copies every millisecond; returns when the copy that is first asked for was made."""
        while True:
            self.copy()
            copied = time.monotonic()
            while time.monotonic() < copied + 0.001:
                if not self._display.pending_events():
                    select.select([self._display], [], [], 0.0002)
                elif (request := self._display.next_event()).type == X.SelectionRequest:
                    self._answer(request, text)
                    return copied

    def _answer(self, request, text):
        given = request.property
        if request.target == self._targets:
            request.requestor.change_property(given, Xatom.ATOM, 32, [self._targets, self._utf8])
        elif request.target == self._utf8:
            request.requestor.change_property(given, self._utf8, 8, text.encode())
        else:
            given = X.NONE
        request.requestor.send_event(event.SelectionNotify(
            time=request.time, requestor=request.requestor, selection=request.selection,
            target=request.target, property=given))
        self._display.flush()
        return request.target == self._utf8


class Run:
    """One run of a program, from its start to its end."""

    def __init__(self, desktop, program):
        self._terminal, theirs = pty.openpty()
        outputs = [(os.POSIX_SPAWN_DUP2, theirs, number) for number in (1, 2)]
        self._start = time.monotonic()
        self.pid = os.posix_spawn(program, [program], desktop.environment, file_actions=outputs,
                                  setsid=True)
        os.close(theirs)

    def since_start(self, moment=None):
        return 1000 * ((moment or time.monotonic()) - self._start)

    def wait_for_line(self, text):
        seen = b""
        while text.encode() not in seen:
            if not select.select([self._terminal], [], [], 20)[0]:
                raise AssertionError(f"no line {text!r}; seen: {seen}")
            seen += os.read(self._terminal, 65536)
        return self.since_start()

    def private_memory(self):
        """Private dirty in MB once nothing runs in it any more."""
        self.settle()
        lines = pathlib.Path(f"/proc/{self.pid}/smaps_rollup").read_text().splitlines()
        return next(int(line.split()[1]) for line in lines if line.startswith("Private_Dirty")) / 1024

    def settle(self):
        last = [None]

        def is_quiet():
            time.sleep(0.25)
            now = pathlib.Path(f"/proc/{self.pid}/stat").read_text().rpartition(")")[2].split()[11:13]
            last[0], before = now, last[0]
            return now == before
        wait_until(is_quiet, "the program is at rest")

    def end(self):
        os.kill(self.pid, signal.SIGTERM)
        status = os.waitpid(self.pid, 0)[1]
        os.close(self._terminal)
        return status


def wait_for_newest(file, text):
    """Returns when the newest clip in the file was seen to have this text."""
    deadline = time.monotonic() + 20
    while f'"{text}"'.encode() not in file.read_bytes()[:500]:
        if time.monotonic() > deadline:
            raise AssertionError("the copy was not recorded")
        time.sleep(0.001)
    return time.monotonic()


def make_files(desktop, history):
    """Returns the history file."""
    folder = pathlib.Path(desktop.environment["XDG_DATA_HOME"]) / "Stowboard"
    folder.mkdir(parents=True, exist_ok=True, mode=0o700)
    (folder / "settings.json").write_text(json.dumps({"maxRecords": CLIPS}))
    file = folder / "history.json"
    file.write_bytes(history)
    # Pages that wait for the disk would count as dirty, those of a new program above all.
    os.sync()
    return file


def measure_first_copy(desktop, program, history, number):
    file = make_files(desktop, history)
    before, text = file.stat().st_ino, f"the early copy of run {number}"
    copier = Copier(desktop.environment["DISPLAY"])
    run = Run(desktop, program)
    heard = run.since_start(copier.copy_until_heard(text))
    server = threading.Thread(target=copier.serve, args=(text,))
    server.start()
    while file.stat().st_ino == before and run.since_start() < 20_000:
        time.sleep(0.0002)
    on_disk = run.since_start()
    server.join()
    wait_for_newest(file, text)
    run.wait_for_line("Stowboard launched")
    run.settle()
    if run.end() != 0:
        raise AssertionError("Stowboard ended badly")
    return {"heard": heard, "on disk": on_disk}


def measure_stowboard(desktop, program, history, number):
    file = make_files(desktop, history)
    copier, text = Copier(desktop.environment["DISPLAY"]), f"the first copy of run {number}"
    run = Run(desktop, program)
    launched = run.wait_for_line("Stowboard launched")
    copier.copy()
    ready = run.since_start(copier.serve(text))
    saved = run.since_start(wait_for_newest(file, text))
    run.settle()
    # Once more at rest, so that the figure holds what recording a copy takes.
    copier.copy()
    copier.serve(text + " and more")
    wait_for_newest(file, text + " and more")
    memory = run.private_memory()
    if run.end() != 0 or len(json.loads(file.read_bytes())) != CLIPS:
        raise AssertionError("Stowboard lost clips or ended badly")
    return {"launched": launched, "ready": ready, "saved": saved, "memory": memory}


def measure_minimal(desktop, program):
    run = Run(desktop, program)
    figures = {"turn": run.wait_for_line("first turn"), "memory": run.private_memory()}
    run.end()
    return figures


def report(title, rows):
    print(title)
    for name in rows[0]:
        values = sorted(row[name] for row in rows)
        unit = "MB" if name == "memory" else "ms"
        print(f"  {name:9} median {statistics.median(values):7.1f} {unit}   "
              f"{values[0]:.1f} to {values[-1]:.1f}")


def main(stowboard, minimal, rounds=20):
    missing = missing_programs("Xvfb", "openbox", "dbus-daemon", "trayer", "xdotool")
    if missing:
        sys.exit(f"startup_bench: not installed: {' '.join(missing)}")
    ends_on_signals()
    history, ours, theirs = sample_history(), [], []
    with PrivateDesktop() as desktop:
        desktop.start(["trayer"])
        wait_until(lambda: desktop.output("xdotool", "search", "--class", "trayer"), "a tray host")
        measure_minimal(desktop, minimal), measure_stowboard(desktop, stowboard, history, 0)
        for number in range(1, int(rounds) + 1):
            theirs.append(measure_minimal(desktop, minimal))
            ours.append(measure_stowboard(desktop, stowboard, history, number)
                        | measure_first_copy(desktop, stowboard, history, number))
    report(f"Stowboard with {CLIPS} text clips, {len(history) / 1e6:.2f} MB on disk", ours)
    report("Minimal program with a tray icon", theirs)
    median = lambda rows, name: statistics.median(row[name] for row in rows)
    fastest = lambda rows, name: min(row[name] for row in rows)
    print(f"ready / turn: medians {median(ours, 'ready') / median(theirs, 'turn'):.2f}, "
          f"fastest {fastest(ours, 'ready') / fastest(theirs, 'turn'):.2f} (at most 2)")
    print(f"private dirty: {median(ours, 'memory'):.1f} MB, "
          f"{median(ours, 'memory') - median(theirs, 'memory'):+.1f} beside the minimal program")


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
