#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command in a desktop that nobody sees and that is gone afterwards: an X display with a window manager, a D-Bus
# session and an accessibility bus, with a home and a runtime folder of their own.
#   desktop.sh COMMAND [ARGUMENT ...]
# Needs Xvfb, openbox, dbus-daemon and at-spi2-core. The servers' messages are shown if the command fails.
# QUILLET_DESKTOP_LIMIT: seconds that the command may take (300).
# QUILLET_DESKTOP_SIZE: of its screen in pixels (1280x800).
set -u

place=$(mktemp -d)
servers=()

tear_down() {
  local server
  for ((i = ${#servers[@]} - 1; i >= 0; i--)); do
    server=${servers[i]}
    kill "$server" 2>/dev/null
  done
  wait 2>/dev/null
  # Programs that the session had started may still write while they end.
  rm -rf "$place" 2>/dev/null || { sleep 1 && rm -rf "$place"; }
}
trap tear_down EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

fail() {
  echo "desktop.sh: $1" >&2
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

mkdir -m 700 "$place/home" "$place/run"
export HOME=$place/home XDG_RUNTIME_DIR=$place/run
unset XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME XDG_STATE_HOME WAYLAND_DISPLAY AT_SPI_BUS_ADDRESS
export GSETTINGS_BACKEND=memory GSK_RENDERER=cairo LIBGL_ALWAYS_SOFTWARE=1 NO_AT_BRIDGE=0

# Without -noreset the server forgets the accessibility bus's address whenever its last client leaves.
Xvfb -displayfd 3 -screen 0 "${QUILLET_DESKTOP_SIZE:-1280x800}x24" -noreset +extension XTEST 3>"$place/display" >"$place/xvfb.log" 2>&1 &
servers+=($!)
export QUILLET_DISPLAY_SERVER=$!
await "the display" test -s "$place/display"
DISPLAY=:$(<"$place/display")
export DISPLAY

export DBUS_SESSION_BUS_ADDRESS=unix:path=$place/run/bus
dbus-daemon --session --nofork --address="$DBUS_SESSION_BUS_ADDRESS" >"$place/dbus.log" 2>&1 &
servers+=($!)
await "the session bus" test -S "$place/run/bus"

launcher=/usr/libexec/at-spi-bus-launcher
[ -x "$launcher" ] || launcher=/usr/lib/at-spi2-core/at-spi-bus-launcher
"$launcher" --launch-immediately >"$place/atspi.log" 2>&1 &
servers+=($!)
await "the accessibility bus" dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress

openbox --sm-disable >"$place/openbox.log" 2>&1 &
servers+=($!)
export QUILLET_WINDOW_MANAGER=$!
# xprop succeeds without the property, too.
await "the window manager" bash -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep "window id"'

timeout --kill-after=5 "${QUILLET_DESKTOP_LIMIT:-300}" "$@"
result=$?
[ $result -eq 0 ] || cat "$place"/*.log >&2
exit $result
