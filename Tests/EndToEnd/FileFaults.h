// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Makes chosen file operations of the calling thread fail. The program is linked so that open, read, write,
/// fdatasync, fsync and rename of our own code come here first.
namespace quillet::test::FileFaults {

/// Counts from now on: operation `number` (1 is the first) fails with `code`, unless it is 0.
void start(int number, int code);
/// From now on everything that writes fails with `code`, as on a disk that is full or can't be written.
void startLasting(int code);

struct Seen {
  std::vector<std::string> operations;  ///< Since the start, in order, the failed one included.
  int failedAt = 0;                     ///< 0 if it didn't come so far.
};
/// Ends the counting and the failing.
Seen stop();
/// Without ending it.
const Seen& seen();

}  // namespace quillet::test::FileFaults
