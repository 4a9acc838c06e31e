#!/usr/bin/python3
"""One program a session, and what launchers and key bindings ask of it over the session bus."""

import signal
import socket

from case import PROGRAM, SessionCase, main, subprocess, wait_until

NAME = "com.qarvin.stowboard"
PATH = "/com/qarvin/stowboard"
NO_CLIP = "Direct paste hotkey triggered but no clip at index"
RUNS = "Stowboard already runs"
LOCKER = """
import sys, dbus, dbus.service, dbus.mainloop.glib
from gi.repository import GLib
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
name, path, saver = sys.argv[1], sys.argv[2], "org.gnome.ScreenSaver"

class Locker(dbus.service.Object):
    isLocked = True

    @dbus.service.method(saver, out_signature="b")
    def GetActive(self):
        return self.isLocked

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.isLocked and (interface, name) == ("org.freedesktop.login1.Session", "LockedHint")

    @dbus.service.signal(saver, signature="b")
    def ActiveChanged(self, isActive):
        pass

    @dbus.service.signal("org.freedesktop.DBus.Properties", signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass

def toggle(*_):
    sys.stdin.readline()
    locker.isLocked = not locker.isLocked
    locker.ActiveChanged(locker.isLocked)
    locker.PropertiesChanged("org.freedesktop.login1.Session", {"LockedHint": locker.isLocked}, [])
    return True

bus = dbus.SessionBus()
locker = Locker(bus, path)
held = dbus.service.BusName(name, bus)
GLib.io_add_watch(0, GLib.IO_IN, toggle)
print("owns", flush=True)
GLib.MainLoop().run()
"""


