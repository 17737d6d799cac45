#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What a screen reader finds in every window in every state is what is written down; with --write, writes it down.
# usage: screen-reader.sh [--write] VIEWTESTS
set -euo pipefail
tests=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
kept=$tests/data/screen-reader.txt
if [ "$1" = --write ]; then
  "$tests/Desktop/views.py" story "$2" show en >"$kept"
else
  "$tests/Desktop/views.py" story "$1" show en | diff -u "$kept" -
fi
