// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

namespace quillet::test {

/// Shared, through a file, between a test and a program that was started with the kill-point library preloaded and the
/// file's path in QUILLET_KILL_POINT. The program is killed as it is about to do its `left`-th step of one kind that
/// others can see: "open" (a file, to write it), "write" (to a file), "fdatasync", "rename", "fsync", "send" (to the
/// network) or "call" (to a bus of this machine). Two kinds go to the display and are two steps each, one before and
/// one after: "keys" (a run of key events) and "keymap" (a change of it).
struct KillPoint {
  std::atomic<std::int32_t> left;  ///< 0: not armed.
  char kind[16];
};

}  // namespace quillet::test
