// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"

namespace quillet {

/// Which modifier keys are held. Main thread only.
class ModifierState {
 public:
  /// Looks at `display`, or at the environment's if it is empty.
  explicit ModifierState(const std::string& display = {}) : connection_(display) {}
  /// Control, Alt or Super is held down; a locked or latched one, Shift and Caps Lock don't count. Our own typing
  /// presses none of them. False without a display.
  bool modifiersDown();

 private:
  X11Connection connection_;
};

}  // namespace quillet
