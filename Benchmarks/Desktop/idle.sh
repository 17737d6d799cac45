#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the programs cost while nobody speaks: memory of their own, threads, wake-ups a second, and how long the desktop
# program takes from its start to a proved connection. Run it by Tests/Desktop/desktop.sh.
# usage: idle.sh FOLDER-WITH-THE-PROGRAMS [SECONDS]
set -euo pipefail
bin=$(realpath "$1")
seconds=${2:-20}
work=$(mktemp -d)
processes=()
finish() {
  for pid in "${processes[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config

fail() {
  echo "idle: $1" >&2
  tail -n 20 "$work"/*.log >&2
  exit 1
}
milliseconds() { echo $(($(date +%s%N) / 1000000)); }
# await SECONDS FILE TEXT
await() {
  local deadline=$((SECONDS + $1))
  until grep -qF "$3" "$2" 2>/dev/null; do
    [ $SECONDS -lt $deadline ] || fail "no \"$3\" within $1 s"
    sleep 0.005
  done
}
pss() { awk '/^Pss:/ {print $2}' "/proc/$1/smaps_rollup"; }
threads() { find "/proc/$1/task" -mindepth 1 -maxdepth 1 | wc -l; }
# Each time that a thread had nothing to do and was woken again.
switches() { awk '/^voluntary_ctxt/ {sum += $2} END {print sum}' /proc/"$1"/task/*/status; }
cpu() { awk '{print $14 + $15}' "/proc/$1/stat"; }

"$bin/quillet-service" --listen 127.0.0.1:0 --database "$work/service.db" >"$work/service.out" 2>"$work/service.log" &
service=$!
processes+=($service)
await 20 "$work/service.out" listening
url=$(sed -nE 's/.*(http:[^ ]+).*/\1/p' "$work/service.out")
mkfifo "$work/desktop.in"

start() {
  : >"$work/desktop.out"
  local from
  from=$(milliseconds)
  "$bin/QuilletCompanion" --terminal --json -QLTServerURLOverride "$url" <"$work/desktop.in" >"$work/desktop.out" 2>"$work/desktop.log" &
  desktop=$!
  exec 3>"$work/desktop.in"
  await 30 "$work/desktop.out" '"status":"connected"'
  took=$(($(milliseconds) - from))
}
start
first=$took
echo quit >&3
wait $desktop || true
start
processes+=("$desktop")

sleep 3 # what belongs to the start
declare -A before_switches before_cpu
for pid in $desktop $service; do
  before_switches[$pid]=$(switches "$pid")
  before_cpu[$pid]=$(cpu "$pid")
done
sleep "$seconds"
printf '%-18s %10s %8s %12s %14s\n' program "PSS, KiB" threads wake-ups/s "CPU, ms/min"
for pid in $desktop $service; do
  printf '%-18s %10d %8d %12.2f %14.1f\n' "$(<"/proc/$pid/comm")" "$(pss "$pid")" "$(threads "$pid")" \
    "$(bc <<<"scale=3; ($(switches "$pid") - ${before_switches[$pid]}) / $seconds")" \
    "$(bc <<<"scale=3; ($(cpu "$pid") - ${before_cpu[$pid]}) * 600 / $seconds")"
done
echo "from exec to connected: $first ms the first time (new keys), $took ms the second"
