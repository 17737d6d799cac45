#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Sleep, wake and lock through the real programs: a paired phone has to see them, with a logind that does what it is
# told. Run it by desktop.sh.
# usage: sleep-and-lock.sh FOLDER-WITH-THE-PROGRAMS
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=programs.sh
source "$(dirname "${BASH_SOURCE[0]}")/programs.sh" "$1"
export XDG_SESSION_ID=c1 DBUS_SYSTEM_BUS_ADDRESS=unix:path=$work/system

login1=org.freedesktop.login1
call() { gdbus call --system --timeout 5 --dest $login1 --object-path "$@"; }
prepare_for_sleep() {
  call /org/freedesktop/login1 --method org.freedesktop.DBus.Mock.EmitSignal \
    $login1.Manager PrepareForSleep b "[<$1>]" >"$work/call.log"
}
locked_hint() {
  call /org/freedesktop/login1/session/c1 --method $login1.Session.SetLockedHint "$1" >"$work/call.log"
}
inhibitors() { call /org/freedesktop/login1 --method $login1.Manager.ListInhibitors; }
inhibited() { inhibitors | grep -q Quillet; }
not_inhibited() { ! inhibited; }
# The phone looks anew each time.
phone_sees() { phone presence | tee "$work/presence.out" | grep -q "$1"; }
connections() { events '"status":"connected"' | wc -l; }
connected_times() { [ "$(connections)" -eq "$1" ]; }

start_logind() {
  /usr/bin/python3 -m dbusmock --system --template logind >"$work/logind.out" 2>"$work/logind.log" &
  logind=$!
  processes+=("$logind")
  await 20 "logind did not start" call /org/freedesktop/login1 --method org.freedesktop.DBus.Mock.AddSession \
    c1 seat0 1000 someone true
}

cat >"$work/system.conf" <<EOF
<busconfig><type>session</type><listen>$DBUS_SYSTEM_BUS_ADDRESS</listen>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>
EOF
dbus-daemon --nofork --nopidfile --config-file="$work/system.conf" >"$work/bus.log" 2>&1 &
processes+=($!)
await 10 "the system bus did not start" test -S "$work/system"
start_logind

start_service
start_desktop
await 10 "sleep is not delayed" inhibited

claim
confirm
await 20 "the phone sees no desktop" phone_sees "online, noField"

for round in 1 2; do
  prepare_for_sleep true
  await 10 "round $round: the phone was not told of the sleep" phone_sees asleep
  await 10 "round $round: sleep was held up for good" not_inhibited
  [ "$(connections)" -eq "$round" ] || fail "round $round: connected while asleep"
  prepare_for_sleep false
  await 20 "round $round: no connection after the wake" connected_times $((round + 1))
  await 20 "round $round: the phone was not told of the wake" phone_sees "online, noField"
  await 10 "round $round: the next sleep would not be delayed" inhibited
done

locked_hint true
await 20 "the phone was not told of the lock" phone_sees "online, locked"
locked_hint false
await 20 "the phone was not told of the unlock" phone_sees "online, noField"

kill "$logind"
wait "$logind" 2>/dev/null || true
start_logind
await 20 "a logind that is back does not delay sleep" inhibited
prepare_for_sleep true
await 10 "the phone was not told of a sleep by the new logind" phone_sees asleep
prepare_for_sleep false
await 20 "no connection after the last wake" connected_times 4
locked_hint true
await 20 "the phone was not told of a lock by the new logind" phone_sees "online, locked"
echo quit >&3
echo "The phone saw every sleep, wake and lock."
