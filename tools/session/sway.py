"""A private desktop of the sway compositor, without a graphics card or a seat."""

import json
import os
import pathlib
import pwd
import re
import subprocess

from desktop import PrivateDesktop, wait_until
from wayland_input import PlayedDesktop, WaylandInput

CONFIGURATION = """
xwayland enable
output * resolution {width}x{height}
default_border none
focus_follows_mouse no
# Windows beside and above each other, as on other desktops.
for_window [title=".*"] floating enable
# Its X server lets its own user in only.
exec sh -c 'xhost +local: && echo $DISPLAY > {started}.new && mv {started}.new {started}'
"""


class SwayDesktop(PlayedDesktop):
    """Wayland programs run on sway, X11 ones on its XWayland; see PrivateDesktop."""

    OWN_TARGET = "application/x-stowboard"
    TERMINALS = ("vte", "foot")
    OZONE_PLATFORM = "wayland"

    def _start_display(self):
        # The compositor refuses to run as root.
        folder = self.directory / "compositor"
        folder.mkdir(mode=0o700)
        unprivileged = []
        if os.geteuid() == 0:
            nobody = pwd.getpwnam("nobody")
            os.chown(folder, nobody.pw_uid, nobody.pw_gid)
            self.directory.chmod(0o711)
            unprivileged = ["setpriv", f"--reuid={nobody.pw_uid}", f"--regid={nobody.pw_gid}",
                            "--clear-groups"]
        started = folder / "display"
        self._configuration = configuration = folder / "config"
        configuration.write_text(
            CONFIGURATION.format(width=self.width, height=self.height, started=started))
        configuration.chmod(0o644)
        self._server = self.start(
            [*unprivileged, "sway", "-c", configuration],
            {"WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1",
             "WLR_RENDERER": "pixman", "XDG_RUNTIME_DIR": str(folder), "HOME": str(folder)})
        wait_until(lambda: started.exists() or self._server.poll() is not None, "sway runs", 20)
        if self._server.poll() is not None:
            raise RuntimeError(f"sway ended with status {self._server.returncode}")
        sockets = [path for path in folder.glob("wayland-*") if path.suffix != ".lock"]
        self.environment.update(
            DISPLAY=started.read_text().strip(), WAYLAND_DISPLAY=str(sockets[0]),
            SWAYSOCK=str(next(folder.glob("sway-ipc.*.sock"))), XDG_SESSION_TYPE="wayland",
            XDG_CURRENT_DESKTOP="sway")

    def _start_window_manager(self):
        """The compositor is its own."""

    def _open(self):
        super()._open()
        self._input = WaylandInput(self.environment["WAYLAND_DISPLAY"],
                                   (self.width, self.height))

    # Windows and the screen

    def window(self, title_or_class, seconds=20.0):
        def visible():
            found = self.windows(title_or_class) or self.windows(title_or_class, by="class")
            return found[0] if found else None
        window = wait_until(visible, f"a window {title_or_class!r}", seconds)
        self._run(f"[con_id={window}] focus")
        wait_until(lambda: self.active_window() == window, f"{title_or_class!r} is active")
        return window

    def windows(self, pattern, by="name"):
        matches = re.compile(pattern, re.IGNORECASE).search
        what = {"name": self._name, "class": self._class}[by]
        return [str(node["id"]) for node in self._nodes() if matches(what(node))]

    def active_window(self):
        return next((str(node["id"]) for node in self._nodes() if node["focused"]), "")

    def title(self, window):
        node = self._node(window)
        return self._name(node) if node else ""

    def traits(self, window):
        """Of a window on XWayland only."""
        node = self._node(window)
        return PrivateDesktop.traits(self, node["window"]) if node and node["window"] else ""

    def rect(self, window):
        node = self._node(window)
        place = node["rect"]
        return place["x"], place["y"], place["width"], place["height"]

    def move(self, window, x, y):
        self._run(f"[con_id={window}] move absolute position {x} {y}")

    def go_to_workspace(self, number):
        self._run(f"workspace {number + 1}")

    def take_hot_key(self, keycode, *modifiers):
        """The user's configuration binds it."""
        self._untaken = self._configuration.read_text()
        self._configuration.write_text(
            f"{self._untaken}bindcode {'+'.join(modifiers)}+{keycode} nop\n")
        self._run("reload")

    def give_hot_key_back(self):
        self._configuration.write_text(self._untaken)
        self._run("reload")

    def screenshot(self, path, part=()):
        pathlib.Path(path).parent.mkdir(parents=True, exist_ok=True)
        only = ["-g", "{},{} {}x{}".format(*part)] if part else []
        subprocess.run(["grim", *only, str(path)], env=self.environment, check=True)

    # The clipboard

    def copy(self, content, kind=None):
        """A Wayland program takes the clipboard; see PrivateDesktop."""
        subprocess.run(["wl-copy", *(["-t", kind] if kind else [])],
                       input=content if kind else content.encode(), env=self.environment,
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def clipboard(self, kind="text/plain;charset=utf-8", seconds=60):
        """What the clipboard's owner gives in this form; its TARGETS are its types."""
        how = ["-l"] if kind == "TARGETS" else ["-n", "-t", kind]
        return self.output("wl-paste", *how, seconds=seconds)

    def selected_text(self):
        return self.output("wl-paste", "--primary", "-n")

    def owner_command(self, path):
        return ["sh", "-c", 'exec wl-copy --foreground < "$0"', path]

    # Helpers of its own

    def _run(self, command):
        subprocess.run(["swaymsg", command], env=self.environment, check=True, timeout=20,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)

    def _nodes(self):
        """Every window, those on workspaces that are not seen included."""
        def walk(node):
            if node.get("pid"):
                yield node
            for child in node["nodes"] + node["floating_nodes"]:
                yield from walk(child)
        return list(walk(json.loads(self.output("swaymsg", "-t", "get_tree"))))

    def _node(self, window):
        return next((node for node in self._nodes() if str(node["id"]) == window), None)

    @staticmethod
    def _name(node):
        return node["name"] or ""

    @staticmethod
    def _class(node):
        return node.get("app_id") or node.get("window_properties", {}).get("class") or ""
