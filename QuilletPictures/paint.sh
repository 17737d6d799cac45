#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A picture of every window in every state, as FOLDER/LANGUAGE/LOOK/STATE.png. usage: paint.sh QUILLET-PICTURES FOLDER
set -euo pipefail
for language in en nl fr de; do
  looks=(light dark)
  [ "$language" != en ] || looks+=(light-contrast dark-contrast)
  for look in "${looks[@]}"; do
    "$1" paint "$2/$language/$look" "$language" "$look"
  done
done
