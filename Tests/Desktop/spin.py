#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""A window with a field for numbers, its number selected. spin.py 3|4: the version of GTK."""
import sys

import gi

gi.require_version("Gtk", sys.argv[1] + ".0")
from gi.repository import GLib, Gtk  # noqa: E402


def main():
    if sys.argv[1] == "3":
        Gtk.init([])
    else:
        Gtk.init()
    window = Gtk.Window(title="Number")
    spin = Gtk.SpinButton.new_with_range(0, 100000, 1)
    spin.set_numeric(True)
    spin.set_value(42)
    if sys.argv[1] == "3":
        window.add(spin)
        window.show_all()
    else:
        window.set_child(spin)
        window.present()
    spin.grab_focus()
    spin.select_region(0, -1)
    GLib.MainLoop().run()


main()
