#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: install.sh BUILD-FOLDER  fails unless the programs run from where they are installed, and the menu takes the entry
set -euo pipefail
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cmake --install "$1" --prefix "$root" >"$root/log"
for program in QuilletCompanion QuilletWindows quillet-service quillet-phone; do
  PATH=$root/bin "$program" --version
done
[ -x "$root/bin/quillet-muffle-watch" ]
entry=$root/share/applications/com.fernhollow.quillet.mac.desktop
desktop-file-validate "$entry"
[ -f "$root/share/icons/hicolor/scalable/apps/$(sed -n 's/^Icon=//p' "$entry").svg" ]
PATH=$root/bin command -v "$(sed -n 's/^Exec=//p' "$entry")"
