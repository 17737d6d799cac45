// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/ModifierKey.h"

#include <algorithm>
#include <array>

namespace quillet {
namespace {

struct Facts {
  std::uint16_t code;
  std::string_view name;
};

/// In the order of the enumeration.
constexpr std::array facts{
    Facts{55, "Left ⌘"},  Facts{54, "Right ⌘"}, Facts{58, "Left ⌥"},  Facts{61, "Right ⌥"}, Facts{59, "Left ⌃"},
    Facts{62, "Right ⌃"}, Facts{56, "Left ⇧"},  Facts{60, "Right ⇧"}, Facts{63, "fn"},
};

}  // namespace

std::uint16_t keyCode(ModifierKey key) {
  return facts.at(static_cast<std::size_t>(key)).code;
}

std::optional<ModifierKey> modifierKey(std::uint16_t keyCode) {
  const auto* const found = std::ranges::find(facts, keyCode, &Facts::code);
  return found == facts.end() ? std::nullopt : std::optional(static_cast<ModifierKey>(found - facts.begin()));
}

std::string_view displayName(ModifierKey key) {
  return facts.at(static_cast<std::size_t>(key)).name;
}

}  // namespace quillet
