// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace quillet {

/// The toolkit ends the process where it stands once the display is gone. While this lives, such an end is told in the
/// log, and `putRight` may first undo on the main thread what would outlast the process. One at a time.
class DisplayLoss {
 public:
  /// Of a process whose display went away.
  static constexpr int kExitCode = 1;

  explicit DisplayLoss(std::function<void()> putRight);
  ~DisplayLoss();
  DisplayLoss(const DisplayLoss&) = delete;
  DisplayLoss& operator=(const DisplayLoss&) = delete;

 private:
  static void ended();

  static DisplayLoss* current_;
  std::function<void()> putRight_;
};

}  // namespace quillet
