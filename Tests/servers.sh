# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# To be sourced by scripts that run a command beside servers of their own, all gone afterwards. Everything lives in the
# folder $place; the servers' messages are shown if something fails.

fail() {
  echo "$(basename "$0"): $1" >&2
  cat "$place"/*.log >&2
  exit 1
}

# await TEXT COMMAND...: until the command succeeds, for ten seconds at most.
await() {
  local what=$1
  shift
  for _ in {1..200}; do
    "$@" >/dev/null 2>&1 && return
    sleep 0.05
  done
  fail "$what did not come up"
}

# start NAME COMMAND...: a server that is ended with us. $! is its process.
start() {
  local name=$1
  shift
  "$@" >>"$place/$name.log" 2>&1 &
  echo $! >>"$place/servers"
}

tear_down() {
  tac "$place/servers" 2>/dev/null | xargs -r kill 2>/dev/null
  wait 2>/dev/null
  # Programs that the session had started may still write while they end.
  rm -rf "$place" 2>/dev/null || { sleep 1 && rm -rf "$place"; }
}

# A home, a runtime folder and a message bus of our own.
begin_session() {
  place=$(mktemp -d)
  trap tear_down EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM
  mkdir -m 700 "$place/home" "$place/run"
  export HOME=$place/home XDG_RUNTIME_DIR=$place/run DBUS_SESSION_BUS_ADDRESS=unix:path=$place/run/bus
  unset XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME XDG_STATE_HOME WAYLAND_DISPLAY
  start dbus dbus-daemon --session --nofork --address="$DBUS_SESSION_BUS_ADDRESS"
  await "the session bus" test -S "$place/run/bus"
}

# run SECONDS COMMAND...: what all this is for; ends the script with its result.
run() {
  timeout --kill-after=5 "$@"
  local result=$?
  [ $result -eq 0 ] || cat "$place"/*.log >&2
  exit $result
}
