#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The whole road once: service, desktop program, phone, pairing, and a sentence that ends in a text editor.
# usage: demo.sh FOLDER-WITH-THE-PROGRAMS [EDITOR] ["a sentence"]
# EDITOR opens the file that it is given and saves on Ctrl+S: mousepad (the default), featherpad, gnome-text-editor.
set -euo pipefail
bin=$(realpath "$1")
editor=${2:-mousepad}
sentence=${3:-"Good morning from the phone: 3 × 4 = 12, naïve café, and a 👍🏽."}
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
if [ -z "${DISPLAY:-}" ]; then
  echo "No display here: using a virtual one."
  exec "$here/../Tests/Desktop/desktop.sh" "$0" "$@"
fi

work=$(mktemp -d)
processes=()
finish() {
  for pid in "${processes[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
# The demonstration has a Mac and a phone of its own, apart from what the user may have paired.
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config

fail() {
  echo "demo: $1" >&2
  for log in "$work"/*.log; do echo "--- ${log##*/}" >&2 && tail -n 20 "$log" >&2; done
  exit 1
}
# await SECONDS COMMAND...: until the command succeeds
await() {
  local deadline=$((SECONDS + $1)) && shift
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || return 1
    sleep 0.1
  done
}
if [ -t 1 ]; then bold=$'\033[1m' plain=$'\033[0m'; else bold='' plain=''; fi
step() { printf '\n%s%s%s\n' "$bold" "$1" "$plain"; }
field() { sed -nE "s/.*\"$1\":\"([^\"]*)\".*/\1/p" | tail -n 1; }
events() { grep -F "$1" "$work/desktop.out"; }

step "1. The service comes up"
"$bin/quillet-service" --listen 127.0.0.1:0 --database "$work/service.db" --log debug >"$work/service.out" 2>"$work/service.log" &
processes+=($!)
await 10 grep -q listening "$work/service.out" || fail "the service did not start"
url=$(sed -nE 's/.*(http:[^ ]+).*/\1/p' "$work/service.out")
echo "$url"

step "2. An editor is in front"
touch "$work/note.txt"
"$editor" "$work/note.txt" >"$work/editor.log" 2>&1 &
processes+=($!)
# Some programs say "gnome-text-editor", some "org.gnome.TextEditor".
window() { xdotool search --onlyvisible --class "${editor//-/.?}|${editor##*-}" | tail -n 1; }
opened() { [ -n "$(window)" ]; }
front() { xdotool windowactivate "$(window)" && [ "$(xdotool getactivewindow)" = "$(window)" ]; }
await 20 opened || fail "the editor did not open"
await 10 front || fail "the editor did not come to the front"

step "3. The desktop program registers and connects"
mkfifo "$work/desktop.in"
"$bin/QuilletCompanion" --terminal --json -QLTServerURLOverride "$url" -QLTLogLevel debug <"$work/desktop.in" >"$work/desktop.out" 2>"$work/desktop.log" &
processes+=($!)
exec 3>"$work/desktop.in"
await 20 events '"status":"connected"' || fail "the desktop program did not connect"
events '"event":"connection"' | tail -n 1

step "4. A phone pairs with it"
phone() { "$bin/quillet-phone" --state "$work/phone" "$@"; }
phone init --service "$url" --name "Pocket phone"
echo pair >&3
await 10 events '"phase":"invitation"' || fail "no pairing code"
code=$(events '"phase":"invitation"' | field code)
echo "Code on the Mac: $code"
phone --json pair "$code" --yes >"$work/pair.out" 2>"$work/pair.log" &
pairing=$!
await 15 events '"phase":"verify"' || fail "the phone's claim did not arrive"
words() { sed -nE 's/.*"words":\[([^]]*)\].*/\1/p' | tail -n 1; }
mac_words=$(events '"phase":"verify"' | words)
phone_words=$(words <"$work/pair.out")
echo "Words on the Mac:   $mac_words"
echo "Words on the phone: $phone_words"
[ "$mac_words" = "$phone_words" ] || fail "the words differ"
echo confirm >&3
wait $pairing || fail "pairing failed"
await 10 events '"phase":"paired"' || fail "the Mac did not finish pairing"
phone macs

step "5. A sentence goes from the phone, sealed, through the relay"
await 10 front || fail "the editor did not come to the front"
ready() { phone presence | tee "$work/presence.out" | grep -q "online, ready"; }
await 30 ready || fail "the desktop program sees no field: $(cat "$work/presence.out")"
cat "$work/presence.out"
echo "The phone says: $sentence"
phone say "$sentence"

step "6. The words stand in the editor"
xdotool key ctrl+s
await 5 test -s "$work/note.txt" || fail "the editor saved nothing"
cat "$work/note.txt"
echo
[ "$(cat "$work/note.txt")" = "$sentence" ] || fail "the text differs"

step "7. And nowhere else"
# Logs at their most talkative, the service's database, and what program and phone keep: none holds the sentence.
grep -q "Insertion finished" "$work/desktop.log" || fail "the log does not tell of the insertion"
places=("$work"/*.log "$work"/*.out "$work"/service.db* "$work"/phone "$work"/{data,config}/com.fernhollow.quillet.mac)
found=$(grep -rlF "$sentence" "${places[@]}" 2>/dev/null || true)
[ -z "$found" ] || fail "the sentence stands in $found"
echo "No log and no database holds it."
if [ -n "${QUILLET_SCREENSHOT:-}" ]; then import -window root "$QUILLET_SCREENSHOT"; fi
echo quit >&3
echo "Done: the editor holds exactly what the phone said."
