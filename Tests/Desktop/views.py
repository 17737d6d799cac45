#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Does with the program's windows what a person does who sees nothing: by the accessibility bus, and by typing.
usage: views.py COMMAND ...
  press NAME        presses what is called so, or switches it over
  click NAME        points at what is called so, and clicks
  fill NAME TEXT    clicks into a field, and types a text in place of what stands there
  wait NAME         until something that is shown is called so; with "*" at the end, begins so
  gone NAME         until nothing that is shown is called so
  texts             what the shown windows say, a line each
  check             fails for a control that has no name, or is smaller than a finger or a pointer needs
Waits ten seconds for what isn't there yet."""
import subprocess
import sys
import time
import warnings

warnings.simplefilter("ignore")
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi

LEAST_SIDE = 24
CONTROLS = ("push button", "check box", "combo box", "text", "entry", "radio button")


def program():
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(i)
        if child is not None and "Quillet" in (child.get_name() or ""):
            return child
    return None


def shown(node):
    states = node.get_state_set()
    return states.contains(Atspi.StateType.VISIBLE) and not states.contains(Atspi.StateType.INVALID)


def focusable(node):
    return node.get_state_set().contains(Atspi.StateType.FOCUSABLE)


def walk(node):
    for i in range(node.get_child_count()):
        child = node.get_child_at_index(i)
        if child is not None and shown(child):
            yield child
            yield from walk(child)


def nodes():
    root = program()
    return [] if root is None else list(walk(root))


def called(name):
    if name.endswith("*"):
        return [n for n in nodes() if (n.get_name() or "").startswith(name[:-1])]
    return [n for n in nodes() if n.get_name() == name]


def xdotool(*arguments):
    return subprocess.run(["xdotool", *map(str, arguments)], check=False).returncode == 0


def eventually(attempt):
    deadline = time.monotonic() + 10
    while time.monotonic() < deadline:
        try:
            if attempt():
                return True
        except gi.repository.GLib.Error:
            pass  # it went away while we looked
        time.sleep(0.1)
    return False


def press(name):
    for node in called(name):
        action = node.get_action_iface()
        names = [action.get_action_name(i).lower() for i in range(action.get_n_actions())] if action else []
        for wanted in ("toggle", "press"):
            if wanted in names:
                return action.do_action(names.index(wanted))
    return False


def click(name):
    for node in filter(focusable, called(name)):
        place = node.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        if place.width > 0:
            return xdotool("mousemove", place.x + place.width // 2, place.y + place.height // 2, "click", 1)
    return False


def fill(name, text):
    return click(name) and xdotool("key", "ctrl+a") and xdotool("type", text)


def complaints():
    found = []
    for node in nodes():
        if not focusable(node) or node.get_role_name() not in CONTROLS:
            continue
        size = node.get_component_iface().get_extents(Atspi.CoordType.WINDOW)
        if not node.get_name():
            found.append(f"a {node.get_role_name()} at {size.x},{size.y} has no name")
        if min(size.width, size.height) < LEAST_SIDE:
            found.append(f"\"{node.get_name()}\" is only {size.width} by {size.height}")
    return found


def main():
    command, arguments = sys.argv[1], sys.argv[2:]
    if command == "texts":
        for node in nodes():
            if node.get_name():
                print(node.get_role_name() + ": " + node.get_name())
        return True
    if command == "check":
        for complaint in complaints():
            print(complaint)
        return len(nodes()) > 0 and not complaints()
    attempts = {
        "press": lambda: press(arguments[0]),
        "click": lambda: click(arguments[0]),
        "fill": lambda: fill(*arguments),
        "wait": lambda: called(arguments[0]),
        "gone": lambda: not called(arguments[0]),
    }
    return eventually(attempts[command])


sys.exit(0 if main() else 1)
