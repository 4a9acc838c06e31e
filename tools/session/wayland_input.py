"""A keyboard and a pointer for a Wayland session, played by a program (zwp_virtual_keyboard_v1 and
zwlr_virtual_pointer_v1)."""

import array
import os
import select
import socket
import struct
import time

from desktop import PrivateDesktop

KEYMAP = b"""xkb_keymap {
  xkb_keycodes { include "evdev+aliases(qwerty)" };
  xkb_types { include "complete" };
  xkb_compat { include "complete" };
  xkb_symbols { include "pc+%s+inet(evdev)" };
};
\0"""

# The kernel's code of each key by its symbol on a US keyboard.
CODES = {"Escape": 1, "BackSpace": 14, "Tab": 15, "Return": 28, "\n": 28, "ctrl": 29, "shift": 42,
         "comma": 51, "alt": 56, " ": 57, "space": 57, "KP_Enter": 96, "Home": 102, "Up": 103, "Page_Up": 104,
         "Prior": 104, "Left": 105, "Right": 106, "End": 107, "Down": 108, "Page_Down": 109,
         "Next": 109, "Insert": 110, "Delete": 111, "super": 125,
         **{f"F{number}": 58 + number for number in range(1, 11)},
         **dict(zip("1234567890-=", range(2, 14))), **dict(zip("qwertyuiop[]", range(16, 28))),
         **dict(zip("asdfghjkl;'`", range(30, 42))), **dict(zip("\\zxcvbnm,./", range(43, 54)))}
SHIFTED = dict(zip('!@#$%^&*()_+{}:"~|<>?', '1234567890-=[];\'`\\,./'))
# XKB's masks.
MODIFIERS = {29: 4, 42: 1, 56: 8, 125: 64}


def code_of(name):
    """A key's code by its name, or by XKB's number in at least two digits."""
    name = str(name)
    return int(name) - 8 if name.isdigit() and len(name) > 1 else CODES[
        name if len(name) > 1 else name.lower()]


class WaylandConnection:
    """What a program says to a compositor. `display` is a socket's path."""

    def __init__(self, display):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(display)
        self._received = b""
        self._last = 1
        self._registry = self.new()
        self._names = {}
        self.send(1, 1, struct.pack("=I", self._registry))  # wl_display.get_registry
        self.send(1, 0, struct.pack("=I", self.new()))  # wl_display.sync
        while self._last not in (done := self._read()):
            assert done is not None, "the compositor ended"

    def close(self):
        self._socket.close()

    def new(self):
        self._last += 1
        return self._last

    def bind(self, interface, version=1):
        text = interface.encode() + b"\0"
        padded = text + b"\0" * (-len(text) % 4)
        bound = self.new()
        self.send(self._registry, 0, struct.pack("=II", self._names[interface], len(text)) +
                  padded + struct.pack("=II", version, bound))
        return bound

    def send(self, target, request, arguments, file=None):
        message = struct.pack("=II", target, (len(arguments) + 8) << 16 | request) + arguments
        passed = [] if file is None else [
            (socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [file]))]
        self._socket.sendmsg([message], passed)

    def drain(self):
        """Leaves unread what comes."""
        while select.select([self._socket], [], [], 0)[0]:
            assert self._socket.recv(4096), "the compositor ended"

    def _read(self):
        """Takes the globals out of what comes; returns whose events came, None at the end."""
        part = self._socket.recv(65536)
        self._received += part
        targets = set()
        while len(self._received) >= 8:
            target, word = struct.unpack_from("=II", self._received)
            if len(self._received) < word >> 16:
                break
            arguments = self._received[8:word >> 16]
            self._received = self._received[word >> 16:]
            targets.add(target)
            if target == self._registry and word & 0xFFFF == 0:
                name, length = struct.unpack_from("=II", arguments)
                self._names[arguments[8:8 + length - 1].decode()] = name
        return targets if part else None


