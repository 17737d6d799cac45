#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Inserts into a spreadsheet's cells while they are edited, and compares what its file then holds.

spreadsheet.py INSERTER, inside a desktop with LibreOffice Calc. The exit code is 1 unless all of it is as it was told.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time

NAMES = "urn:oasis:names:tc:opendocument:xmlns"
EMPTY = f"""<?xml version="1.0"?><office:document xmlns:office="{NAMES}:office:1.0" xmlns:table="{NAMES}:table:1.0"
 office:version="1.2" office:mimetype="application/vnd.oasis.opendocument.spreadsheet"><office:body><office:spreadsheet>
<table:table table:name="Sheet"/></office:spreadsheet></office:body></office:document>"""
MORE = " and more: Größe, мир, 漢字, ok"
# What is typed first, the keys that follow, the text, and what the cell must keep.
CELLS = [
    ("Ab", [], MORE, "Ab" + MORE),
    ("Abcd", ["F2", "Left", "Left"], " mid", "Ab midcd"),
    ("X y", ["F2", "shift+Left"], "z", "X z"),
    ("=1+", [], "41", "42"),
]


def press(*keys):
    for key in keys:
        subprocess.run(["xdotool", "key", key], check=True)
        time.sleep(0.7)


def main():
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as home:
        file = pathlib.Path(home, "sheet.fods")
        file.write_text(EMPTY, "utf-8")
        inserter = subprocess.Popen([sys.argv[1]], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

        def insert(text):
            print(json.dumps(text), file=inserter.stdin, flush=True)
            result = json.loads(inserter.stdout.readline())
            return result["outcome"], result["reason"]

        profile = f"-env:UserInstallation=file://{home}/profile"
        calc = subprocess.Popen(["soffice", "--norestore", "--nologo", profile, file], stderr=subprocess.DEVNULL)
        find = ["xdotool", "search", "--sync", "--onlyvisible", "--name", "sheet.fods"]
        subprocess.run(find, stdout=subprocess.DEVNULL, timeout=60, check=True)
        time.sleep(5)
        told = [insert("nothing")]
        for typed, keys, text, _ in CELLS:
            subprocess.run(["xdotool", "type", "--delay", "60", typed], check=True)
            press(*keys)
            time.sleep(1)
            told.append(insert(text))
            press("Return")
        press("ctrl+s")
        time.sleep(3)
        # Behind the texts of the page's head and foot.
        kept = re.findall("<text:p>(.*?)</text:p>", file.read_text("utf-8"))[-len(CELLS) :]
        inserter.kill()
        subprocess.run(["soffice", profile, "--terminate_after_init"], stderr=subprocess.DEVNULL, timeout=30, check=False)
        calc.kill()
    print(told, kept)
    return told != [("refused", "noField")] + [("inserted", "")] * len(CELLS) or kept != [cell[3] for cell in CELLS]


if __name__ == "__main__":
    sys.exit(main())
