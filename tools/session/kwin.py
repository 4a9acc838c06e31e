"""A private desktop of the compositor KWin, without a graphics card or a seat."""

import atexit
import os
import pathlib
import pwd
import re
import shutil
import struct
import sys
import tempfile

import gi
from desktop import wait_until
from sway import SwayDesktop
from wayland_input import WaylandConnection, WaylandKeys

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

# Tells which windows there are, and who is in front.
SCRIPT = """
const tell = what => window => callDBus("%s", "/", "com.qarvin.stowboard.test", what,
                                        window ? String(window.internalId) : "");
const all = workspace.windowList || workspace.clientList;
(workspace.windowAdded || workspace.clientAdded).connect(tell("Added"));
(workspace.windowRemoved || workspace.clientRemoved).connect(tell("Removed"));
(workspace.windowActivated || workspace.clientActivated).connect(tell("Front"));
all.call(workspace).forEach(tell("Added"));
tell("Front")(workspace.activeWindow || workspace.activeClient);
"""
ACTIVATION = """
const all = workspace.windowList ? workspace.windowList() : workspace.clientList();
const wanted = all.find(window => String(window.internalId) === "%s");
workspace[workspace.windowActivated ? "activeWindow" : "activeClient"] = wanted;
"""
ALLOWED = """[Desktop Entry]
Type=Application
Name={name}
Exec={program}
X-KDE-Wayland-Interfaces=org_kde_kwin_fake_input
"""
MENU = "<Menu><Name>Applications</Name><DefaultAppDirs/><Include><All/></Include></Menu>"


def become_ordinary(program):
    """KWin refuses to run as root, and shares files with programs of its own user only. The project
    may lie where only root comes: the tests may still be read there, and `program`, which is tested,
    is put where everybody comes."""
    if os.geteuid() == 0:
        nobody = pwd.getpwnam("nobody")
        folder = pathlib.Path(tempfile.mkdtemp(prefix="stowboard-program."))
        shutil.copy(program, folder)
        folder.chmod(0o755)
        shutil.chown(folder, nobody.pw_uid)
        os.environ["STOWBOARD_PROGRAM"] = str(folder / program.name)
        os.environ["STOWBOARD_PROGRAM_COPY"] = str(folder)
        # KWin ends where no X server has ever run.
        sockets = pathlib.Path("/tmp/.X11-unix")
        sockets.mkdir(exist_ok=True)
        sockets.chmod(0o1777)
        script = os.path.abspath(sys.argv[0])
        os.chdir("/")
        os.execvp("setpriv", ["setpriv", f"--reuid={nobody.pw_uid}", f"--regid={nobody.pw_gid}",
                              "--clear-groups", "--inh-caps=+dac_override",
                              "--ambient-caps=+dac_override", sys.executable,
                              script, *sys.argv[1:]])
    if copy := os.environ.pop("STOWBOARD_PROGRAM_COPY", None):
        atexit.register(shutil.rmtree, copy, ignore_errors=True)


class KwinInput(WaylandKeys):
    """A keyboard and a pointer played by a program (org_kde_kwin_fake_input)."""

    def __init__(self, display):
        super().__init__()
        self._connection = connection = WaylandConnection(display)
        self._input = connection.bind("org_kde_kwin_fake_input", 4)
        name = struct.pack("=I4s", 2, b"t")
        connection.send(self._input, 0, name + name)

    def close(self):
        self._connection.close()

    def key(self, code, is_down):
        self._connection.send(self._input, 10, struct.pack("=II", code, is_down))
        self._connection.drain()

    def point(self, x, y):
        self._connection.send(self._input, 9, struct.pack("=ii", x << 8, y << 8))

    def click(self, button):
        if button > 3:
            length = (15 if button == 5 else -15) << 8
            return self._connection.send(self._input, 3, struct.pack("=Ii", 0, length))
        for is_down in (1, 0):
            code = {1: 0x110, 2: 0x112, 3: 0x111}[button]
            self._connection.send(self._input, 2, struct.pack("=II", code, is_down))


