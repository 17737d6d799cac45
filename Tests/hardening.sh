#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: hardening.sh PROGRAM...  fails unless each is built as what ships must be
set -euo pipefail
failed=0

# require PROGRAM WHAT PATTERN COMMAND...: the command's output about the program holds the pattern.
require() {
  local program=$1 what=$2 pattern=$3 output
  shift 3
  output=$("$@" "$program")
  if ! grep --quiet --extended-regexp "$pattern" <<<"$output"; then
    echo "$program: $what"
    failed=1
  fi
}

for program in "$@"; do
  require "$program" "is not position-independent" 'Type: +DYN' readelf --wide --file-header
  require "$program" "has no read-only relocations" 'GNU_RELRO' readelf --wide --program-headers
  require "$program" "binds lazily" '(BIND_NOW|FLAGS.* NOW)' readelf --wide --dynamic
  require "$program" "has no stack protector" '__stack_chk_fail' readelf --wide --dyn-syms
  require "$program" "has no fortified calls" '__[a-z]+_chk@' readelf --wide --dyn-syms
  require "$program" "has a stack that can be executed" 'GNU_STACK.* RW ' readelf --wide --program-headers
  [ "$(uname -m)" = x86_64 ] || continue
  # Debian's start-up code isn't marked for branch tracking, so the program isn't either; its own code is.
  require "$program" "has no shadow stack" 'SHSTK' readelf --wide --notes
  require "$program" "has no branch targets" 'endbr64' objdump --disassemble=main
done
exit $failed
