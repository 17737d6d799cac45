#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""A GTK window with a text field that behaves, or misbehaves, as its arguments say.

fields.py [FIELD] [--text TEXT] [FAULT]
  FIELD  --entry (one line; the default), --area (several lines), --password
  FAULT  --limit N       takes N characters at most
         --upper         turns what it gets into capitals
         --deaf          says yes to what is written to it, and keeps nothing that doesn't come from the keyboard
         --rows N        begins with the focus on a table of N rows
         --at N FATE     once it holds N characters: "readonly" (takes no more), "leave" (the focus goes to a second
                         field), "exit" (the program ends), "stop" (it hangs until somebody wakes it)
A SIGUSR1 makes the field read-only, a SIGUSR2 a password field. A SIGHUP takes the focus to a button and back.
"""
import argparse
import os
import signal

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402


def arguments():
    parser = argparse.ArgumentParser()
    for flag in ("entry", "area", "password", "upper", "deaf"):
        parser.add_argument("--" + flag, action="store_true")
    parser.add_argument("--text", default="")
    parser.add_argument("--limit", type=int, default=0)
    parser.add_argument("--rows", type=int, default=0)
    parser.add_argument("--at", nargs=2, default=None)
    return parser.parse_args()


def keep_only_typed(field, *_):
    if Gtk.get_current_event() is None:
        field.stop_emission_by_name("insert-text")


def capitalise(field):
    if field.get_text() != field.get_text().upper():
        field.set_text(field.get_text().upper())
        field.set_position(-1)


def make_fate(fate, field, second):
    fates = {
        "readonly": lambda: field.set_editable(False),
        "leave": second.grab_focus,
        "exit": lambda: os._exit(0),
        "stop": lambda: os.kill(os.getpid(), signal.SIGSTOP),
    }
    return fates[fate]


def make_table(rows):
    content = Gtk.ListStore(str)
    for row in range(rows):
        content.append([str(row)])
    table = Gtk.TreeView(model=content)
    column = Gtk.TreeViewColumn("Number", Gtk.CellRendererText(), text=0)
    column.set_sizing(Gtk.TreeViewColumnSizing.FIXED)
    table.append_column(column)
    table.set_fixed_height_mode(True)
    scrolled = Gtk.ScrolledWindow()
    scrolled.add(table)
    return table, scrolled


def go_and_come(button, field):
    button.grab_focus()
    field.grab_focus()
    field.set_position(-1)
    return True


def main():
    wanted = arguments()
    window = Gtk.Window(title="Fields")
    box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
    second = Gtk.Entry()
    button = Gtk.Button(label="Button")
    if wanted.area:
        field = Gtk.TextView()
        content = field.get_buffer()
        content.set_text(wanted.text)
    else:
        field = Gtk.Entry(visibility=not wanted.password, max_length=wanted.limit)
        content = field
        field.set_text(wanted.text)
        if wanted.password:
            field.set_input_purpose(Gtk.InputPurpose.PASSWORD)
    box.pack_start(field, True, True, 0)
    box.pack_start(second, False, False, 0)
    box.pack_start(button, False, False, 0)
    table, scrolled = make_table(wanted.rows)
    if wanted.rows:
        box.pack_start(scrolled, True, True, 0)
    window.add(box)
    if wanted.deaf:
        field.connect("insert-text", keep_only_typed)
    if wanted.upper:
        field.connect("changed", capitalise)
    if wanted.at:
        count, fate = int(wanted.at[0]), make_fate(wanted.at[1], field, second)
        pending = [fate]
        content.connect("changed", lambda _: pending and field.get_text_length() >= count and pending.pop()())
    GLib.unix_signal_add(GLib.PRIORITY_HIGH, signal.SIGUSR1, lambda: field.set_editable(False) or True)
    GLib.unix_signal_add(GLib.PRIORITY_HIGH, signal.SIGUSR2, lambda: field.set_visibility(False) or True)
    GLib.unix_signal_add(GLib.PRIORITY_HIGH, signal.SIGHUP, lambda: go_and_come(button, field))
    window.connect("destroy", Gtk.main_quit)
    window.show_all()
    (table if wanted.rows else field).grab_focus()
    if not wanted.area:
        field.set_position(-1)
    Gtk.main()


main()
