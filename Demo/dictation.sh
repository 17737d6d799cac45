#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The second road once: a held key, a voice in the microphone, and its words in a text editor, while the music is
# muffled. Everything is real but the sound hardware: a virtual microphone hears a recording of a human voice.
# usage: dictation.sh FOLDER-WITH-THE-PROGRAMS [pulseaudio|pipewire]
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
if [ -z "${QUILLET_SOUND_KIND:-}" ]; then
  exec "$here/../Tests/Audio/audio.sh" "${2:-pulseaudio}" "$0" "$1"
fi
if [ -z "${DISPLAY:-}" ]; then
  export PULSE_SERVER=unix:$XDG_RUNTIME_DIR/pulse/native
  exec "$here/../Tests/Desktop/desktop.sh" "$0" "$1"
fi
# shellcheck source-path=SCRIPTDIR source=../Tests/Desktop/programs.sh
source "$here/../Tests/Desktop/programs.sh" "$1"
voice=/usr/share/pocketsphinx/test/data/goforward.raw
said="go forward ten meters"
before="Robot,"

step "1. The service comes up, with an engine of its own"
start_service --log debug --engine sphinx
echo "$url"

step "2. An editor is in front, and holds \"$before\""
printf '%s' "$before" >"$work/note.txt"
open_editor mousepad
xdotool key ctrl+End

step "3. The desktop program connects, and dictation is turned on"
start_desktop -QLTLogLevel debug
echo "dictation on" >&3
await 10 "dictation was not turned on" events '"answer":"dictation"'
events '"answer":"dictation"' | tail -n 1

step "4. Music plays"
# A microphone of its own, since what is played to the sound system would be muffled, too.
pactl load-module module-pipe-source source_name=voice file="$work/voice" format=s16le rate=16000 channels=1 >/dev/null
exec 4>"$work/voice"
pactl set-default-source voice
sox -n -r 48000 -c 2 -b 16 "$work/music.wav" synth 60 sine 150 synth 60 sine mix 6000 gain -12
paplay --device=speakers "$work/music.wav" >"$work/music.log" 2>&1 &
processes+=($!)
# The loudness of the high tones that a listener hears, in decibels. Unless asked for little at a time, some servers
# give nothing within the first second.
treble() {
  timeout 1 parec --latency-msec=50 --device=speakers.monitor --format=s16le --rate=48000 --channels=1 >"$work/heard.raw" || true
  sox -t raw -r 48000 -e signed -b 16 -c 1 "$work/heard.raw" -n highpass 3000 stats 2>&1 |
    awk '/RMS lev dB/ { printf "%d", $4 == "-inf" ? -200 : $4 }'
}
playing() { [ "$(treble)" -gt -60 ]; }
await 15 "no music is heard" playing
loud=$(treble)
echo "High tones: $loud dB"

step "5. Right Alt is held, and somebody speaks"
# By its place on the keyboard: layouts call the key differently.
right_alt=108
xdotool keydown $right_alt
await 20 "dictation does not listen" events '"phase":"listening"'
muffled() { [ "$(treble)" -lt $((loud - 20)) ]; }
await 10 "the music was not muffled" muffled
echo "High tones, muffled: $(treble) dB"
cat "$voice" >&4
sleep "$(($(stat -c %s "$voice") / 32000 + 1))" # as long as it takes to say it
xdotool keyup $right_alt
echo "Right Alt was let go"

step "6. The words stand in the editor, joined with what stood there"
await 30 "nothing was inserted" events '"phase":"inserted"'
xdotool key ctrl+s
saved() { [ "$(cat "$work/note.txt")" = "$before $said" ]; }
await 10 "the editor holds \"$(cat "$work/note.txt")\"" saved
cat "$work/note.txt"
echo

step "7. The music is back"
clear() { [ "$(treble)" -gt $((loud - 3)) ]; }
await 10 "the music is still muffled" clear
echo "High tones: $(treble) dB"

step "8. And the words are nowhere else"
end_demo "$said" "$work/service.out"
echo "Done: what was said stands where the caret was."
