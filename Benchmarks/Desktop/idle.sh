#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the programs cost while nobody speaks: memory of their own, threads, wake-ups a second, also of the program in the
# tray; how long the desktop program takes from its start to a proved connection, and a popover from the click on the icon
# to its place on the screen. Run it by Tests/Desktop/desktop.sh.
# usage: idle.sh FOLDER-WITH-THE-PROGRAMS [SECONDS]
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=../../Tests/Desktop/programs.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../Tests/Desktop/programs.sh" "$1"
seconds=${2:-20}
tick=0.005
milliseconds() { echo $(($(date +%s%N) / 1000000)); }
pss() { awk '/^Pss:/ {print $2}' "/proc/$1/smaps_rollup"; }
threads() { find "/proc/$1/task" -mindepth 1 -maxdepth 1 | wc -l; }
# Each time that a thread had nothing to do and was woken again.
switches() { awk '/^voluntary_ctxt/ {sum += $2} END {print sum}' /proc/"$1"/task/*/status; }
cpu() { awk '{print $14 + $15}' "/proc/$1/stat"; }

timed_start() {
  local from
  from=$(milliseconds)
  start_desktop
  took=$(($(milliseconds) - from))
}
start_service
timed_start
first=$took
echo quit >&3
wait "$desktop" || true
timed_start
second=$took

# row NAME PROCESS: what it costs from now on
row() {
  local switched spent
  switched=$(switches "$2") spent=$(cpu "$2")
  sleep "$seconds"
  printf '%-18s %10d %8d %12.2f %14.1f\n' "$1" "$(pss "$2")" "$(threads "$2")" \
    "$(bc <<<"scale=3; ($(switches "$2") - $switched) / $seconds")" \
    "$(bc <<<"scale=3; ($(cpu "$2") - $spent) * 600 / $seconds")"
}
sleep 20 # what belongs to the start
printf '%-18s %10s %8s %12s %14s\n' program "PSS, KiB" threads wake-ups/s "CPU, ms/min"
row terminal "$desktop"
row service "$service"
echo quit >&3
wait "$desktop" || true

tint2 >"$work/tint2.log" 2>&1 &
processes+=($!)
"$bin/QuilletCompanion" defaults write onboardingCompleted true
windows_at_rest() {
  start_windows
  sleep 20 # what belongs to the start: threads that wait for a while before they end, too
}
# click: at the icon; sets `took`, in milliseconds until the window manager has put a window on the screen
coproc screen { exec stdbuf -oL xev -root -event substructure; }
click() {
  local from=${EPOCHREALTIME/./} line
  xdotool mousemove 1129 784 click 1
  while read -r -t 5 line <&"${screen[0]}" && [[ $line != MapNotify* ]]; do :; done
  took=$(((${EPOCHREALTIME/./} - from) / 1000))
}
windows_at_rest
row tray "$windows"
popovers=()
for _ in {1..6}; do
  click
  popovers+=("$took")
  sleep 1
  xdotool key Escape
  sleep 1
done
kill "$windows" && wait "$windows" || true
"$bin/QuilletCompanion" defaults write dictation.enabled true
windows_at_rest
row "tray, pill" "$windows"
kill "$windows" "$screen_PID"
echo "from exec to connected: $first ms the first time (new keys), $second ms the second"
echo "from the click to the popover: ${popovers[0]} ms the first time, then ${popovers[*]:1}"
