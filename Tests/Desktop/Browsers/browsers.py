#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Inserts texts into fields and web editors of a real browser, and compares what the pages then hold, exactly.

browsers.py INSERTER FOLDER [options], inside a desktop. FOLDER holds the editors: node_modules/, and built/ with one
bundle for each of pages/*.js but page.js. The exit code is 1 unless every text stands there as it was sent.
"""
import argparse
import collections
import contextlib
import http.server
import json
import mimetypes
import os
import pathlib
import queue
import random
import subprocess
import sys
import tempfile
import threading
import time

EDITORS = "input area editable codemirror5 codemirror6 monaco prosemirror quill draft lexical ckeditor4"
PHRASES = {
    "ascii": "The quick brown fox jumps over 13 lazy dogs; why? Because it can, & so on at home. It isn't much - 50% !",
    "accents": "Größe, Übung, naïve façade à côté de l'été; año, señor, łódź, Žižek, smörgåsbord, İstanbul, Đà Nẵng.",
    "mixed": "Größe — привет Мир, Ελλάδα, שלום, สวัสดี, 漢字かな交じり文, हिन्दी में, 한국어 문장, العربية, ok.",
    "emoji": "Nice 😀 work 🚀 team 👨‍👩‍👧 yes 👋🏽 flags 🇫🇷 🇩🇪 and 🎉 party ❤️ done.",
}


def arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("inserter")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--browser", choices=("firefox", "chromium"), default="firefox")
    parser.add_argument("--editors", nargs="+", default=EDITORS.split())
    parser.add_argument("--lengths", nargs="+", type=int, default=[200])
    parser.add_argument("--texts", nargs="+", choices=PHRASES, default=list(PHRASES))
    parser.add_argument("--rounds", type=int, default=1)
    parser.add_argument("--hold", type=int, default=0, help="milliseconds that a page spends in each key")
    parser.add_argument("--busy", action="store_true", help="another program keeps a core busy")
    return parser.parse_args()


def sample(kind, length, seed):
    """Words in an order of their own, never ending in a blank or within a cluster."""
    draw = random.Random(f"{kind} {length} {seed}")
    words = PHRASES[kind].split()
    text = draw.choice(words)
    while len(text) < length:
        text += " " + draw.choice(words)
    return text[: length - 1].rstrip(" \u200d\ufe0f🇫🇩") + "."


class Pages:
    """Serves pages and editors. A page asks for each next command with its answer to the last."""

    def __init__(self, folder):
        self.commands, self.answers = queue.Queue(), queue.Queue()
        here = pathlib.Path(__file__).parent
        roots = {"pages": here / "pages", "npm": folder / "node_modules", "built": folder / "built"}
        pages = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def log_message(self, *_):
                pass

            def handle(self):
                with contextlib.suppress(ConnectionError):  # of a page that was left
                    super().handle()

            def answer(self, code, body, kind="application/json"):
                self.send_response(code)
                self.send_header("Content-Type", kind)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def do_GET(self):
                _, root, *rest = self.path.split("?")[0].split("/")
                file = roots[root].joinpath(*rest) if root in roots else None
                if file is None or not file.is_file():
                    return self.answer(404, b"")
                return self.answer(200, file.read_bytes(), mimetypes.guess_type(file)[0] or "text/plain")

            def do_POST(self):
                pages.answers.put(json.loads(self.rfile.read(int(self.headers["Content-Length"]))))
                self.answer(200, json.dumps(pages.commands.get()).encode())

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def address(self, editor, hold):
        return f"http://127.0.0.1:{self.server.server_port}/pages/page.html?editor={editor}&hold={hold}"

    def ask(self, limit=300, **command):
        self.commands.put(command)
        return self.answers.get(timeout=limit)


def start(browser, home, address):
    if browser == "chromium":
        flags = ["--no-sandbox", "--force-renderer-accessibility", "--no-first-run", "--disable-gpu"]
        command = ["chromium", *flags, "--password-store=basic", f"--user-data-dir={home}", address]
    else:
        off = ("browser.shell.checkDefaultBrowser", "datareporting.policy.dataSubmissionEnabled",
               "browser.aboutwelcome.enabled", "browser.preonboarding.enabled")
        pathlib.Path(home, "user.js").write_text("".join(f'user_pref("{name}", false);\n' for name in off))
        command = ["firefox-esr", "--profile", home, "--no-remote", address]
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    return subprocess.Popen(command, env=dict(os.environ, HOME=home), **quiet)


def settled(pages, text):
    """What the page holds once it holds the text, or doesn't change any more."""
    value = pages.ask()
    for _ in range(10):
        if value == text:
            break
        time.sleep(0.3)
        value = pages.ask()
    return value


def trial(wanted, pages, inserter, results):
    for editor in wanted.editors:
        pages.ask(open=pages.address(editor, wanted.hold))
        time.sleep(1)
        subprocess.run(["xdotool", "mousemove", "640", "500", "click", "1"], check=True)
        for length in wanted.lengths:
            for kind in wanted.texts:
                for number in range(wanted.rounds):
                    text = sample(kind, length, number)
                    pages.ask(clear=True)
                    time.sleep(0.5)
                    print(json.dumps(text), file=inserter.stdin, flush=True)
                    result = json.loads(inserter.stdout.readline())
                    value = settled(pages, text)
                    row = results[editor, length]
                    row.update({"texts": 1, "exact": value == text, result["outcome"]: 1, "seconds": result["seconds"]})
                    if value != text or result["outcome"] != "inserted":
                        same = len(os.path.commonprefix([value, text]))
                        told = f"{result['outcome']} {result['reason']}"
                        wrong = f"{value[same:same + 12]!r} for {text[same:same + 12]!r}, {len(value) - len(text):+}"
                        print(f"{editor} {kind} {length} #{number}: {told}, {same} of {len(text)} right, {wrong}", flush=True)


def main():
    wanted = arguments()
    pages = Pages(wanted.folder)
    results = collections.defaultdict(collections.Counter)
    wrong = 0
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as home:
        inserter = subprocess.Popen([wanted.inserter], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        browser = start(wanted.browser, home, pages.address("input", 0))
        load = None
        try:
            pages.answers.get(timeout=120)
            load = subprocess.Popen([sys.executable, "-c", "while True: pass"]) if wanted.busy else None
            trial(wanted, pages, inserter, results)
        finally:
            for process in filter(None, (load, browser, inserter)):
                process.kill()
                process.wait()
    for (editor, length), row in results.items():
        texts, exact, seconds = (row.pop(key) for key in ("texts", "exact", "seconds"))
        print(f"{editor} {length}: {exact} of {texts} exact, {seconds / texts:.1f} s, {dict(row)}")
        wrong += texts - exact
    return min(wrong, 1)


if __name__ == "__main__":
    sys.exit(main())
