"""A private desktop for tests and demonstrations.

An X server, a window manager and a session bus of their own, in a home of their own, so that
nothing touches the desktop of whoever starts it, and several can run side by side. Everything that
was started in it ends with it, by process id.
"""

import contextlib
import ctypes
import os
import pathlib
import select
import shutil
import signal
import subprocess
import tempfile
import time

from Xlib import X, display

BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:dir={directory}</listen>
  <auth>EXTERNAL</auth>
  <servicedir>{services}</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

# Names that lead a program to the desktop outside, or change what it does there.
OUTSIDE_NAMES = (
    "DBUS_SESSION_BUS_ADDRESS", "DESKTOP_SESSION", "DISPLAY", "GDK_BACKEND", "GTK_IM_MODULE",
    "GTK_MODULES", "LANGUAGE", "LC_ALL", "QT_IM_MODULE", "QT_QPA_PLATFORM", "SESSION_MANAGER", "SWAYSOCK",
    "WAYLAND_DISPLAY", "WAYLAND_SOCKET", "XAUTHORITY", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE",
    "XMODIFIERS", "XCTestConfigurationFilePath",
)

PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36
_libc = ctypes.CDLL(None, use_errno=True)


class NotReached(AssertionError):
    """A condition did not come true before its deadline."""


def wait_until(condition, what, seconds=10.0):
    """Polls until `condition()` is true and returns its value; raises NotReached otherwise."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise NotReached(f"not within {seconds:g} s: {what}")
        time.sleep(0.01)


def _end_with_parent():
    _libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


def _parents():
    """Parent process id of every live process."""
    parents = {}
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            stat = (process / "stat").read_text(errors="replace")
            state, parent = stat.rpartition(")")[2].split()[:2]
            if state != "Z":
                parents[int(process.name)] = int(parent)
    return parents


def _descendants(root):
    parents = _parents()
    found = {root}
    while True:
        more = {pid for pid, parent in parents.items() if parent in found} - found
        if not more:
            return found - {root}
        found |= more


def _signal(pids, number):
    for pid in pids:
        with contextlib.suppress(ProcessLookupError):
            os.kill(pid, number)


class PrivateDesktop:
    """Use it as a context manager, one at a time in a process.

    `environment` is what programs in the desktop get; `directory` holds its home and is removed
    with it; `width` and `height` are the screen's. What stands without an underscore is all that
    tests and the tour use, so that it is what a desktop of another window system has to offer: its
    programs, keyboard and pointer, windows, clipboard, and the parts that a user may have or lack.
    A window is named by an id, a text that means something to this desktop only.
    """

    width, height = 1280, 800
    TRAY_HEIGHT = 24

    # Among the forms of a text on the clipboard, only Stowboard's have this one.
    OWN_TARGET = "SAVE_TARGETS"
    # Terminals beside xterm that run on it; and what browsers run on.
    TERMINALS = ("vte",)
    OZONE_PLATFORM = "x11"
    # Whether nobody can lift the keys that are held, so that pastes wait until they are let go.
    PASTES_ON_RELEASE = False
    # Whether keys arrive within some milliseconds.
    PLAYS_AT_ONCE = False

    def __init__(self):
        self.environment = {}
        self._programs = []

    def __enter__(self):
        try:
            self._open()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def stop_display(self):
        """Ends the X server, as at the end of a user's session."""
        self._server.terminate()
        self._server.wait(20)

    # Opening and closing

    def _open(self):
        # Programs that put themselves in the background become our children, so that close() finds
        # them.
        _libc.prctl(PR_SET_CHILD_SUBREAPER, 1)
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="stowboard-desktop."))
        self._guardian = self._start_guardian()
        self._before = _descendants(os.getpid())
        self._make_home()
        self._start_display()
        self._start_bus()
        self._start_window_manager()

    def close(self):
        """Ends everything in the desktop and removes its folder. Safe to call twice."""
        guardian = getattr(self, "_guardian", None)
        if guardian is None:
            return
        blocked = signal.pthread_sigmask(
            signal.SIG_BLOCK, {signal.SIGINT, signal.SIGTERM, signal.SIGHUP})
        try:
            self._guardian = None
            self._end_programs()
            guardian.stdin.close()
            guardian.wait()
        finally:
            signal.pthread_sigmask(signal.SIG_SETMASK, blocked)

    def _start_guardian(self):
        """Ends the leftovers and removes the folder, even if this process is killed outright."""
        script = ('trap "" INT TERM HUP; read -r _; for signal in TERM TERM TERM KILL KILL; do '
                  'kill -$signal $(grep -lzsF "HOME=$1/home" /proc/[0-9]*/environ '
                  '| sed "s,[^0-9],,g") 2>/dev/null; '
                  'rm -rf "$1" 2>/dev/null && exit 0; sleep 0.2; done')
        return subprocess.Popen(["/bin/sh", "-c", script, "sh", str(self.directory)],
                                stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL, start_new_session=True)

    def _end_programs(self):
        server = getattr(self, "_server", None)
        spared = self._before | ({server.pid} if server else set())
        programs = lambda: _descendants(os.getpid()) - spared
        for number in (signal.SIGTERM, signal.SIGKILL):
            left = programs()
            _signal(left, number)
            _signal(left, signal.SIGCONT)
            with contextlib.suppress(NotReached):
                wait_until(lambda: not programs(), "every program ended", 2.0)
                break
        for program in self._programs:
            program.poll()
        if server:
            # The server removes its lock and socket only when it is asked to end.
            try:
                server.terminate()
                server.wait(5)
            except subprocess.TimeoutExpired:
                server.kill()
                server.wait()

    def _make_home(self):
        names = {"HOME": "home", "XDG_CONFIG_HOME": "home/.config", "XDG_CACHE_HOME": "home/.cache",
                 "XDG_DATA_HOME": "home/.local/share", "XDG_STATE_HOME": "home/.local/state",
                 "XDG_RUNTIME_DIR": "run", "TMPDIR": "tmp"}
        environment = {k: v for k, v in os.environ.items() if k not in OUTSIDE_NAMES}
        for name, folder in names.items():
            path = self.directory / folder
            path.mkdir(parents=True, exist_ok=True, mode=0o700)
            environment[name] = str(path)
        environment.update(LANG="C.UTF-8", XDG_SESSION_TYPE="x11", GSETTINGS_BACKEND="memory",
                           NO_AT_BRIDGE="1", GTK_USE_PORTAL="0", GIO_USE_VFS="local",
                           SHELL="/bin/sh")  # terminals ask it; a service's user has none
        self.environment = environment

    def _start_display(self):
        self._server = self.start(
            ["Xvfb", "-displayfd", "1", "-screen", "0", f"{self.width}x{self.height}x24",
             "-noreset", "-nolisten", "tcp"], stdout=subprocess.PIPE)
        self.environment["DISPLAY"] = ":" + self._first_line(self._server)

    def _start_bus(self):
        services = self.directory / "services"
        services.mkdir()
        configuration = self.directory / "bus.conf"
        configuration.write_text(BUS_CONFIGURATION.format(
            directory=self.environment["XDG_RUNTIME_DIR"], services=services))
        bus = self.start(["dbus-daemon", f"--config-file={configuration}", "--nofork",
                          "--nopidfile", "--print-address"], stdout=subprocess.PIPE)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._first_line(bus)

    def _start_window_manager(self):
        self.manager = manager = self.start(["openbox", "--sm-disable"])
        wait_until(lambda: manager.poll() is not None or "window id #" in self.output(
            "xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), "the window manager runs")
        if manager.poll() is not None:
            raise RuntimeError(f"openbox ended with status {manager.returncode}")

    @staticmethod
    def _first_line(program, seconds=20):
        """What a program tells once it is ready for others."""
        with program.stdout as stream:
            ready = select.select([stream], [], [], seconds)[0]
            line = stream.readline().decode().strip() if ready else ""
        if not line:
            raise RuntimeError(f"no answer from {program.args[0]}")
        return line

    # Programs

    def start(self, command, environment=None, **options):
        """Starts a program in its own session; returns its Popen. Silent unless told otherwise."""
        for name in ("stdin", "stdout", "stderr"):
            options.setdefault(name, subprocess.DEVNULL)
        program = subprocess.Popen([str(part) for part in command],
                                   env={**self.environment, **(environment or {})},
                                   start_new_session=True, preexec_fn=_end_with_parent, **options)
        self._programs.append(program)
        return program

    def output(self, *command, input=None, seconds=20):
        """Runs a program to its end and returns what it wrote; empty when it failed."""
        result = subprocess.run([str(part) for part in command], env=self.environment,
                                input=input, stdin=None if input is not None else subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                timeout=seconds)
        return result.stdout if result.returncode == 0 else ""

    def stop_program(self, program, seconds=5.0):
        """Ends one program and everything that it started."""
        family = _descendants(program.pid) | {program.pid}
        _signal(family, signal.SIGTERM)
        with contextlib.suppress(subprocess.TimeoutExpired):
            program.wait(seconds)
        _signal(family & set(_parents()), signal.SIGKILL)
        program.wait()

    # Keyboard and pointer

    def keys(self, *chords):
        """Presses key combinations, as in keys("ctrl+a", "ctrl+c")."""
        self._xdotool("key", *chords)

    def hold(self, *keys):
        self._xdotool("keydown", *keys)

    def release(self, *keys):
        self._xdotool("keyup", *keys)

    def held_keys(self):
        """What the system takes for held down."""
        state = self.output("xinput", "query-state", "Virtual core keyboard")
        return [line.strip() for line in state.splitlines() if line.endswith("=down")]

    def set_layout(self, name):
        self.output("setxkbmap", name)

    def type_text(self, text):
        self._xdotool("type", "--delay", "5", text)

    def point(self, x, y):
        """Moves the pointer."""
        self._xdotool("mousemove", x, y)

    def click(self, x, y, button=1):
        self._xdotool("mousemove", x, y, "click", button)

    # Windows and the screen

    def window(self, title_or_class, seconds=20.0):
        """Waits for a visible window with this title or class, activates it, returns its id."""
        def visible():
            found = self.windows(title_or_class) or self.windows(title_or_class, by="class")
            return found[0] if found else None
        window = wait_until(visible, f"a window {title_or_class!r}", seconds)
        self.output("xdotool", "windowactivate", window)
        wait_until(lambda: self.active_window() == window, f"{title_or_class!r} is active")
        return window

    def windows(self, pattern, by="name"):
        """The visible windows whose name (the title) or class matches."""
        while True:
            search = subprocess.run(["xdotool", "search", "--onlyvisible", f"--{by}", pattern],
                                    env=self.environment, capture_output=True, text=True, timeout=20)
            # It fails when any window goes while it looks, which must not read as none.
            if "X Error" not in search.stderr:
                return search.stdout.split()

    def active_window(self):
        """The id of the window with the focus; empty when there is none."""
        return self.output("xdotool", "getactivewindow").strip()

    def title(self, window):
        return self.output("xdotool", "getwindowname", window).strip() if window else ""

    def active_title(self):
        return self.title(self.active_window())

    def traits(self, window):
        """The properties that tell one window of a program from another, as xprop writes them."""
        return self.output("xprop", "-id", window, "_NET_WM_NAME", "_NET_WM_WINDOW_TYPE")

    def rect(self, window):
        """Its place on the screen and its size: x, y, width, height."""
        with self._x() as x:
            size = x.create_resource_object("window", int(window)).get_geometry()
            at = x.screen().root.translate_coords(int(window), 0, 0)
            return at.x, at.y, size.width, size.height

    def move(self, window, x, y):
        self._xdotool("windowmove", window, x, y)

    def minimize(self, window):
        self._xdotool("windowminimize", window)

    def go_to_workspace(self, number):
        """The first one, where everything starts, is 0."""
        self._xdotool("set_desktop", number)

    def darkness(self, window):
        """How dark the middle line of a window is on average: 0 for white, 1 for black."""
        _, _, width, height = self.rect(window)
        with self._x() as x:
            drawable = x.create_resource_object("window", int(window))
            line = drawable.get_image(0, height // 2, width, 1, X.ZPixmap, 0xFFFFFFFF)
        colours = [value for at, value in enumerate(line.data) if at % 4 != 3]
        return 1 - sum(colours) / len(colours) / 255

    def set_background(self, colour):
        self.output("xsetroot", "-solid", colour)

    def take_hot_key(self, keycode, *modifiers):
        """Another program has the key with these modifiers ("Shift", "Mod4") from now on."""
        self._taken = display.Display(self.environment["DISPLAY"])
        masks = {"Shift": X.ShiftMask, "Control": X.ControlMask, "Mod1": X.Mod1Mask,
                 "Mod4": X.Mod4Mask}
        self._taken.screen().root.grab_key(keycode, sum(masks[each] for each in modifiers), True,
                                           X.GrabModeAsync, X.GrabModeAsync)
        self._taken.sync()

    def give_hot_key_back(self):
        self._taken.close()

    def screenshot(self, path, part=()):
        """A picture of the screen or of a part of it (x, y, width, height); its folder is made where
        it is missing."""
        pathlib.Path(path).parent.mkdir(parents=True, exist_ok=True)
        only = ["--autoselect", ",".join(map(str, part))] if part else []
        subprocess.run(["scrot", "--overwrite", *only, str(path)], env=self.environment, check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)

    # The clipboard

    def copy(self, content, kind=None):
        """A program takes the clipboard with a text, or with the bytes of a media type; it stays in
        the background until another takes it. Returns when it owns the clipboard, which is some
        time after it has put itself in the background, so that copies keep their order."""
        with self._x() as x:
            owner = lambda: x.get_selection_owner(x.intern_atom("CLIPBOARD"))
            before = owner()
            subprocess.run(["xclip", "-selection", "clipboard", *(["-t", kind] if kind else [])],
                           input=content if kind else content.encode(), env=self.environment,
                           check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            wait_until(lambda: owner() != before, "a new owner")

    def clipboard(self, kind="UTF8_STRING", seconds=60):
        """What the clipboard's owner gives in this form, such as TARGETS."""
        return self.output("xclip", "-o", "-selection", "clipboard", "-t", kind, seconds=seconds)

    def selected_text(self):
        """The primary selection."""
        return self.output("xclip", "-o", "-selection", "primary")

    def owner_command(self, path):
        """What offers a file's text on the clipboard until it ends."""
        return ["xclip", "-quiet", "-selection", "clipboard", "-i", path]

    # What a user's desktop may have or lack

    def start_tray(self):
        """An X11 tray in the bottom right corner; returns the running program."""
        return self.start(["trayer", "--edge", "bottom", "--align", "right", "--widthtype",
                           "request", "--height", self.TRAY_HEIGHT])

    def show_text_with(self, command):
        """Makes the command the desktop's viewer of text files."""
        applications = pathlib.Path(self.environment["XDG_DATA_HOME"]) / "applications"
        applications.mkdir(parents=True, exist_ok=True)
        (applications / "viewer.desktop").write_text(
            "[Desktop Entry]\nType=Application\nName=Viewer\nMimeType=text/plain;\n"
            f"Exec={' '.join(command)} %f\n")
        (pathlib.Path(self.environment["XDG_CONFIG_HOME"]) / "mimeapps.list").write_text(
            "[Default Applications]\ntext/plain=viewer.desktop\n")

    # Helpers of its own

    @contextlib.contextmanager
    def _x(self):
        """A connection for one question, since the server may be ended meanwhile."""
        connection = display.Display(self.environment["DISPLAY"])
        try:
            yield connection
        finally:
            connection.close()

    def _xdotool(self, *arguments):
        subprocess.run(["xdotool", *map(str, arguments)], env=self.environment, check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, timeout=60)


def ends_on_signals():
    """Makes the ordinary ending signals unwind this process, so that its desktop is closed."""
    def unwind(number, _frame):
        raise SystemExit(128 + number)
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        signal.signal(number, unwind)


def missing_programs(*names):
    """Those of the programs that are not installed."""
    return [name for name in names if shutil.which(name) is None]
