// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillet {

/// A key that can be a shortcut by itself.
enum class ModifierKey {
  leftCommand,
  rightCommand,
  leftOption,
  rightOption,
  leftControl,
  rightControl,
  leftShift,
  rightShift,
  function,
};

/// Its virtual code.
std::uint16_t keyCode(ModifierKey key);
/// Absent for any other key, Caps Lock among them.
std::optional<ModifierKey> modifierKey(std::uint16_t keyCode);
/// The words for people, such as "Right ⌥".
std::string_view displayName(ModifierKey key);

}  // namespace quillet
