#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The real program with its windows, in a desktop with a tray: from the first run to a paired phone and back, driven by
# the accessibility bus, and by the pointer where the tray is concerned.
# usage: windows.sh FOLDER-WITH-THE-PROGRAMS
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
if [ -z "${QUILLET_SOUND_KIND:-}" ]; then exec "$here/../Audio/audio.sh" pulseaudio "$0" "$1"; fi
if [ -z "${DISPLAY:-}" ]; then
  export PULSE_SERVER=unix:$XDG_RUNTIME_DIR/pulse/native
  exec "$here/desktop.sh" "$0" "$1"
fi
# shellcheck source-path=SCRIPTDIR source=programs.sh
source "$here/programs.sh" "$1"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 LANG=C.UTF-8 XDG_CURRENT_DESKTOP= PATH=$work/tools:$PATH

view() { "$here/views.py" "$@" || fail "views.py $*: $("$here/views.py" texts | head -n 60)"; }
log=$work/windows.log
setting() { "$bin/QuilletCompanion" defaults read "$1" 2>/dev/null; }
# A window that was found may be gone a moment later, which xdotool doesn't survive.
bring_up() { xdotool search --onlyvisible --name "$1" windowactivate --sync >/dev/null 2>&1; }
close_window() {
  await 10 "\"$1\" is not there" bring_up "$1"
  xdotool key Escape
}
popover() { "$bin/QuilletCompanion" -QLTServerURLOverride "$url" || fail "the second start failed"; }
front() { xprop -id "$(xdotool getactivewindow)" WM_CLASS | grep -qi "$1"; }
editor_to_front() {
  xdotool search --onlyvisible --class mousepad windowactivate >/dev/null
  await 10 "the editor did not come to the front" front mousepad
}
# A screen reader scrolls by its focus, a hand by the wheel.
scroll_to() {
  xdotool mousemove 640 300 click --repeat 60 --delay 5 4
  for _ in {1..40}; do
    if "$here/views.py" texts | grep -E "^[a-z ]+: $1" >/dev/null; then return; fi
    xdotool click --repeat 2 --delay 20 5
  done
  fail "\"$1\" is not in the window: $("$here/views.py" texts)"
}
icon_opens() {
  xdotool mousemove 1129 784 click 1
  sleep 0.5
  "$here/views.py" texts | grep "Quit Quillet" >/dev/null
}
# appearance NUMBER: as if the user changed the desktop's colours; 1 is dark
appearance() {
  gdbus call --session --dest org.freedesktop.portal.Desktop --object-path /org/freedesktop/portal/desktop \
    --method org.freedesktop.DBus.Mock.EmitSignal org.freedesktop.portal.Settings SettingChanged ssv \
    "[<'org.freedesktop.appearance'>, <'color-scheme'>, <<uint32 $1>>]" >/dev/null
}
# looks RED,GREEN,BLUE: the page of a window in the middle of the screen
looks() { import -window root -crop 1x1+370+100 txt:- | grep "($1)" >/dev/null; }
clipboard() { [ "$(xsel -bo)" = "$1" ]; }
pairing_code() { "$here/views.py" texts | sed -nE 's/^[a-z]+: ([0-9A-Z]{4}-?[0-9A-Z]{4})$/\1/p' | head -n 1; }

start_service --engine sphinx
start_tray() {
  tint2 >>"$work/tint2.log" 2>&1 &
  tray=$!
  processes+=("$tray")
}
start_tray
/usr/bin/python3 -m dbusmock --session org.freedesktop.portal.Desktop /org/freedesktop/portal/desktop \
  org.freedesktop.portal.Settings >"$work/portal.log" 2>&1 &
processes+=($!)
# What an older version left, and the editor that the user chose.
mkdir -p "$XDG_CONFIG_HOME/autostart"
autostart=$XDG_CONFIG_HOME/autostart/com.fernhollow.quillet.mac.desktop
printf '[Desktop Entry]\nType=Application\nExec="/old/QuilletCompanion" "--terminal"\n' >"$autostart"
printf '[Default Applications]\ntext/plain=org.xfce.mousepad.desktop\n' >"$XDG_CONFIG_HOME/mimeapps.list"

mkdir "$work/words"
# In place of the desktop's sound settings.
mkdir "$work/tools"
printf '#!/bin/sh\ntouch "%s/sound-settings"\n' "$work" >"$work/tools/pavucontrol"
chmod +x "$work/tools/pavucontrol"
# A first run begins the set-up.
start_windows -wordLedgerFolder "$work/words"
view wait "Use your phone to type on this computer."
view check
view tabs
grep -q "$bin/QuilletCompanion\"$" "$autostart" || fail "the older entry was not changed over: $(cat "$autostart")"
view fill "Computer name" "Desk of the test"
view press "Launch at Login"
view press "Pair a phone"
[ ! -e "$autostart" ] || fail "the entry is still there"
view press "Enter code instead"
view check
await 10 "no pairing code is shown" test -n "$(pairing_code)"
code=$(pairing_code)
[ "$(setting macName)" = "Desk of the test" ] || fail "the name was not kept"
phone init --service "$url" --name "Pocket phone" --words "$work/words"
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
view press "Open editor"
view gone "Ready"
await 20 "no editor opened" front mousepad
xdotool getactivewindow getwindowname | grep -q Untitled || fail "the note is not empty"
[ "$(setting onboardingCompleted)" = true ] || fail "the set-up is not over"

# What a second start brings up is the first one's popover.
popover
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
editor_to_front
await 30 "the editor was never ready" phone say "From the phone."
view wait "Inserted from phone"
view gone "Inserted from phone"

