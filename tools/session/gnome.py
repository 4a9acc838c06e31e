"""A private desktop of GNOME Shell, without a graphics card or a seat."""

import json
import os
import pathlib
import re
import shutil
import subprocess

import gi
from desktop import wait_until
from wayland_input import PlayedDesktop, WaylandKeys

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

EXTENSION = "stowboard@qarvin.com"
SYSTEM_BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path={path}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/> <allow own="*"/> <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
"""
SETTINGS = """[org/gnome/shell]
enabled-extensions={extensions}
welcome-dialog-last-shown-version='99'

[org/gnome/desktop/interface]
enable-animations=false
"""
WINDOWS = """JSON.stringify(global.get_window_actors().map(actor => actor.meta_window).map(each => {
    const frame = each.get_frame_rect();
    return {id: String(each.get_id()), title: each.get_title() ?? "", class: each.get_wm_class() ?? "",
            type: each.get_window_type(), isFront: each === global.display.focus_window,
            rect: [frame.x, frame.y, frame.width, frame.height]}; }))"""


class GnomeInput(WaylandKeys):
    """A keyboard and a pointer played by a program, by Mutter's service for remote desktops."""

    def __init__(self, ask):
        super().__init__()
        self._ask = ask
        service = "org.gnome.Mutter.RemoteDesktop"
        self._session = ask(service, "/org/gnome/Mutter/RemoteDesktop", service, "CreateSession")[0]
        identity = ask(service, self._session, "org.freedesktop.DBus.Properties", "Get", "(ss)",
                       f"{service}.Session", "SessionId")[0]
        service = "org.gnome.Mutter.ScreenCast"
        cast = ask(service, "/org/gnome/Mutter/ScreenCast", service, "CreateSession", "(a{sv})",
                   {"remote-desktop-session-id": GLib.Variant("s", identity)})[0]
        self._stream = ask(service, cast, f"{service}.Session", "RecordMonitor", "(sa{sv})", "",
                           {})[0]
        self._do("Start")
        # The first one is lost.
        self.chord("shift")

    def close(self):
        """It ends with the shell."""

    def key(self, code, is_down):
        self._do("NotifyKeyboardKeycode", "(ub)", code, bool(is_down))

    def point(self, x, y):
        self._do("NotifyPointerMotionAbsolute", "(sdd)", self._stream, x, y)

    def click(self, button):
        if button > 3:
            return self._do("NotifyPointerAxisDiscrete", "(ui)", 0, 1 if button == 5 else -1)
        code = {1: 0x110, 2: 0x112, 3: 0x111}[button]
        for is_down in (True, False):
            self._do("NotifyPointerButton", "(ib)", code, is_down)

    def _do(self, method, kind="()", *arguments):
        service = "org.gnome.Mutter.RemoteDesktop"
        self._ask(service, self._session, f"{service}.Session", method, kind, *arguments)


