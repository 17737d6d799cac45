#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs every fuzz target for some seconds on its corpus; what libFuzzer adds goes to a scratch folder.
# usage: run.sh FOLDER-WITH-THE-TARGETS SECONDS
set -euo pipefail
bin=$1 seconds=$2
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
for target in "$bin"/fuzz-*; do
  name=${target##*/fuzz-}
  mkdir -p "$scratch/$name"
  echo "$name"
  "$target" -max_total_time="$seconds" -print_final_stats=1 -verbosity=0 -artifact_prefix="$scratch/$name-" \
    "$scratch/$name" "$here/corpus/$name" || { cp "$scratch/$name-"* . && exit 1; }
done
