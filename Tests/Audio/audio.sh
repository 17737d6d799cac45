#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command with a sound server that nobody hears and that is gone afterwards, with a message bus, a home and a
# runtime folder of its own.
#   audio.sh pulseaudio|pipewire COMMAND [ARGUMENT ...]
# It has two outputs, "speakers" (the default) and "headphones", and two microphones, "microphone" (the default) and
# "headset", which hear what is played to "microphone-in" and "headset-in". The servers' messages are shown if the
# command fails. QUILLET_SOUND_KIND is the kind; the file $XDG_RUNTIME_DIR/sound-server names the server's process.
#   audio.sh restart
# Within such a command: ends the server, if it still lives, and starts it anew with the same devices.
# QUILLET_SOUND_LIMIT: seconds that the command may take (300).
set -u

fail() {
  echo "audio.sh: $1" >&2
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

# start NAME COMMAND...: a server that is ended with us.
start() {
  local name=$1
  shift
  "$@" >>"$QUILLET_SOUND_PLACE/$name.log" 2>&1 &
  echo $! >>"$QUILLET_SOUND_PLACE/servers"
}

# sink NAME DESCRIPTION
sink() {
  # Without "norewinds" it would play two seconds ahead.
  pactl load-module module-null-sink "sink_name=$1" norewinds=1 "sink_properties='device.description=\"$2\"'" >/dev/null &&
    await "sink $1" bash -c "pactl list short sinks | cut -f2 | grep -qx '$1'"
}

# microphone NAME DESCRIPTION
microphone() {
  sink "$1-in" "Sound for $2"
  pactl load-module module-remap-source "master=$1-in.monitor" "source_name=$1" \
    "source_properties='device.description=\"$2\"'" >/dev/null &&
    await "microphone $1" bash -c "pactl list short sources | cut -f2 | grep -qx '$1'"
}

start_server() {
  case "$QUILLET_SOUND_KIND" in
    pulseaudio)
      start pulseaudio pulseaudio -n --daemonize=no --exit-idle-time=-1 --realtime=no --high-priority=no \
        --use-pid-file=no -L module-native-protocol-unix -L module-stream-restore -L module-device-restore \
        -L module-suspend-on-idle
      ;;
    pipewire) start pipewire-pulse pipewire-pulse ;;
  esac
  tail -n 1 "$QUILLET_SOUND_PLACE/servers" >"$XDG_RUNTIME_DIR/sound-server"
  await "the sound server" pactl info
  sink speakers Speakers
  sink headphones Headphones
  microphone microphone "Mic 2"
  microphone headset "Mic 10"
  pactl set-default-sink speakers
  pactl set-default-source microphone
  await "the default output" bash -c '[ "$(pactl get-default-sink)" = speakers ]'
  await "the default microphone" bash -c '[ "$(pactl get-default-source)" = microphone ]'
}

if [ "${1:-}" = restart ]; then
  kill -9 "$(<"$XDG_RUNTIME_DIR/sound-server")" 2>/dev/null
  await "the server's end" bash -c '! pactl info'
  start_server
  exit
fi

case "${1:-}" in
  pulseaudio | pipewire) export QUILLET_SOUND_KIND=$1 ;;
  *)
    echo "usage: audio.sh pulseaudio|pipewire COMMAND [ARGUMENT ...]" >&2
    exit 2
    ;;
esac
shift
QUILLET_SOUND_PLACE=$(mktemp -d)
export QUILLET_SOUND_PLACE

tear_down() {
  tac "$QUILLET_SOUND_PLACE/servers" 2>/dev/null | xargs -r kill 2>/dev/null
  wait 2>/dev/null
  rm -rf "$QUILLET_SOUND_PLACE" 2>/dev/null || { sleep 1 && rm -rf "$QUILLET_SOUND_PLACE"; }
}
trap tear_down EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

mkdir -m 700 "$QUILLET_SOUND_PLACE/home" "$QUILLET_SOUND_PLACE/run"
export HOME=$QUILLET_SOUND_PLACE/home XDG_RUNTIME_DIR=$QUILLET_SOUND_PLACE/run
unset XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME XDG_STATE_HOME PULSE_SERVER PULSE_RUNTIME_PATH DISPLAY WAYLAND_DISPLAY

export DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/bus
start dbus dbus-daemon --session --nofork --address="$DBUS_SESSION_BUS_ADDRESS"
await "the session bus" test -S "$XDG_RUNTIME_DIR/bus"
if [ "$QUILLET_SOUND_KIND" = pipewire ]; then
  start pipewire pipewire
  await "pipewire" test -S "$XDG_RUNTIME_DIR/pipewire-0"
  start wireplumber wireplumber
fi
start_server

timeout --kill-after=5 "${QUILLET_SOUND_LIMIT:-300}" "$@"
result=$?
[ $result -eq 0 ] || cat "$QUILLET_SOUND_PLACE"/*.log >&2
exit $result