class KwinDesktop(SwayDesktop):
    """Wayland programs run on KWin, X11 ones on its XWayland; see PrivateDesktop. Only for ordinary
    users."""

    PASTES_ON_RELEASE = shutil.which("kbuildsycoca6") is not None  # since version 6
    # On a KWin that draws without OpenGL foot does not come up, nor on version 6 a VTE terminal.
    TERMINALS = () if PASTES_ON_RELEASE else ("vte",)

    def _start_display(self):
        """The compositor needs the bus."""

    def _start_window_manager(self):
        python = pathlib.Path("/usr/bin/python3").resolve()
        # In place of the system's own file for it, where there is one.
        self._allow(python.name, python)
        self._allow("com.qarvin.stowboard", os.environ.get("STOWBOARD_PROGRAM", ""))
        # What KWin knows of programs by; it would be made beside its start. Version 6 knows only
        # what is in the menu.
        menu = pathlib.Path(self.environment["XDG_CONFIG_HOME"]) / "menus" / "applications.menu"
        menu.parent.mkdir(parents=True)
        menu.write_text(MENU)
        for indexer in ("kbuildsycoca6", "kbuildsycoca5"):
            if shutil.which(indexer):
                self.output(indexer)
        # Without the file's capabilities, which not every system may give.
        kwin = self.directory / "kwin_wayland"
        shutil.copyfile("/usr/bin/kwin_wayland", kwin)
        kwin.chmod(0o700)
        started = self.directory / "display"
        teller = self.directory / "tell"
        teller.write_text(f'#!/bin/sh\nxhost +local:\necho $DISPLAY > {started}.new\n'
                          f'mv {started}.new {started}\nexec sleep infinity\n')
        teller.chmod(0o700)
        self._server = self.start(
            [kwin, "--virtual", "--xwayland", "--width", self.width, "--height", self.height,
             "--socket", "wayland-kwin", "--exit-with-session", teller], {"KWIN_COMPOSE": "Q"})
        wait_until(lambda: started.exists() or self._server.poll() is not None, "KWin runs", 20)
        if self._server.poll() is not None:
            raise RuntimeError(f"KWin ended with status {self._server.returncode}")
        self.environment.update(
            DISPLAY=started.read_text().strip(), WAYLAND_DISPLAY="wayland-kwin",
            XDG_SESSION_TYPE="wayland", XDG_CURRENT_DESKTOP="KDE")
        self._follow_front()

    def _allow(self, name, program):
        folder = pathlib.Path(self.environment["XDG_DATA_HOME"]) / "applications"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / f"{name}.desktop").write_text(ALLOWED.format(name=name, program=program))

    def _follow_front(self):
        self._front = None
        self._windows = []
        self._bus = Gio.DBusConnection.new_for_address_sync(
            self.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
            Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._bus.add_filter(self._take)
        self._run(SCRIPT % self._bus.get_unique_name())
        wait_until(lambda: self._front is not None, "KWin tells who is in front")

    def _open(self):
        super(SwayDesktop, self)._open()
        socket = pathlib.Path(self.environment["XDG_RUNTIME_DIR"]) / "wayland-kwin"
        self._input = KwinInput(str(socket))
        self.point(self.width // 2, self.height // 2)

    def set_layout(self, name):
        (pathlib.Path(self.environment["XDG_CONFIG_HOME"]) / "kxkbrc").write_text(
            f"[Layout]\nUse=true\nLayoutList={name}\n")
        self._bus.emit_signal(None, "/Layouts", "org.kde.keyboard", "reloadConfig", None)
        self._ask("/KWin", "org.kde.KWin", "supportInformation")  # comes after it

    # Windows and the screen

    def window(self, title_or_class, seconds=20.0):
        def visible():
            found = self.windows(title_or_class) or self.windows(title_or_class, by="class")
            return found[0] if found else None
        window = wait_until(visible, f"a window {title_or_class!r}", seconds)
        self._run(ACTIVATION % window)
        wait_until(lambda: self.active_window() == window, f"{title_or_class!r} is active")
        return window

    def windows(self, pattern, by="name"):
        matches = re.compile(pattern, re.IGNORECASE).search
        what = {"name": "caption", "class": "resourceClass"}[by]
        return [each for each in list(self._windows)
                if matches(self._information(each).get(what, ""))]

    def active_window(self):
        return self._front or ""

    def title(self, window):
        return self._information(window).get("caption", "") if window else ""

    def rect(self, window):
        place = self._information(window)
        return tuple(round(place[name]) for name in ("x", "y", "width", "height"))

    def traits(self, window):
        return "_NET_WM_WINDOW_TYPE_UTILITY" if self._information(window).get("type") == 8 else ""

    def go_to_workspace(self, number):
        if number > 0:
            self._ask("/VirtualDesktopManager", "org.kde.KWin.VirtualDesktopManager",
                      "createDesktop", "(us)", number, str(number))
        self._ask("/KWin", "org.kde.KWin", "setCurrentDesktop", "(i)", number + 1)

    def take_hot_key(self, keycode, *modifiers):
        """Another program's shortcut, whoever had it before."""
        self._shortcuts("unregister", "(ss)", "com.qarvin.stowboard", "show-history")
        bits = {"Shift": 0x02000000, "Control": 0x04000000, "Mod1": 0x08000000, "Mod4": 0x10000000}
        key = ord({10: "1", 55: "V"}[keycode]) + sum(bits[each] for each in modifiers)
        self._other_shortcut([([key, 0, 0, 0],)])

    def give_hot_key_back(self):
        self._other_shortcut([])

    def stop_display(self):
        self._server.terminate()
        self._server.wait(20)

    def copy(self, content, kind=None):
        # It would look into its input, for which other programs are needed.
        super().copy(content if kind else content.encode(), kind or "text/plain;charset=utf-8")

    def owner_command(self, path):
        return ["sh", "-c", 'exec wl-copy -t "text/plain;charset=utf-8" --foreground < "$0"', path]

    # Helpers of its own

    def _run(self, script):
        self._scripts = getattr(self, "_scripts", 0) + 1
        file = self.directory / f"{self._scripts}.js"
        file.write_text(script)
        scripting = "org.kde.kwin.Scripting"
        self._ask("/Scripting", scripting, "loadScript", "(ss)", str(file), file.stem)
        self._ask("/Scripting", scripting, "start")

    def _other_shortcut(self, keys):
        action = ["other", "other", "Other Program", "Something"]
        self._shortcuts("doRegister", "(as)", action)
        self._shortcuts("setShortcutKeys", "(asa(ai)u)", action, keys, 6)

    def _shortcuts(self, method, kind, *arguments):
        self._bus.call_sync("org.kde.kglobalaccel", "/kglobalaccel", "org.kde.KGlobalAccel", method,
                            GLib.Variant(kind, arguments), None, 0, 10_000, None)

    def _information(self, window):
        try:
            return self._ask("/KWin", "org.kde.KWin", "getWindowInfo", "(s)", window)[0]
        except GLib.Error:
            return {}

    def _ask(self, path, interface, method, kind="()", *arguments):
        answer = self._bus.call_sync("org.kde.KWin", path, interface, method,
                                     GLib.Variant(kind, arguments), None, 0, 10_000, None)
        return answer.unpack()

    def _take(self, bus, message, is_incoming):
        """On a thread of the bus."""
        if not is_incoming or message.get_interface() != "com.qarvin.stowboard.test":
            return message
        window = message.get_body().unpack()[0]
        match message.get_member():
            case "Front":
                self._front = window
            case "Added":
                self._windows.append(window)
            case "Removed":
                self._windows.remove(window)
        bus.send_message(Gio.DBusMessage.new_method_reply(message), 0)
        return None
