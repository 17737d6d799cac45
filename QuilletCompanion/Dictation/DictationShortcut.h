// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace quillet {

/// A key with modifiers, or a modifier key alone.
struct DictationShortcut {
  std::uint16_t keyCode = 0;    ///< Virtual code: names a place on the keyboard.
  std::uint64_t modifiers = 0;  ///< Bits of kShift ... kCommand; zero for a modifier key alone.

  static constexpr std::uint64_t kShift = 0x20000;
  static constexpr std::uint64_t kControl = 0x40000;
  static constexpr std::uint64_t kOption = 0x80000;
  static constexpr std::uint64_t kCommand = 0x100000;
  static constexpr std::uint64_t kAllModifiers = 0x1E0000;

  bool operator==(const DictationShortcut&) const = default;
};

}  // namespace quillet
