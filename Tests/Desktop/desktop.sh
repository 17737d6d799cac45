#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command in a desktop that nobody sees and that is gone afterwards: an X display with a window manager, a D-Bus
# session and an accessibility bus, with a home and a runtime folder of their own.
#   desktop.sh COMMAND [ARGUMENT ...]
# Needs Xvfb, openbox, dbus-daemon and at-spi2-core. The servers' messages are shown if the command fails.
# QUILLET_DESKTOP_LIMIT: seconds that the command may take (300).
# QUILLET_DESKTOP_SIZE: of its screen in pixels (1280x800).
set -u

# shellcheck source-path=SCRIPTDIR source=../servers.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/../servers.sh"

unset AT_SPI_BUS_ADDRESS
export GSETTINGS_BACKEND=memory GSK_RENDERER=cairo LIBGL_ALWAYS_SOFTWARE=1 NO_AT_BRIDGE=0
begin_session

# Without -noreset the server forgets the accessibility bus's address whenever its last client leaves.
start xvfb Xvfb -displayfd 3 -screen 0 "${QUILLET_DESKTOP_SIZE:-1280x800}x24" -noreset +extension XTEST 3>"$place/display"
export QUILLET_DISPLAY_SERVER=$!
await "the display" test -s "$place/display"
DISPLAY=:$(<"$place/display")
export DISPLAY

launcher=/usr/libexec/at-spi-bus-launcher
[ -x "$launcher" ] || launcher=/usr/lib/at-spi2-core/at-spi-bus-launcher
start atspi "$launcher" --launch-immediately
# Asked for an address before it has its name, the session bus would start another one, which knows no display and tells
# none where it is: what asks only the display then finds no accessibility.
is_announced() {
  xprop -root AT_SPI_BUS | grep -q unix &&
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetNameOwner string:org.a11y.Bus
}
await "the accessibility bus" is_announced

start openbox openbox --sm-disable
export QUILLET_WINDOW_MANAGER=$!
# xprop succeeds without the property, too.
await "the window manager" bash -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep "window id"'

run "${QUILLET_DESKTOP_LIMIT:-300}" "$@"
