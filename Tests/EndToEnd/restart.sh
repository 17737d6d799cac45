#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A restart runs what lies at the program's place by then, as after an update.
# usage: restart.sh QuilletCompanion
set -euo pipefail
work=$(mktemp -d)
trap 'kill $program 2>/dev/null || true; rm -rf "$work"' EXIT
export XDG_DATA_HOME=$work XDG_CONFIG_HOME=$work
unset DISPLAY DBUS_SESSION_BUS_ADDRESS
cp "$1" "$work/program"
mkfifo "$work/in"
"$work/program" --terminal --json -QLTServerURLOverride http://127.0.0.1:1 <"$work/in" >"$work/out" 2>"$work/log" &
program=$!
exec 3>"$work/in"

# await TEXT
await() {
  for _ in {1..600}; do
    grep -qF -- "$1" "$work/out" && return
    sleep 0.05
  done
  echo "restart: no \"$1\"" >&2
  cat "$work/out" "$work/log" >&2
  exit 1
}
await '"event":"device"'
printf '#!/bin/sh\necho updated "$@"\n' >"$work/update"
chmod +x "$work/update"
mv "$work/update" "$work/program"
echo restart >&3
await "updated --terminal --json -QLTServerURLOverride http://127.0.0.1:1"
