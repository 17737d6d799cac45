#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Sleep, wake and lock through the real programs: a paired phone has to see them, with a logind that does what it is
# told. Run it by desktop.sh.
# usage: sleep-and-lock.sh FOLDER-WITH-THE-PROGRAMS
set -euo pipefail
bin=$(realpath "$1")
work=$(mktemp -d)
processes=()
finish() {
  for pid in "${processes[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config XDG_SESSION_ID=c1
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$work/system

fail() {
  echo "sleep-and-lock: $1" >&2
  for log in "$work"/*.log "$work"/*.out; do echo "--- ${log##*/}" >&2 && tail -n 20 "$log" >&2; done
  exit 1
}
# await SECONDS WHAT COMMAND...: until the command succeeds
await() {
  local deadline=$((SECONDS + $1)) what=$2 && shift 2
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || fail "$what"
    sleep 0.1
  done
}
events() { grep -F "$1" "$work/desktop.out"; }
phone() { "$bin/quillet-phone" --state "$work/phone" "$@"; }
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

"$bin/quillet-service" --listen 127.0.0.1:0 --database "$work/service.db" >"$work/service.out" 2>"$work/service.log" &
processes+=($!)
await 20 "the service did not start" grep -q listening "$work/service.out"
url=$(sed -nE 's/.*(http:[^ ]+).*/\1/p' "$work/service.out")

mkfifo "$work/desktop.in"
"$bin/QuilletCompanion" --terminal --json -QLTServerURLOverride "$url" <"$work/desktop.in" >"$work/desktop.out" 2>"$work/desktop.log" &
processes+=($!)
exec 3>"$work/desktop.in"
await 30 "the desktop program did not connect" connected_times 1
await 10 "sleep is not delayed" inhibited

phone init --service "$url" --name "Pocket phone" >"$work/pair.log"
echo pair >&3
await 20 "no pairing code" events '"phase":"invitation"'
code=$(events '"phase":"invitation"' | sed -nE 's/.*"code":"([^"]*)".*/\1/p' | tail -n 1)
phone pair "$code" --yes >"$work/pair.out" 2>>"$work/pair.log" &
pairing=$!
await 20 "the phone's claim did not arrive" events '"phase":"verify"'
echo confirm >&3
wait $pairing || fail "pairing failed"
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
