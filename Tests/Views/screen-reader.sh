#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What a screen reader finds in every window in every state is what is written down; with --write, writes it down.
# usage: screen-reader.sh [--write] QUILLET-PICTURES
set -euo pipefail
tests=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
kept=$tests/data/screen-reader.txt
# How long a code still lasts hangs on how long its window took to come up.
read_aloud() { "$tests/Desktop/views.py" story "$1" show en | sed -E 's/(refreshes in )[0-9]+/\1N/'; }
if [ "$1" = --write ]; then
  read_aloud "$2" >"$kept"
else
  read_aloud "$1" | diff -u "$kept" -
fi
