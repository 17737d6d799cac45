#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The windows: opened on the screen, until they are quit. Without a screen a phone pairs with them on a virtual one, and
# pictures are left.
# usage: windows.sh FOLDER-WITH-THE-PROGRAMS FOLDER-FOR-PICTURES
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
tests=$here/../Tests/Desktop
if [ -z "${DISPLAY:-}" ]; then
  export QUILLET_PICTURES
  QUILLET_PICTURES=$(realpath -m "$2")
  exec "$tests/desktop.sh" "$0" "$@"
fi
# shellcheck source-path=SCRIPTDIR source=../Tests/Desktop/programs.sh
source "$tests/programs.sh" "$1"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
open_windows() {
  "$bin/QuilletCompanion" -QLTServerURLOverride "$url" >>"$work/windows.log" 2>&1
}
start_service
if [ -z "${QUILLET_PICTURES:-}" ]; then
  printf '\nThe windows open. Their set-up is for this demonstration alone; it ends with "Quit Quillet" or Ctrl+C.\n'
  open_windows
  exit
fi

view() { "$tests/views.py" "$@" || fail "views.py $*"; }
picture() {
  import -window root "$QUILLET_PICTURES/$1.png"
  echo "$QUILLET_PICTURES/$1.png"
}
mkdir -p "$QUILLET_PICTURES"
printf '\nThe windows, on a virtual screen:\n'
tint2 >"$work/tint2.log" 2>&1 &
processes+=($!)
open_windows &
processes+=($!)
view wait "Use your phone to type on this computer."
picture set-up
view press "Pair a phone"
view press "Enter code instead"
code() { "$tests/views.py" texts | sed -nE 's/^[a-z]+: ([0-9A-Z]{4}-?[0-9A-Z]{4})$/\1/p' | head -n 1; }
shows_code() { [ -n "$(code)" ]; }
await 10 "no pairing code is shown" shows_code
phone init --service "$url" --name "Pocket phone" >"$work/phone.out"
phone pair "$(code)" --yes >"$work/phone.out" 2>&1 &
pairing=$!
view wait "Verification words: *"
picture pairing
view press "Confirm"
wait "$pairing" || fail "pairing failed"
view press "Continue"
view press "Done"
open_windows # the second start brings the first one's popover up
view wait "Connection: Connected"
picture popover
view press "Settings"
view wait "Pocket phone"
picture settings
