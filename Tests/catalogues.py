#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Fails on a text of the windows that a catalogue lacks, has unfinished, or has without need; on a translation with other
placeholders; and on English that talks of what isn't here. usage: catalogues.py [ROOT]"""
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

LANGUAGES = ["nl", "fr", "de"]
ROOMS = ["App", "Dictation", "Views"]
PIECE = r'"((?:[^"\\\n]|\\.)*)"'
LITERAL = re.compile(rf"{PIECE}(?:\s*{PIECE})*")
OF_VIEW = re.compile(rf'translate\("(\w+)", {PIECE}\)')
NOT_FOR_PEOPLE = re.compile(r'#include.*|//.*|(Log::\w+|qWarning|static_assert)\((?:[^;"]|"(?:[^"\\]|\\.)*")*;')
FOR_PEOPLE = re.compile(r"[A-Z%“].*[a-z].*[ …]")
NOT_HERE = re.compile(r"\bMacs?\b|iPhone|Keychain|macOS|iCloud|menu bar|System Settings|Azure|[⌘⌥⌃⇧]")
# For the log, a terminal or a phone.
ELSEWHERE = {
    "Not registered", "Analyzer did not start", "Recognition failed", "Text field", "Text area", "Search field",
    'There is no setting "', "The settings could not be saved.",
    "A setting needs a name, and both must be UTF-8 text.",
}


def unescaped(text):
    return re.sub(r"\\(.)", r"\1", text)


def literals(source):
    source = OF_VIEW.sub("", NOT_FOR_PEOPLE.sub("", source))
    return {unescaped("".join(re.findall(PIECE, found.group(0)))) for found in LITERAL.finditer(source)}


def texts_of_views(views):
    """Pairs of a context and a text."""
    found = set()
    for file in views.rglob("*.qml"):
        found |= {(file.stem, unescaped(text)) for text in re.findall(rf"qsTr\(\s*{PIECE}", file.read_text())}
    for file in views.glob("*.cpp"):
        found |= {(context, unescaped(text)) for context, text in OF_VIEW.findall(file.read_text())}
    return found


def texts_of_core(companion):
    found = set()
    for room in ROOMS:
        for file in (companion / room).glob("*.[ch]*"):
            found |= literals(file.read_text())
    return found


def read(file):
    """By context and text: all forms of the translation, and whether it is finished."""
    entries = {}
    for context in ElementTree.parse(file).getroot().iter("context"):
        for message in context.iter("message"):
            translation = message.find("translation")
            forms = [form.text or "" for form in translation.iter("numerusform")] or [translation.text or ""]
            key = (context.findtext("name"), message.findtext("source"))
            entries[key] = (forms, translation.get("type") is None and all(form.strip() for form in forms))
    return entries


def places(text):
    return sorted(re.findall(r"%\w", text))


def complaints(root):
    companion = root / "QuilletCompanion"
    views = companion / "Views"
    of_views, of_core = texts_of_views(views), texts_of_core(companion)
    english = read(views / "Translations" / "quillet_en.ts")
    catalogues = {language: read(views / "Translations" / f"quillet_{language}.ts") for language in LANGUAGES}
    known = {("Quillet", text) for text in of_core}
    # What the other catalogues agree on is for people, too, however short it is.
    wanted = of_views | {key for key in known if FOR_PEOPLE.match(key[1]) and key[1] not in ELSEWHERE}
    wanted |= {key for catalogue in catalogues.values() for key in catalogue if key in known}
    wanted |= {key for key in english if key in known}
    for key in wanted:
        forms = english[key][0] if key in english else [key[1]]
        for form in forms:
            if NOT_HERE.search(form):
                yield f"en: talks of what isn't here: {key}"
    for language, entries in {"en": english, **catalogues}.items():
        for key, (forms, finished) in entries.items():
            if key not in of_views | known:
                yield f"{language}: nobody says {key}"
            expected = places(english[key][0][-1] if key in english else key[1])
            if not finished:
                yield f"{language}: unfinished: {key}"
            elif any(places(form) != expected for form in forms):
                yield f"{language}: other placeholders: {key}"
            if key in english and len(forms) != len(english[key][0]):
                yield f"{language}: other forms of number: {key}"
        if language != "en":
            yield from (f"{language}: missing: {key}" for key in sorted(wanted - set(entries)))


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    found = list(complaints(root))
    print("\n".join(found))
    return 1 if found else 0


sys.exit(main())
