// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillet {

/// The focused element as it is now, as far as typing can see.
struct TypingObservation {
  /// What the target's text offsets count.
  enum class CountUnit { unknown, codePoints, utf16 };

  std::int64_t characters = 0;        ///< All characters, in the target's own unit.
  std::optional<std::int64_t> caret;  ///< In the same unit.
  std::int64_t selected = 0;          ///< Length of the selection that the next key replaces.
  std::uintptr_t element = 0;         ///< Tells elements apart; 0 if the caller can't.
  CountUnit unit = CountUnit::unknown;
  /// Some of the text before the caret, of a target where the rest may go away and the counts with it: a terminal that
  /// scrolls, a web editor that shows the surroundings of the caret only.
  std::optional<std::u32string> tail;
  bool elsewhere = false;  ///< It answers, but keys no longer go there; the rest then doesn't matter.
};
}  // namespace quillet
