// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "QuilletKit/Base/File.h"

namespace quillet {

/// Keeps a second copy of the program off the same journal and peers. The kernel gives the lock back however the
/// process ends.
class InstanceLock {
 public:
  /// Makes the folder if need be.
  explicit InstanceLock(const std::filesystem::path& folder);

  /// False while another process holds it; true also where nothing can be locked.
  bool isHeld() const { return held_; }

 private:
  File file_;
  bool held_ = true;
};

}  // namespace quillet
