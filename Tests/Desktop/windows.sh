#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The real program with its windows, in a desktop with a tray: from the first run to a paired phone and back, driven by
# the accessibility bus, and by the pointer where the tray is concerned.
# usage: windows.sh FOLDER-WITH-THE-PROGRAMS
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
# shellcheck source-path=SCRIPTDIR source=programs.sh
source "$here/programs.sh" "$1"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 LANG=C.UTF-8

view() { "$here/views.py" "$@" || fail "views.py $*: $("$here/views.py" texts | head -n 60)"; }
log=$work/windows.log
setting() { "$bin/QuilletCompanion" defaults read "$1" 2>/dev/null; }
start_windows() {
  "$bin/QuilletCompanion" -QLTServerURLOverride "$url" >>"$log" 2>&1 &
  windows=$!
  processes+=("$windows")
}
# A window that was found may be gone a moment later, which xdotool doesn't survive.
bring_up() { xdotool search --onlyvisible --name "$1" windowactivate --sync >/dev/null 2>&1; }
close_window() {
  await 10 "\"$1\" is not there" bring_up "$1"
  xdotool key Escape
}
pairing_code() { "$here/views.py" texts | sed -nE 's/^[a-z]+: ([0-9A-Z]{4}-?[0-9A-Z]{4})$/\1/p' | head -n 1; }

start_service
tint2 >"$work/tint2.log" 2>&1 &
processes+=($!)

# A first run begins the set-up.
start_windows
view wait "Use your phone to type on this computer."
view check
view fill "Computer name" "Desk of the test"
view press "Launch at Login"
view press "Pair a phone"
view press "Enter code instead"
view check
await 10 "no pairing code is shown" test -n "$(pairing_code)"
code=$(pairing_code)
[ "$(setting macName)" = "Desk of the test" ] || fail "the name was not kept"
phone init --service "$url" --name "Pocket phone"
phone --json pair "$code" --yes >"$work/pair.out" 2>"$work/pair.log" &
pairing=$!
view wait "Verification words: *"
words=$(sed -nE 's/.*"words":\[([^]]*)\].*/\1/p' "$work/pair.out" | tail -n 1 | tr -d '"' | sed 's/,/, /g')
view wait "Verification words: $words"
view check
view press "Confirm"
wait "$pairing" || fail "pairing failed"
view wait "“Pocket phone” is paired"
view press "Continue"
view press "Done"
view gone "Ready"
[ "$(setting onboardingCompleted)" = true ] || fail "the set-up is not over"

# What a second start brings up is the first one's popover.
"$bin/QuilletCompanion" -QLTServerURLOverride "$url" || fail "the second start failed"
view wait "Connection: Connected"
view wait "Paired phones: 1"
view check

# The test field takes a phone's text while it has the keyboard, and refuses it otherwise.
view press "Test connection…"
view wait "Quillet service: Reachable"
view check
await 10 "the window did not come up" bring_up "Test Connection"
phone say "lost" >/dev/null 2>&1 && fail "a text went in without a field"
view click "Test field"
tick=0.5
await 30 "the test field was never ready" phone say "It arrives."
view wait "Received from phone"
view press "Clear"
view gone "Received from phone"
close_window "Test Connection"

# Into another program, which keeps the keyboard while the badge tells of it.
touch "$work/note.txt"
mousepad "$work/note.txt" >"$work/editor.log" 2>&1 &
processes+=($!)
await 20 "the editor did not open" xdotool search --onlyvisible --class mousepad windowactivate --sync
await 30 "the editor was never ready" phone say "From the phone."
view wait "Inserted from phone"
view gone "Inserted from phone"

# Statistics and settings.
"$bin/QuilletCompanion" -QLTServerURLOverride "$url"
view press "Statistics"
view wait "0 words in total"
view check
close_window Statistics
"$bin/QuilletCompanion" -QLTServerURLOverride "$url"
view press "Settings"
view check
view fill "Computer name" "Another desk"
view press "Save name"
await 10 "the name was not changed" test "$(setting macName)" = "Another desk"
view press "Revoke"
view wait "This phone will no longer be able to type on this computer. Other phones are not affected."
view press "Cancel"
view wait "Pocket phone"
view click "Computer name"
xdotool click --repeat 40 --delay 20 5
view press "Delete my cloud data…"
view press "Delete"
view wait "Use your phone to type on this computer."
[ "$(setting onboardingCompleted)" != true ] || fail "the set-up did not begin again"

# The icon opens the popover, and closes it.
close_window "Set Up Quillet"
xdotool mousemove 1129 784 click 1
view wait "Quit Quillet"
xdotool mousemove 1129 784 click 1
view gone "Quit Quillet"
xdotool mousemove 1129 784 click 1
view press "Quit Quillet"
wait "$windows" || fail "the program did not end well"
processes=("${processes[@]/$windows/}")

# Nothing that Qt had to say, and nothing of what was said.
noise=$(grep -vE '^[0-9T:.-]+ (debug|info|default) ' "$log" || true)
[ -z "$noise" ] || fail "the log tells of trouble: $noise"
grep -qE 'It arrives|From the phone' "$log" && fail "a dictated text stands in the log"
echo "All windows did what they should."
