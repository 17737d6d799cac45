// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// What the user asked for by a key.
enum class HotkeyEvent {
  toggle,
  holdDown,
  holdUp,
  holdInterrupted,  ///< Another key was pressed during a hold of a modifier key alone.
  cancel,
};

}  // namespace quillet
