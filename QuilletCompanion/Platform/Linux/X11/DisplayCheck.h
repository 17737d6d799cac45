// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"

namespace quillet {

/// Whether the display answers, asked on a connection of its own: the toolkit would wait for it without a bound. A
/// server that has fallen silent costs one wait. Main thread only.
class DisplayCheck {
 public:
  bool answers() {
    if (!connection_.usable() && !connection_.reopen()) return false;
    X11ErrorTrap(connection_).error();
    return connection_.usable();
  }

 private:
  X11Connection connection_{{}};
};

}  // namespace quillet
