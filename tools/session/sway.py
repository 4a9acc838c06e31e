"""A private desktop of the sway compositor, without a graphics card or a seat."""

import os
import pathlib
import pwd
import shutil
import subprocess

from desktop import PrivateDesktop, wait_until

CONFIGURATION = """
xwayland enable
output * resolution {width}x{height}
default_border none
focus_follows_mouse no
# Its X server lets its own user in only.
exec sh -c 'xhost +local: && echo $DISPLAY > {started}.new && mv {started}.new {started}'
"""


class SwayDesktop(PrivateDesktop):
    """Wayland programs run on sway, X11 ones on its XWayland; see PrivateDesktop."""

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
        configuration = folder / "config"
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

    # The clipboard

    def copy(self, content, kind=None):
        """A Wayland program takes the clipboard; see PrivateDesktop."""
        subprocess.run(["wl-copy", *(["-t", kind] if kind else [])],
                       input=content if kind else content.encode(), env=self.environment,
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def clipboard(self, kind="text/plain;charset=utf-8", seconds=60):
        return self.output("wl-paste", "-n", "-t", kind, seconds=seconds)

    def screenshot(self, path):
        pathlib.Path(path).parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["grim", str(path)], env=self.environment, check=True)


def is_there():
    return all(shutil.which(name) for name in ("sway", "setpriv", "wl-copy"))
