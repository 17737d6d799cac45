#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: hardening.sh PROGRAM...  fails unless each is built as what ships must be
set -euo pipefail
failed=0

# require PROGRAM WHAT PATTERN OPTION...: readelf's output for the options holds the pattern.
require() {
  local program=$1 what=$2 pattern=$3
  shift 3
  if ! readelf --wide "$@" "$program" | grep --quiet --extended-regexp "$pattern"; then
    echo "$program: $what"
    failed=1
  fi
}

for program in "$@"; do
  require "$program" "is not position-independent" 'Type: +DYN' --file-header
  require "$program" "has no read-only relocations" 'GNU_RELRO' --program-headers
  require "$program" "binds lazily" '(BIND_NOW|FLAGS.* NOW)' --dynamic
  require "$program" "has no stack protector" '__stack_chk_fail' --dyn-syms
  require "$program" "has no fortified calls" '__[a-z]+_chk@' --dyn-syms
  require "$program" "has a stack that can be executed" 'GNU_STACK.* RW ' --program-headers
  [ "$(uname -m)" != x86_64 ] || require "$program" "has no control-flow protection" 'IBT, SHSTK' --notes
done
exit $failed
