#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The whole road once: service, desktop program, phone, pairing, and a sentence that ends in a text editor.
# usage: demo.sh FOLDER-WITH-THE-PROGRAMS [EDITOR] ["a sentence"]
# EDITOR opens the file that it is given and saves on Ctrl+S: mousepad (the default), featherpad, gnome-text-editor.
set -euo pipefail
editor=${2:-mousepad}
sentence=${3:-"Good morning from the phone: 3 × 4 = 12, naïve café, and a 👍🏽."}
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
if [ -z "${DISPLAY:-}" ]; then
  echo "No display here: using a virtual one."
  exec "$here/../Tests/Desktop/desktop.sh" "$0" "$@"
fi

# The demonstration has a Mac and a phone of its own, apart from what the user may have paired.
# shellcheck source-path=SCRIPTDIR source=../Tests/Desktop/programs.sh
source "$here/../Tests/Desktop/programs.sh" "$1"

step "1. The service comes up"
start_service --log debug
echo "$url"

step "2. An editor is in front"
touch "$work/note.txt"
open_editor "$editor"

step "3. The desktop program registers and connects"
start_desktop -QLTLogLevel debug
events '"event":"connection"' | tail -n 1

step "4. A phone pairs with it"
claim
echo "Code on the Mac: $code"
words() { sed -nE 's/.*"words":\[([^]]*)\].*/\1/p' | tail -n 1; }
mac_words=$(events '"phase":"verify"' | words)
phone_words=$(words <"$work/pair.out")
echo "Words on the Mac:   $mac_words"
echo "Words on the phone: $phone_words"
[ "$mac_words" = "$phone_words" ] || fail "the words differ"
confirm
phone macs

step "5. A sentence goes from the phone, sealed, through the relay"
await 10 "the editor did not come to the front" front
ready() { phone presence | tee "$work/presence.out" | grep -q "online, ready"; }
await 30 "the desktop program sees no field" ready
cat "$work/presence.out"
echo "The phone says: $sentence"
phone say "$sentence"

step "6. The words stand in the editor"
xdotool key ctrl+s
await 5 "the editor saved nothing" test -s "$work/note.txt"
cat "$work/note.txt"
echo
[ "$(cat "$work/note.txt")" = "$sentence" ] || fail "the text differs"

step "7. And nowhere else"
grep -q "Insertion finished" "$work/desktop.log" || fail "the log does not tell of the insertion"
end_demo "$sentence" "$work"/*.out "$work/phone"
echo "Done: the editor holds exactly what the phone said."