class GnomeDesktop(PlayedDesktop):
    """Programs run on GNOME Shell and its XWayland; see PrivateDesktop."""

    OZONE_PLATFORM = "wayland"
    PASTES_ON_RELEASE = True

    def _start_display(self):
        """The compositor needs the bus."""

    def _start_window_manager(self):
        self._install()
        run = pathlib.Path(self.environment["XDG_RUNTIME_DIR"])
        configuration = self.directory / "system.conf"
        configuration.write_text(SYSTEM_BUS.format(path=run / "system"))
        self.environment.update(
            DBUS_SYSTEM_BUS_ADDRESS=f"unix:path={run}/system", XDG_SESSION_TYPE="wayland",
            XDG_CURRENT_DESKTOP="GNOME", GSETTINGS_BACKEND="keyfile", GSK_RENDERER="cairo")
        system = self.start(["dbus-daemon", f"--config-file={configuration}", "--nofork",
                             "--print-address"], stdout=subprocess.PIPE)
        self._first_line(system)
        self.start(["/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"])
        self.start(["pipewire"])
        self.start(["wireplumber"])
        self._bus = Gio.DBusConnection.new_for_address_sync(
            self.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
            Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._log = self.directory / "shell.log"
        with self._log.open("w") as log:
            self._server = self.start(
                ["gnome-shell", "--headless", "--wayland", "--virtual-monitor",
                 f"{self.width}x{self.height}", "--wayland-display", "wayland-gnome",
                 "--unsafe-mode"], stdout=log, stderr=log)
        display = wait_until(lambda: re.search(r"public X11 display (:\d+)",
                                               self._log.read_text()), "XWayland is there", 30)
        authority = wait_until(lambda: next(run.glob(".mutter-Xwaylandauth.*"), None),
                               "its authority is there")
        self.environment.update(WAYLAND_DISPLAY="wayland-gnome", DISPLAY=display[1],
                                XAUTHORITY=str(authority))
        os.environ["XAUTHORITY"] = str(authority)  # for the tests' own connections
        wait_until(lambda: self.evaluate("Main.layoutManager._startingUp") == "false",
                   "the shell has started", 30)
        self.evaluate("Main.overview.hide()")

    def _install(self):
        data = pathlib.Path(self.environment["XDG_DATA_HOME"])
        source = pathlib.Path(__file__).resolve().parents[2] / "resources" / "gnome-shell"
        shutil.copytree(source, data / "gnome-shell" / "extensions" / EXTENSION)
        self._set_up([EXTENSION])

    def _set_up(self, extensions, more=""):
        settings = pathlib.Path(self.environment["XDG_CONFIG_HOME"]) / "glib-2.0" / "settings"
        settings.mkdir(parents=True)
        (settings / "keyfile").write_text(SETTINGS.format(extensions=extensions) + more)

    def _open(self):
        super()._open()
        self._input = GnomeInput(self.ask)
        self.point(self.width // 2, self.height // 2)

    def set_layout(self, name):
        self.output("gsettings", "set", "org.gnome.desktop.input-sources", "sources",
                    f"[('xkb', '{name}')]")
        current = "Main.panel.statusArea.keyboard?._inputSourceManager?.currentSource?.id"
        wait_until(lambda: self.evaluate(current) == f'"{name}"', f"the layout is {name}")

    # Windows and the screen

    def window(self, title_or_class, seconds=20.0):
        def visible():
            found = self.windows(title_or_class) or self.windows(title_or_class, by="class")
            return found[0] if found else None
        window = wait_until(visible, f"a window {title_or_class!r}", seconds)
        self.evaluate(f"Main.activateWindow({self._OF % window})")
        wait_until(lambda: self.active_window() == window, f"{title_or_class!r} is active")
        return window

    _OF = "global.get_window_actors().map(a => a.meta_window).find(w => w.get_id() === %s)"

    def windows(self, pattern, by="name"):
        matches = re.compile(pattern, re.IGNORECASE).search
        what = {"name": "title", "class": "class"}[by]
        return [each["id"] for each in self._windows() if matches(each[what])]

    def active_window(self):
        return next((each["id"] for each in self._windows() if each["isFront"]), "")

    def title(self, window):
        return self._window(window).get("title", "")

    def traits(self, window):
        return "_NET_WM_WINDOW_TYPE_UTILITY" if self._window(window).get("type") == 7 else ""

    def rect(self, window):
        return tuple(self._window(window)["rect"])

    def screenshot(self, path, part=()):
        pathlib.Path(path).parent.mkdir(parents=True, exist_ok=True)
        service = "org.gnome.Shell.Screenshot"
        self.ask(service, "/org/gnome/Shell/Screenshot", service, "Screenshot", "(bbs)", False,
                 False, str(pathlib.Path(path).resolve()))

    # GNOME's own

    def ask(self, service, path, interface, method, kind="()", *arguments):
        answer = self._bus.call_sync(service, path, interface, method,
                                     GLib.Variant(kind, arguments), None, 0, 10_000, None)
        return answer.unpack()

    def evaluate(self, script):
        """What a script within the shell gives; empty for an error, or while there is no shell."""
        try:
            is_done, value = self.ask("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell",
                                      "Eval", "(s)", script)
        except GLib.Error:
            return ""
        return value if is_done else ""

    def enable_extension(self, is_wanted):
        self.evaluate(f"Main.extensionManager.{'enable' if is_wanted else 'disable'}Extension"
                      f"('{EXTENSION}')")

    def _windows(self):
        return json.loads(json.loads(self.evaluate(WINDOWS) or '"[]"'))

    def _window(self, window):
        return next((each for each in self._windows() if each["id"] == window), {})


APPROVED = """
[org/gnome/settings-daemon/global-shortcuts]
applications=['com.qarvin.stowboard']

[org/gnome/settings-daemon/global-shortcuts/com.qarvin.stowboard]
shortcuts=[{shortcuts}]
"""


class PortalDesktop(GnomeDesktop):
    """GNOME without our extension, with its portals. The user has allowed the hot keys before."""

    def _install(self):
        applications = pathlib.Path(self.environment["XDG_DATA_HOME"]) / "applications"
        applications.mkdir(parents=True)
        # Portals know programs by it.
        (applications / "com.qarvin.stowboard.desktop").write_text(
            "[Desktop Entry]\nType=Application\nName=Stowboard\n"
            f"Exec={os.environ.get('STOWBOARD_PROGRAM', 'true')}\n")
        portals = pathlib.Path(self.environment["XDG_CONFIG_HOME"]) / "xdg-desktop-portal"
        portals.mkdir(parents=True)
        (portals / "portals.conf").write_text("[preferred]\ndefault=gnome;gtk;\n")
        keys = {"show-history-SHIFT-LOGO-v": "<Super><Shift>v",
                **{f"paste-{n}-ALT-LOGO-{n}": f"<Super><Alt>{n}" for n in range(1, 10)}}
        approved = (f"('{name}', {{'description': <''>, 'shortcuts': <['{key}']>}})"
                    for name, key in keys.items())
        self._set_up("@as []", APPROVED.format(shortcuts=", ".join(approved)))

    def _open(self):
        super()._open()
        for name, program in (
                ("org.gnome.Settings.GlobalShortcutsProvider",
                 "gnome-control-center-global-shortcuts-provider"),
                ("org.freedesktop.impl.portal.desktop.gnome", "xdg-desktop-portal-gnome"),
                ("org.freedesktop.portal.Desktop", "xdg-desktop-portal")):
            self.start([f"/usr/libexec/{program}"])
            wait_until(lambda: self.ask("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                        "org.freedesktop.DBus", "NameHasOwner", "(s)", name)[0],
                       f"{program} runs")
