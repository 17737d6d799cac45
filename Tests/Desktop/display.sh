#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The program with its windows beside a display that falls silent, comes back, and goes away for good.
# usage: display.sh FOLDER-WITH-THE-PROGRAMS
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
# shellcheck source-path=SCRIPTDIR source=programs.sh
source "$here/programs.sh" "$1"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 LANG=C.UTF-8
log=$work/windows.log

start_service
start_desktop
claim
confirm
echo quit >&3
wait "$desktop"
"$bin/QuilletCompanion" defaults write onboardingCompleted true
"$bin/QuilletCompanion" defaults write dictation.enabled true
start_windows
await 10 "the pill is not there" "$here/views.py" wait "Start dictation"
await 10 "there is no popover without a tray" "$here/views.py" wait "Quit Quillet"
xdotool key Escape
"$here/views.py" gone "Quit Quillet" || fail "the popover stays"
open_editor mousepad
tick=0.5
await 30 "the editor was never ready" phone say "Before. "

"$here/views.py" gone "Inserted from phone" || fail "the badge stays"
# The phone gets its answer all the same: exit code 6 is a refusal by the computer.
refused() {
  local code=0
  timeout 10 "$bin/quillet-phone" --state "$work/phone" say "Meanwhile. " >"$work/say.out" 2>&1 || code=$?
  [ $code -eq 6 ]
}
kill -STOP "$QUILLET_DISPLAY_SERVER"
for _ in 1 2 3; do refused || { kill -CONT "$QUILLET_DISPLAY_SERVER" && fail "the phone was not refused"; }; done
kill -CONT "$QUILLET_DISPLAY_SERVER"
await 30 "the editor was not ready again" phone say "After."
await 5 "the editor was not saved" xdotool key ctrl+s
await 10 "the text is another one" grep -qx "Before. After." "$work/note.txt"

# Without a display nothing can be shown: it ends, says so, and leaves its place to the next start.
kill -KILL "$QUILLET_DISPLAY_SERVER"
code=0
wait "$windows" || code=$?
[ $code -eq 1 ] || fail "it ended with $code"
grep -q "The display is gone; Quillet ends" "$log" || fail "it does not say why it ended"
start_desktop
echo quit >&3
wait "$desktop" || fail "the next start did not end well"
echo "The display came and went."