class DBus(SessionCase):
    other_bus = {}  # where it is not the desktop's

    def gdbus(self, command, *arguments):
        """Returns the exit status and everything that it wrote."""
        result = subprocess.run(
            ["gdbus", command, "--session", "--dest", NAME, "--object-path", PATH, *arguments],
            env={**self.desktop.environment, **self.other_bus}, capture_output=True, text=True,
            timeout=30)
        return result.returncode, result.stdout + result.stderr

    def call(self, method, *arguments):
        return self.gdbus("call", "--method", f"org.freedesktop.Application.{method}", *arguments)

    def act(self, action, parameter="[]"):
        return self.call("ActivateAction", action, parameter, "{}")

    def launch(self, **environment):
        """Starts a second one and returns its status and what it wrote once it has ended."""
        second = self.desktop.start([PROGRAM], environment, stderr=subprocess.PIPE)
        self.addCleanup(self.desktop.stop_program, second)
        errors = second.communicate(timeout=60)[1].decode()
        return second.returncode, errors

    def owner(self):
        """Process id of the name's owner; 0 when there is none."""
        answer = self.desktop.output(
            "dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
            "org.freedesktop.DBus.GetConnectionUnixProcessID", f"string:{NAME}")
        return int(answer.split()[-1]) if answer else 0

    def test_a_second_launch_shows_the_history_of_the_first(self):
        self.stowboard.start()
        first = self.owner()
        for _ in range(2):
            self.assertEqual(self.launch(DESKTOP_STARTUP_ID="x_TIME1"), (0, ""))
            self.stowboard.wait_for_panel()
        self.assertEqual(self.owner(), first)
        # Neither a killed one nor one that is just ending keeps the next from starting.
        for number in (signal.SIGKILL, signal.SIGTERM):
            self.stowboard.stop(number)
            self.stowboard.start()

    def test_one_that_does_not_answer_is_reported(self):
        self.stowboard.start()
        self.stowboard.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.stowboard.process.send_signal, signal.SIGCONT)
        status, errors = self.launch()
        self.assertEqual((status, errors.count("\n")), (1, 1), errors)
        self.assertIn(RUNS + ", but does not answer", errors)
        self.stowboard.process.send_signal(signal.SIGCONT)
        self.stowboard.wait_for_panel()

    def test_a_launch_that_waits_for_one_that_dies_takes_its_place(self):
        first = self.stowboard.start().process
        first.send_signal(signal.SIGSTOP)
        self.stowboard.start(wait=False)
        self.stowboard.settle()  # it waits for an answer
        first.kill()
        first.wait()
        self.stowboard.wait_for_log("Stowboard launched")
        self.assertEqual(self.owner(), self.stowboard.process.pid)

    def test_takes_actions_and_refuses_all_else(self):
        self.stowboard.start()
        digits = ("byte 1", "int16 2", "uint16 3", "4", "uint32 5", "int64 6", "uint64 7", "8.0",
                  "'9'")
        for digit, value in enumerate(digits, 1):
            self.assertEqual(self.act("paste", f"[<{value}>]")[0], 0, value)
            self.stowboard.wait_for_log(f"{NO_CLIP} {digit - 1}")
        shown, hidden = self.stowboard.wait_for_panel, self.stowboard.wait_until_panel_closed
        for wait, method, *arguments in (
                (shown, "Activate", "{'desktop-startup-id': <'x'>}"),
                (shown, "Open", "['file:///etc/hostname']", "{}"),
                (hidden, "ActivateAction", "show-history", "[]", "{}"),
                (shown, "ActivateAction", "show-history", "[]", "{}")):
            self.assertEqual(self.call(method, *arguments)[0], 0, method)
            wait()
        refused = [("paste", f"[{value}]") for value in (
            "", "<0>", "<10>", "<-1>", "<1.5>", "<''>", "<'0'>", "<'12'>", "<'x'>", "<true>", "<[1]>",
            "<<1>>", "<1>, <2>", "<int64 4294967297>", "<uint64 18446744073709551615>",
            "<objectpath '/'>")]
        for action, parameter in [*refused, ("quit", "[<1>]"), ("show-history", "[<'x'>]"),
                                  ("", "[]"), ("Quit", "[]"), ("delete-all", "[]")]:
            with self.subTest(action=action, parameter=parameter):
                status, text = self.act(action, parameter)
                self.assertEqual(status, 1)
                self.assertIn("org.freedesktop.DBus.Error.InvalidArgs", text)
                self.assertRegex(text, "number from 1 to 9|takes no parameter|There is no action")
        self.assertEqual(self.stowboard.logged(NO_CLIP), len(digits))
        self.stowboard.wait_for_panel()
        for interface in ("Application", "DBus.Introspectable", "DBus.Peer"):
            self.assertIn(f"interface org.freedesktop.{interface} ", self.gdbus("introspect")[1])

    def test_pastes_nothing_while_the_session_is_locked(self):
        system = {"DBUS_SYSTEM_BUS_ADDRESS": self.desktop.environment["DBUS_SESSION_BUS_ADDRESS"]}
        for name, path in (("org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"),
                           ("org.freedesktop.login1", "/org/freedesktop/login1/session/auto")):
            with self.subTest(name):
                locker = self.start_owner(LOCKER, name, path, stdin=subprocess.PIPE)
                self.addCleanup(locker.stdin.close)
                self.stowboard.start(**system)
                for is_locked in (True, False, True):
                    expected = (1, "AccessDenied") if is_locked else (0, "()")
                    def is_as_expected():
                        status, text = self.act("paste", "[<1>]")
                        return status == expected[0] and expected[1] in text
                    wait_until(is_as_expected, f"locked: {is_locked}")
                    locker.stdin.write(b"\n")
                    locker.stdin.flush()
                self.assertEqual(self.act("show-history")[0], 0, "all else goes on")
                self.stowboard.stop()
                self.desktop.stop_program(locker)

    def test_quits_with_everything_on_disk(self):
        self.stowboard.start()
        large = "x" * 4_000_000  # takes a while to write
        self.desktop.copy(large)
        wait_until(lambda: list(self.stowboard.folder.iterdir()), "it saves")
        self.assertEqual(self.act("quit")[0], 0)
        self.assertEqual(self.stowboard.wait_for_end(), 0)
        self.assertEqual(self.stowboard.texts(), [large])
        self.assertEqual(self.owner(), 0)

    def test_without_a_bus_the_data_folder_is_still_its_own(self):
        busless = {"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
        for first in ({}, busless):
            with self.subTest(first=first):
                self.stowboard.start(**first)
                self.assertEqual(self.stowboard.logged("No session bus"), len(first))
                self.record(f"copied {len(first)}")
                status, errors = self.launch(**busless)
                self.assertEqual((status, errors.count("\n")), (0, 1), errors)
                self.assertIn(RUNS, errors)
                self.assertEqual(self.stowboard.stop(), 0)

    def test_a_bus_that_never_answers_only_delays_the_start(self):
        address = self.desktop.directory / "dumb-bus"
        with socket.socket(socket.AF_UNIX) as server:
            server.bind(str(address))
            server.listen()
            self.stowboard.start(DBUS_SESSION_BUS_ADDRESS=f"unix:path={address}")
            self.assertEqual(self.stowboard.logged("No session bus"), 1)
            self.assertEqual(self.stowboard.stop(), 0)

    def test_it_goes_on_at_rest_when_the_bus_goes_away_and_joins_it_again(self):
        address = f"unix:path={self.desktop.directory}/bus"
        self.other_bus = {"DBUS_SESSION_BUS_ADDRESS": address}
        bus = self.start_bus(address)
        self.stowboard.start(**self.other_bus)
        for count in (1, 2):
            self.desktop.stop_program(bus)
            self.stowboard.wait_for_log("The session bus is gone")
            self.stowboard.settle()
            self.record(f"without the bus {count}")
            bus = self.start_bus(address)
            wait_until(lambda: self.stowboard.logged("The session bus is back") == count, "it is back")
            self.assertEqual(self.act("paste", "[<9>]")[0], 0)
            wait_until(lambda: self.stowboard.logged(NO_CLIP) == count, "and it hears")


if __name__ == "__main__":
    main()