class WaylandKeys:
    """Keys by their names. `held` is what is held; key(code, is_down) is the keyboard's own."""

    def __init__(self):
        self.held = []

    def press(self, *names):
        for code in map(code_of, names):
            self.held.append(code)
            self.key(code, 1)

    def release(self, *names):
        for code in map(code_of, names):
            self.held.remove(code)
            self.key(code, 0)

    def chord(self, text):
        """As in chord("ctrl+a")."""
        names = str(text).split("+")
        self.press(*names)
        self.release(*reversed(names))

    def type(self, text):
        for letter in text:
            shift = ["shift"] if letter in SHIFTED or letter.isupper() else []
            self.press(*shift, SHIFTED.get(letter, letter))
            self.release(SHIFTED.get(letter, letter), *shift)
            time.sleep(0.005)


class WaylandInput(WaylandKeys):
    """As long as it lives, the compositor has a keyboard and a pointer. `size` is the screen's."""

    def __init__(self, display, size):
        super().__init__()
        self._size = size
        self._connection = connection = WaylandConnection(display)
        seat = connection.bind("wl_seat")
        manager = connection.bind("zwp_virtual_keyboard_manager_v1")
        self._keyboard = connection.new()
        connection.send(manager, 0, struct.pack("=II", seat, self._keyboard))
        self.set_layout("us")
        manager = connection.bind("zwlr_virtual_pointer_manager_v1")
        self._pointer = connection.new()
        connection.send(manager, 0, struct.pack("=II", seat, self._pointer))

    def close(self):
        self._connection.close()

    def set_layout(self, name):
        text = KEYMAP % name.encode()
        file = os.memfd_create("keymap")
        os.write(file, text)
        self._connection.send(self._keyboard, 0, struct.pack("=II", 1, len(text)), file)
        os.close(file)

    def key(self, code, is_down):
        send = self._connection.send
        send(self._keyboard, 1, struct.pack("=III", self._now(), code, is_down))
        if code in MODIFIERS:
            modifiers = sum({MODIFIERS.get(each, 0) for each in self.held})
            send(self._keyboard, 2, struct.pack("=IIII", modifiers, 0, 0, 0))
        self._connection.drain()

    def point(self, x, y):
        self._connection.send(self._pointer, 1,
                              struct.pack("=IIIII", self._now(), x, y, *self._size))
        self._end_of_frame()

    def click(self, button):
        """A button by X's number: 1 to 3, or 4 and 5 for the wheel's turns."""
        if button > 3:
            length = (15 if button == 5 else -15) << 8
            self._connection.send(self._pointer, 3, struct.pack("=IIi", self._now(), 0, length))
            return self._end_of_frame()
        for is_down in (1, 0):
            code = {1: 0x110, 2: 0x112, 3: 0x111}[button]
            self._connection.send(self._pointer, 2,
                                  struct.pack("=III", self._now(), code, is_down))
            self._end_of_frame()

    def _end_of_frame(self):
        self._connection.send(self._pointer, 4, b"")

    @staticmethod
    def _now():
        return time.monotonic_ns() // 1_000_000 & 0xFFFFFFFF


class PlayedDesktop(PrivateDesktop):
    """A desktop on which a program plays the keyboard and the pointer, `_input`."""

    PLAYS_AT_ONCE = True

    def close(self):
        super().close()
        if hasattr(self, "_input"):
            self._input.close()

    def keys(self, *chords):
        chords = list(map(str, chords))
        delay = 0.012
        if chords[0] == "--delay":
            delay = int(chords[1]) / 1000
            del chords[:2]
        for chord in chords:
            self._input.chord(chord)
            time.sleep(delay)  # a person's pace, as xdotool's

    def hold(self, *keys):
        self._input.press(*keys)

    def release(self, *keys):
        self._input.release(*keys)

    def held_keys(self):
        return list(self._input.held)

    def set_layout(self, name):
        self._input.set_layout(name)

    def type_text(self, text):
        self._input.type(text)

    def point(self, x, y):
        self._input.point(x, y)

    def click(self, x, y, button=1):
        self.point(x, y)
        self._input.click(button)
