#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the programs cost while nobody speaks: memory of their own, threads, wake-ups a second, and how long the desktop
# program takes from its start to a proved connection. Run it by Tests/Desktop/desktop.sh.
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
