#!/usr/bin/python3
"""screensaver.py: owns org.freedesktop.ScreenSaver on the session bus, as a screen locker does.
Each line of the standard input, "lock" or "unlock", is told as its signal; ends with the input."""
import sys

from gi.repository import Gio, GLib

NAME, PATH = "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"
INTERFACE = f"""<node><interface name="{NAME}">
  <method name="GetActive"><arg type="b" direction="out"/></method>
  <signal name="ActiveChanged"><arg type="b"/></signal>
</interface></node>"""


class Locker:
    def __init__(self, loop):
        self._loop = loop
        self._is_active = False
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self._bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                                  self._on_call, None, None)
        Gio.bus_own_name_on_connection(self._bus, NAME, Gio.BusNameOwnerFlags.NONE, None, None)
        GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP,
                          self._on_input)

    def _on_call(self, _bus, _sender, _path, _interface, _method, _arguments, invocation):
        invocation.return_value(GLib.Variant("(b)", (self._is_active,)))

    def _on_input(self, source, _condition):
        word = source.readline().strip()
        if not word:
            self._loop.quit()
            return False
        self._is_active = word == "lock"
        self._bus.emit_signal(None, PATH, NAME, "ActiveChanged",
                              GLib.Variant("(b)", (self._is_active,)))
        return True


main_loop = GLib.MainLoop()
locker = Locker(main_loop)
main_loop.run()