# Dictation is turned on, and its shortcuts are recorded, refused and kept.
popover
view press "Settings"
view wait "Computer name"
view tabs
scroll_to "Dictate on this computer"
view press "Dictate on this computer"
scroll_to "Hold to talk: Right Alt"
view press "Hold to talk: Right Alt"
view wait "Hold to talk: Press keys…"
xdotool key a
view wait "Use Super, Ctrl or Alt with that key, or a modifier key on its own."
xdotool key super+q
view wait "Your desktop already uses Super+Q."
xdotool key ctrl+alt+d
view wait "Hold to talk: Ctrl+Alt+D"
view wait "Start dictation" # and what was recorded begins nothing yet
view gone "Your desktop already uses Super+Q."
view press "Turn “Hold to talk” off"
view wait "Hold to talk: Off"
view press "Open sound settings"
await 5 "the sound settings did not open" test -e "$work/sound-settings"
view check
scroll_to "Send Feedback"
view check
view tabs
close_window "Quillet Settings"

# The pill is clicked, and the editor keeps the keyboard and gets the text.
pactl load-module module-pipe-source source_name=voice file="$work/voice" format=s16le rate=16000 channels=1 >/dev/null
exec 4>"$work/voice"
pactl set-default-source voice
editor_to_front
view click "Start dictation"
view wait "Stop and insert"
front mousepad || fail "the pill took the keyboard"
speech=/usr/share/pocketsphinx/test/data/goforward.raw
cat "$speech" >&4
sleep "$(($(stat -c %s "$speech") / 32000 + 1))" # as long as it takes to say it
view click "Stop and insert"
view wait "Inserted"
front mousepad || fail "the pill took the keyboard"
xdotool key ctrl+a ctrl+c
await 5 "the editor holds another text" clipboard "From the phone. go forward ten meters"
popover
view press "Copy last dictation"
await 5 "the clipboard holds another text" clipboard "go forward ten meters"

# Statistics and settings.
popover
view press "Statistics"
view wait "5 words in total"
view check
close_window Statistics
popover
view press "Settings"
view check
await 10 "the settings are not light" looks 244,244,246
appearance 1
await 10 "the settings did not turn dark" looks 30,30,32
appearance 0
await 10 "the settings did not turn light" looks 244,244,246
# A desktop that leaves colours to programs has a theme all the same.
theme() { printf 'Net/ThemeName "%s"\n' "$1" >"$work/xsettings"; }
theme Some-Dark
xsettingsd -c "$work/xsettings" >>"$work/xsettings.log" 2>&1 &
processes+=($!)
await 10 "the settings did not follow a dark theme" looks 30,30,32
theme Some && kill -HUP $!
await 10 "the settings did not follow a light theme" looks 244,244,246
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

# The pill goes along to another screen, and comes back when that is gone; the icon is back with its tray.
xdotool mousemove 200 300
pill_at() { [ "$(xdotool search --onlyvisible --name '^Quillet$' getwindowgeometry | sed -nE 's/.*Position: ([0-9]+),.*/\1/p')" = "$1" ]; }
xrandr --setmonitor left 640/160x800/200+0+0 screen
xrandr --setmonitor right 640/160x800/200+640+0 none
await 10 "the pill is not in the middle of its screen" pill_at 90
xrandr --delmonitor left
xrandr --delmonitor right
await 10 "the pill is not in the middle of the only screen" pill_at 410
kill "$tray"
sleep 1
start_tray
await 10 "the icon is not in the new tray" icon_opens
view press "Quit Quillet"
wait "$windows" || fail "the program did not end well"

# A tray of the other kind, and a device that the service knows no more: it begins anew.
/usr/bin/python3 -c 'import sqlite3, sys
with sqlite3.connect(sys.argv[1], timeout=10) as database: database.execute("UPDATE devices SET revoked_at=1")' "$work/service.db"
kill "$tray"
wait "$tray" || true
start_windows -wordLedgerFolder "$work/words"
view wait "Use your phone to type on this computer."
start_panel() {
  xfce4-panel --disable-wm-check >>"$work/panel.log" 2>&1 &
  panel=$!
  processes+=("$panel")
}
watcher() {
  gdbus call --session --dest org.kde.StatusNotifierWatcher --object-path /StatusNotifierWatcher \
    --method org.freedesktop.DBus.Properties.Get org.kde.StatusNotifierWatcher RegisteredStatusNotifierItems
}
item() { watcher | sed -nE "s/.*'([^/]+)\/StatusNotifierItem'.*/\1/p" | grep .; }
in_panel() {
  start_panel
  await 20 "there is no host for icons" watcher
  await 10 "the icon is not in the tray" item
}
# Some hosts know menus only.
menu() {
  gdbus call --session --dest "$(item)" --object-path /MenuBar --method com.canonical.dbusmenu.GetLayout -- 0 -1 '[]'
}
# It comes after the program, and once more.
in_panel
menu | grep "Pair a phone….*Quit Quillet" >/dev/null || fail "the icon's menu is another one: $(menu)"
kill "$panel"
wait "$panel" || true
in_panel
gdbus call --session --dest "$(item)" --object-path /StatusNotifierItem \
  --method org.kde.StatusNotifierItem.Activate 1154 12 >/dev/null
view wait "This computer's pairing identity was removed*"
view press "Settings"
view wait "Computer name"
scroll_to "Reset this computer"
view press "Reset this computer"
view wait "Use your phone to type on this computer."
kill "$windows"
wait "$windows" || fail "the program did not end well when told to"

# Nothing that Qt had to say, and nothing of what was said.
noise=$(grep -vE '^[0-9T:.-]+ (debug|info|default) ' "$log" || true)
[ -z "$noise" ] || fail "the log tells of trouble: $noise"
grep -qE 'It arrives|From the phone' "$log" && fail "a dictated text stands in the log"
echo "All windows did what they should."
