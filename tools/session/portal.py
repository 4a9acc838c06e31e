#!/usr/bin/python3
"""portal.py light|dark [high]

A desktop's settings portal whose user prefers light or dark windows, and high contrast if so told. Says "ready" when it is on the
session bus, and runs until it is ended.
"""

import sys

from gi.repository import Gio, GLib

SCHEMES = {"light": 2, "dark": 1}
INTERFACE = """<node><interface name="org.freedesktop.portal.Settings">
<method name="ReadAll"><arg type="as" direction="in"/><arg type="a{sa{sv}}" direction="out"/></method>
</interface></node>"""


def main(scheme, contrast=""):
    appearance = {"color-scheme": GLib.Variant("u", SCHEMES[scheme]),
                  "contrast": GLib.Variant("u", int(contrast == "high"))}
    groups = GLib.Variant("(a{sa{sv}})", ({"org.freedesktop.appearance": appearance},))

    def answer(_bus, _sender, _path, _interface, _method, _arguments, invocation):
        invocation.return_value(groups)

    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    bus.register_object("/org/freedesktop/portal/desktop",
                        Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], answer)
    Gio.bus_own_name_on_connection(bus, "org.freedesktop.portal.Desktop", 0,
                                   lambda *_: print("ready", flush=True), None)
    GLib.MainLoop().run()


if __name__ == "__main__":
    main(*sys.argv[1:])
