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
# shellcheck source-path=SCRIPTDIR source=../servers.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../servers.sh"

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
  echo $! >"$XDG_RUNTIME_DIR/sound-server"
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
  place=$QUILLET_SOUND_PLACE
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
unset PULSE_SERVER PULSE_RUNTIME_PATH DISPLAY
begin_session
export QUILLET_SOUND_PLACE=$place

if [ "$QUILLET_SOUND_KIND" = pipewire ]; then
  start pipewire pipewire
  await "pipewire" test -S "$XDG_RUNTIME_DIR/pipewire-0"
  start wireplumber wireplumber
fi
start_server

run "${QUILLET_SOUND_LIMIT:-300}" "$@"
