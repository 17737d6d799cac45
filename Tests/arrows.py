#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Fails on an include that points up the house, and on a circle between units. usage: arrows.py [ROOT]"""
import pathlib
import re
import sys

KIT = ["QuilletKit/" + room for room in ("Base", "Async", "JSON", "Identity", "Network", "Words", "Protocol")]
COMPANION = "QuilletCompanion/"
CORE = [COMPANION + room for room in ("Target", "Relay", "Dictation", "App")]

# A room, and what it may include besides itself. A file belongs to the longest that its path begins with. Composition
# roots (Program/ and each main.cpp) may include everything.
MAY = {
    "QuilletKit/Base": [],
    "QuilletKit/Async": KIT[:1],
    "QuilletKit/JSON": KIT[:1],
    "QuilletKit/Identity": KIT[:3],
    "QuilletKit/Network": KIT[:3],
    "QuilletKit/Words": KIT[:3],
    "QuilletKit/Protocol": KIT[:6],
    "QuilletSpeech": KIT,
    COMPANION + "Target": KIT,
    COMPANION + "Relay": KIT + CORE[:1],
    COMPANION + "Dictation": KIT + CORE[:1] + ["QuilletSpeech"],
    COMPANION + "App": KIT + CORE[:3] + ["QuilletSpeech"],
    COMPANION + "Platform/Qt": KIT + CORE,
    COMPANION + "Platform/Linux": KIT + CORE + ["QuilletSpeech", COMPANION + "Platform/Qt"],
    COMPANION + "Terminal": KIT + CORE + ["QuilletSpeech"],
    COMPANION + "Views": KIT + CORE[3:],
    "QuilletService/Storage": KIT,
    "QuilletService/Transcription": KIT + ["QuilletSpeech", "QuilletService", "QuilletService/Storage"],
    "QuilletService": KIT + ["QuilletSpeech", "QuilletService/Storage", "QuilletService/Transcription"],
    "QuilletService/Transport": KIT + ["QuilletService", "QuilletService/Storage", "QuilletService/Transcription"],
    "QuilletPhone": KIT,
    "QuilletVectors": KIT,
    "QuilletPictures": KIT + CORE + [COMPANION + "Views", "Tests/App", "Tests/Doubles"],
}
# Doubles that a room may stand on. Their own includes are free.
DOUBLES = ["Tests/App", "Tests/Doubles"]
INCLUDE = re.compile(r'^#include "((?:Quillet|Tests/)[^"]+)"', re.M)


def is_root(path):
    return path.startswith(COMPANION + "Program/") or path.endswith("/main.cpp")


def room_of(path):
    return max((room for room in [*MAY, *DOUBLES] if path.startswith(room + "/")), key=len, default=None)


def read(root):
    """Each product file with what it includes of the product."""
    files = {}
    for top in sorted({room.split("/")[0] for room in MAY}):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                files[path.relative_to(root).as_posix()] = INCLUDE.findall(path.read_text())
    return files


def wrong_arrows(files):
    for path, included in files.items():
        if is_root(path):
            continue
        room = room_of(path)
        if room is None:
            yield f"{path} is in no room"
            continue
        for target in included:
            if room_of(target) not in [room, *MAY[room]]:
                yield f"{path} includes {target}"


def circle(files):
    """The units of one circle, in order, or nothing. A unit is a header with its source."""
    units = {}
    for path, included in files.items():
        name = path.rsplit(".", 1)[0]
        units.setdefault(name, set()).update(target.rsplit(".", 1)[0] for target in included)
        units[name].discard(name)
    done = set()

    def walk(unit, way):
        if unit in way:
            return way[way.index(unit):] + [unit]
        if unit in done:
            return None
        for target in sorted(units.get(unit, ())):
            if found := walk(target, way + [unit]):
                return found
        done.add(unit)
        return None

    return next((found for unit in units if (found := walk(unit, []))), None)


def main():
    files = read(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    faults = list(wrong_arrows(files))
    if found := circle(files):
        faults.append("a circle: " + " -> ".join(found))
    print("\n".join(faults) or f"{len(files)} files, every arrow points down")
    return 1 if faults or not files else 0


sys.exit(main())
