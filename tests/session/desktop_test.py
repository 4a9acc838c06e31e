#!/usr/bin/python3
"""The private desktop itself, and the tour's way of failing."""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

TOOLS = pathlib.Path(__file__).resolve().parents[2] / "tools"
sys.path.insert(0, str(TOOLS / "session"))
from desktop import wait_until  # noqa: E402

WITH_DESKTOP = TOOLS / "session" / "with-desktop"
# Leaves a program in the background, tells the desktop's folder and display, and stays.
STAY = "printf text | xclip -selection clipboard; echo $HOME $DISPLAY; exec sleep 600"


def homes_users(home):
    """Processes that live in this home."""
    search = ["sh", "-c", f"grep -lzsF HOME={home} /proc/[0-9]*/environ"]
    return subprocess.run(search, stdout=subprocess.PIPE).stdout.split()


class WithDesktop(unittest.TestCase):
    def test_passes_on_the_exit_status(self):
        for command, status in ((["true"], 0), (["sh", "-c", "exit 7"], 7),
                                (["sh", "-c", "kill -SEGV $$"], 128 + signal.SIGSEGV),
                                (["no-such-program"], 127), ([], 2)):
            with self.subTest(command=command):
                result = subprocess.run([WITH_DESKTOP, *command], capture_output=True)
                self.assertEqual(result.returncode, status, result.stderr)

    def test_is_apart_from_the_desktop_outside(self):
        outside = dict(os.environ, DISPLAY=":99999", WAYLAND_DISPLAY="wayland-9", LC_ALL="tr_TR",
                       DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent", HOME="/nonexistent")
        script = ('test -z "$WAYLAND_DISPLAY$LC_ALL" && test -d "$HOME" && xprop -root >/dev/null '
                  '&& dbus-send --session --print-reply --dest=org.freedesktop.DBus / '
                  'org.freedesktop.DBus.ListNames >/dev/null')
        result = subprocess.run([WITH_DESKTOP, "sh", "-c", script], env=outside)
        self.assertEqual(result.returncode, 0)

    def test_leaves_nothing_behind_however_it_ends(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGKILL):
            with self.subTest(signal=number.name):
                process = subprocess.Popen([WITH_DESKTOP, "sh", "-c", STAY], text=True,
                                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
                home, display = process.stdout.readline().split()
                process.stdout.close()
                self.assertTrue(homes_users(home))
                process.send_signal(number)
                status = process.wait(30)
                self.assertEqual(status, -number if number == signal.SIGKILL else 128 + number)
                for leftover in (os.path.dirname(home), f"/tmp/.X11-unix/X{display[1:]}"):
                    wait_until(lambda: not os.path.exists(leftover), f"{leftover} is removed")
                wait_until(lambda: not homes_users(home), f"no process is left in {home}")


class Tour(unittest.TestCase):
    def test_fails_when_nothing_is_recorded(self):
        with tempfile.TemporaryDirectory() as folder:
            result = subprocess.run([TOOLS / "tour", "/bin/true", f"{folder}/pictures"],
                                    capture_output=True, text=True)
            self.assertEqual(result.returncode, 1, result.stdout)
            self.assertIn("✗", result.stdout)
            self.assertTrue(os.path.exists(f"{folder}/pictures/failed.png"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
