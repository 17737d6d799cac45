#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Opens and closes the windows again and again: the program must not grow by that, in memory or in handles.
# usage: openings.sh FOLDER-WITH-THE-PROGRAMS [TIMES]
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
# shellcheck source-path=SCRIPTDIR source=programs.sh
source "$here/programs.sh" "$1"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 LANG=C.UTF-8
log=$work/windows.log

start_service
"$bin/QuilletCompanion" defaults write onboardingCompleted true
start_windows
handles() { find "/proc/$windows/fd" -mindepth 1 | wc -l; }
# KiB that no other process has and no file holds
memory() { awk '/^Anonymous:/ {print $2}' "/proc/$windows/smaps_rollup"; }
cycle() { "$here/views.py" cycle "$1" || fail "cycle: $("$here/views.py" texts | head -n 30)"; }

await 10 "there is no popover without a tray" "$here/views.py" wait "Quit Quillet"
cycle 5 # what is kept for good
at_work=$(memory)
# Some seconds after the last window it gives back what draws.
rests() { [ "$(memory)" -lt $((at_work - 1000)) ]; }
await 15 "it gives nothing back" rests
before=$(memory) held=$(handles)
cycle "${2:-10}"
# The allocator's pages alone make some 400 of difference; what each opening left behind once came to 1,200.
fits() { [ "$(memory)" -le $((before + 600)) ]; }
await 15 "$(($(memory) - before)) KiB were left taken" fits
echo "$before KiB and $held handles before, $(memory) KiB and $(handles) handles after"
[ "$(handles)" -le $((held + 2)) ] || fail "handles were left open"
noise=$(grep -vE '^[0-9T:.-]+ (debug|info|default) ' "$log" || true)
[ -z "$noise" ] || fail "the log tells of trouble: $noise"
