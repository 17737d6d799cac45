# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# For scripts that run the real programs: source it with the programs' folder. It makes a work folder and lets the
# programs keep their state there, starts them, and ends whatever stands in `processes` with the script.
bin=$(realpath "$1")
work=$(mktemp -d)
mkfifo "$work/desktop.in"
processes=()
finish() {
  for pid in "${processes[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config

fail() {
  echo "$(basename "$0" .sh): $1" >&2
  for log in "$work"/*.log "$work"/*.out; do echo "--- ${log##*/}" >&2 && tail -n 20 "$log" >&2; done
  exit 1
}
# await SECONDS FAILURE COMMAND...: until the command succeeds; looks every `tick` seconds
tick=0.1
await() {
  local deadline=$((SECONDS + $1)) failure=$2 && shift 2
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || fail "$failure"
    sleep $tick
  done
}

if [ -t 1 ]; then bold=$'\033[1m' plain=$'\033[0m'; else bold='' plain=''; fi
step() { printf '\n%s%s%s\n' "$bold" "$1" "$plain"; }

# open_editor PROGRAM: with $work/note.txt, and in front, where `front` brings it again
open_editor() {
  # Some programs say "gnome-text-editor", some "org.gnome.TextEditor".
  editor_class="${1//-/.?}|${1##*-}"
  "$1" "$work/note.txt" >"$work/editor.log" 2>&1 &
  processes+=($!)
  await 20 "the editor did not open" opened
  await 10 "the editor did not come to the front" front
}
window() { xdotool search --onlyvisible --class "$editor_class" | tail -n 1; }
opened() { [ -n "$(window)" ]; }
front() { xdotool windowactivate "$(window)" && [ "$(xdotool getactivewindow)" = "$(window)" ]; }

# end_demo TEXT PLACE...: logs at their most talkative, the service's database, what the program keeps and the places
# hold the text nowhere; the desktop program ends
end_demo() {
  local text=$1 found
  shift
  found=$(grep -rlF "$text" "$work"/*.log "$work"/service.db* "$work"/{data,config}/com.fernhollow.quillet.mac "$@" 2>/dev/null || true)
  [ -z "$found" ] || fail "the text stands in $found"
  echo "No log and no database holds it."
  if [ -n "${QUILLET_SCREENSHOT:-}" ]; then import -window root "$QUILLET_SCREENSHOT"; fi
  echo quit >&3
}

# start_service [ARGUMENT...]: sets `service`, its process, and `url`
start_service() {
  "$bin/quillet-service" --listen 127.0.0.1:0 --database "$work/service.db" "$@" >"$work/service.out" 2>"$work/service.log" &
  service=$!
  processes+=("$service")
  await 10 "the service did not start" grep -q listening "$work/service.out"
  url=$(sed -nE 's/.*(http:[^ ]+).*/\1/p' "$work/service.out")
}
# start_desktop [ARGUMENT...]: until it is connected; sets `desktop`, its process, which takes commands on descriptor 3
start_desktop() {
  : >"$work/desktop.out"
  "$bin/QuilletCompanion" --terminal --json -QLTServerURLOverride "$url" "$@" <"$work/desktop.in" >"$work/desktop.out" 2>"$work/desktop.log" &
  desktop=$!
  processes+=("$desktop")
  exec 3>"$work/desktop.in"
  await 20 "the desktop program did not connect" events '"status":"connected"'
}
events() { grep -F "$1" "$work/desktop.out"; }
# start_windows [ARGUMENT...]: sets `windows`, its process, which goes on with $work/windows.log
start_windows() {
  "$bin/QuilletCompanion" -QLTServerURLOverride "$url" "$@" >>"$work/windows.log" 2>&1 &
  windows=$!
  processes+=("$windows")
}

phone() { "$bin/quillet-phone" --state "$work/phone" "$@"; }
# claim: a phone takes up the desktop's pairing `code`, so that both show their words
claim() {
  phone init --service "$url" --name "Pocket phone"
  echo pair >&3
  await 10 "no pairing code" events '"phase":"invitation"'
  code=$(events '"phase":"invitation"' | sed -nE 's/.*"code":"([^"]*)".*/\1/p' | tail -n 1)
  phone --json pair "$code" --yes >"$work/pair.out" 2>"$work/pair.log" &
  pairing=$!
  await 15 "the phone's claim did not arrive" events '"phase":"verify"'
}
confirm() {
  echo confirm >&3
  wait "$pairing" || fail "pairing failed"
  await 10 "the Mac did not finish pairing" events '"phase":"paired"'
}
