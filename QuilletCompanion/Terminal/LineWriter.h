// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace quillet {

/// Writes lines to a file from a thread of its own, so that a reader who stands still (a stopped terminal, a full pipe)
/// holds up nobody. What waits is bounded: the oldest lines are left out, and a line in their place says so. Its end
/// waits while the reader takes anything, ten seconds at most; with a reader who takes nothing for a second it leaves
/// the thread behind, which is to end with the process. Use from one thread.
class LineWriter {
 public:
  /// `lostLines` gives that line; it is called on the writing thread. `capacity` in bytes.
  LineWriter(int file, std::function<std::string(std::size_t count)> lostLines, std::size_t capacity = 1'048'576);
  ~LineWriter();
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  /// Without the line feed. Never waits.
  void print(std::string line);

 private:
  struct State;

  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace quillet
