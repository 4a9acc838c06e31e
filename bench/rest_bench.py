#!/usr/bin/python3
"""rest_bench.py STOWBOARD [ROUNDS]

What Stowboard does at rest, and beside a history with a text of 50 MB.

next copy  from a program's taking the clipboard with a short text until the history file on disk
           holds it, with a text of 50 MB in the history
plain      writing the same file and its folder to the disk, in the same run
idle       how often all threads together went to sleep in a minute in which nothing happens
"""

import json
import os
import pathlib
import re
import statistics
import sys
import threading
import time

from startup_bench import Copier, PrivateDesktop, Run, ends_on_signals, make_files

LARGE = 50_000_000


def plain_write(file):
    """Milliseconds for the least that a safe save does."""
    content, aside = file.read_bytes(), file.with_name("plain.tmp")
    start = time.monotonic()
    with open(aside, "wb") as output:
        output.write(content)
        output.flush()
        os.fsync(output.fileno())
    aside.rename(file.with_name("plain"))
    folder = os.open(file.parent, os.O_RDONLY)
    os.fsync(folder)
    os.close(folder)
    return 1000 * (time.monotonic() - start)


def next_copy(copier, file, text):
    """Milliseconds until another file, which begins with the text, has taken the place."""
    server = threading.Thread(target=copier.serve, args=(text,))
    before, start = file.stat().st_ino, time.monotonic()
    copier.copy()
    server.start()
    while file.stat().st_ino == before and time.monotonic() < start + 20:
        time.sleep(0.0005)
    taken = 1000 * (time.monotonic() - start)
    server.join()
    with open(file, "rb") as content:
        if f'"{text}"'.encode() not in content.read(500):
            raise AssertionError("the copy was not recorded")
    return taken


def sleeps(pid):
    return sum(int(re.search(r"\nvoluntary_ctxt_switches:\s*(\d+)", status.read_text())[1])
               for status in pathlib.Path(f"/proc/{pid}/task").glob("*/status"))


def main(program, rounds=10):
    ends_on_signals()
    clip = {"id": "00000000-0000-0000-0000-000000000001", "type": "text",
            "textContent": "some words " * (LARGE // 11), "timestamp": 785548800.5}
    with PrivateDesktop() as desktop:
        file = make_files(desktop, json.dumps([clip]).encode())
        run, copies, plain = Run(desktop, program), [], []
        run.wait_for_line("Stowboard launched")
        run.settle()
        copier = Copier(desktop.environment["DISPLAY"])
        for number in range(int(rounds)):
            copies.append(next_copy(copier, file, f"copy {number}"))
            plain.append(plain_write(file))
        run.settle()
        before = sleeps(run.pid)
        time.sleep(60)
        idle = sleeps(run.pid) - before
        if run.end() != 0:
            raise AssertionError("Stowboard ended badly")
    for name, values in (("next copy", copies), ("plain", plain)):
        print(f"{name:9} median {statistics.median(values):6.1f} ms   "
              f"{min(values):.1f} to {max(values):.1f}")
    print(f"next copy / plain: {statistics.median(copies) / statistics.median(plain):.2f}")
    print(f"idle      {idle} switches in a minute")


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    main(*sys.argv[1:])
