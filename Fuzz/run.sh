#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs fuzz targets for some seconds each on their corpora; what libFuzzer adds goes to a scratch folder. An input that
# breaks a target is left in the present folder.
# usage: run.sh FOLDER-WITH-THE-TARGETS SECONDS [TARGET...]
set -euo pipefail
bin=$1 seconds=$2
shift 2
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
[[ -d /dev/shm && -w /dev/shm ]] && export TMPDIR=/dev/shm # targets that read files make thousands of them
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || for target in "$bin"/fuzz-*; do targets+=("${target##*/fuzz-}"); done
broken=0
for name in "${targets[@]}"; do
  mkdir -p "$scratch/$name"
  echo "$name"
  "$bin/fuzz-$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=16384 -print_final_stats=1 \
    -print_funcs=0 -verbosity=0 -artifact_prefix="$scratch/$name-" "$scratch/$name" "$here/corpus/$name" ||
    { broken=1 && cp "$scratch/$name-"* .; }
done
exit "$broken"
