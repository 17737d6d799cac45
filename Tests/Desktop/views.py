#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Does with the program's windows what a person does who sees nothing: by the accessibility bus, and by typing.
usage: views.py COMMAND ...
  press NAME        presses what is called so, or switches it over
  click NAME        points at what is called so, and clicks
  fill NAME TEXT    clicks into a field, and types a text in place of what stands there
  wait NAME         until something that is shown is called so; with "*" at the end, begins so
  gone NAME         until nothing that is shown is called so
  cycle TIMES       opens and closes every window so often that the icon's popover leads to
  texts             what the shown windows say, a line each
  check             fails for a control that has no name, or is smaller than a finger or a pointer needs
  story PROGRAM ..  runs a program that shows one window after another, and tells what a screen reader finds in each
  tabs              fails unless Tab reaches every control of the active window, and Shift+Tab does so backwards
Waits ten seconds for what isn't there yet."""
import difflib
import re
import subprocess
import sys
import time
import warnings

warnings.simplefilter("ignore")
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi

LEAST_SIDE = 24
MANY = 7
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


def everything(node):
    for i in range(node.get_child_count()):
        child = node.get_child_at_index(i)
        if child is not None:
            yield child
            yield from everything(child)


def usable(window):
    """The window's controls that are seen and can be used, by their places, and which of them has the keyboard."""
    seen, focused = {}, None
    for place, node in enumerate(everything(window)):
        if node.get_role_name() not in CONTROLS or not (shown(node) and focusable(node)):
            continue
        states = node.get_state_set()
        if states.contains(Atspi.StateType.SENSITIVE):
            seen[place] = node.get_name()
        if states.contains(Atspi.StateType.FOCUSED):
            focused = place
    return seen, focused


def round_by(window, key):
    """All controls by their places, and the places that the key comes by until it begins again, or stays where it is."""
    seen, reached = {}, []
    while True:
        xdotool("key", key)
        deadline = time.monotonic() + 10
        while True:
            now, focused = usable(window)
            seen.update(now)
            if focused is not None and focused not in reached[-1:]:
                break
            if time.monotonic() > deadline:
                return seen, reached
        if focused in reached:
            return seen, reached
        reached.append(focused)


def unreached(window, key):
    seen, reached = round_by(window, key)
    return [f"{key} does not reach \"{seen[place]}\"" for place in seen if place not in reached]


def active_windows():
    return [w for w in everything(program()) if w.get_state_set().contains(Atspi.StateType.ACTIVE)][:1]


def tabs():
    windows = active_windows()
    missing = [c for key in ("Tab", "shift+Tab") for w in windows for c in unreached(w, key)]
    print("\n".join(missing))
    return bool(windows) and not missing


def order():
    """Where the keyboard is in the active window, and where Tab takes it from there, unless that is a long list."""
    for window in active_windows():
        seen, focused = usable(window)
        yield f"keyboard: {seen.get(focused, 'nowhere')}"
        if 0 < len(seen) < MANY:
            seen, reached = round_by(window, "Tab")
            yield "Tab: " + ", ".join(seen[place] for place in reached)


def cycle(times):
    """Each opening is proven by a text that only that window has."""
    rows = {"Pair a phone…": "Pair a phone", "Test connection…": "Test field", "Statistics": "Words transcribed*",
            "Settings": "Computer name"}
    for i in range(times):
        for row, text in rows.items():
            call("com.fernhollow.quillet.mac", "/com/fernhollow/quillet/mac", "org.freedesktop.Application.Activate", "{}")
            opened = eventually(lambda: press(row)) and eventually(lambda: called(text))
            if not opened or not eventually(lambda: xdotool("key", "Escape") and not called(text)):
                print(f"\"{row}\" failed at {i}")
                return False
    return True


def call(name, path, method, *arguments):
    subprocess.run(["gdbus", "call", "--session", "--dest", name, "--object-path", path, "--method", method, *arguments],
                   check=True, stdout=subprocess.DEVNULL)


STATES = [(Atspi.StateType.CHECKED, "checked"), (Atspi.StateType.EDITABLE, "to write in")]


def said(node):
    """A line as a screen reader would say it; empty for what it passes over."""
    states = node.get_state_set()
    if not node.get_name() and node.get_role_name() not in CONTROLS:
        return ""
    line = f"{node.get_role_name()}: {node.get_name()}"
    if node.get_description():
        line += f" ({node.get_description()})"
    told = [word for state, word in STATES if states.contains(state)]
    if node.get_role_name() in CONTROLS and not focusable(node):
        told.append("not available")
    return line + "".join(f", {word}" for word in told)


def read():
    program().set_cache_mask(Atspi.Cache.NONE)
    # The words are drawn by lot for each pairing.
    return [re.sub(r"(Verification words: ).*", r"\1…", line) for line in map(said, nodes()) if line]


def story(*command):
    """The program names what it shows on its output, and goes on for a line of its input. A window is told whole once;
    then it is told what is new in it, and what has gone."""
    shower = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    before = {}
    for scene in map(str.strip, shower.stdout):
        eventually(lambda: program() is not None)
        lines, window = read(), scene.split("-")[0]
        if window in before:
            told = [line for line in difflib.ndiff(before[window], lines) if line[0] in "+-"]
        else:
            told = lines + list(order())
        print("\n".join(["# " + scene, *told]))
        before[window] = lines
        shower.stdin.write("\n")
        shower.stdin.flush()
    return shower.wait() == 0


def main():
    command, arguments = sys.argv[1], sys.argv[2:]
    if command == "texts":
        for node in nodes():
            if node.get_name():
                print(node.get_role_name() + ": " + node.get_name())
        return True
    if command == "tabs":
        return tabs()
    if command == "cycle":
        return cycle(int(arguments[0]))
    if command == "check":
        for complaint in complaints():
            print(complaint)
        return len(nodes()) > 0 and not complaints()
    if command == "story":
        return story(*arguments)
    attempts = {
        "press": lambda: press(arguments[0]),
        "click": lambda: click(arguments[0]),
        "fill": lambda: fill(*arguments),
        "wait": lambda: called(arguments[0]),
        "gone": lambda: not called(arguments[0]),
    }
    return eventually(attempts[command])


sys.exit(0 if main() else 1)
