// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace quillet {

using Keycode = std::uint8_t;

/// Decides which key writes which character: the layout's own keys where they can, borrowed keycodes otherwise, the
/// longest unused of them first. Knows nothing of a display.
class KeymapPlan {
 public:
  struct NativeKey {
    Keycode keycode = 0;
    bool shifted = false;
  };
  struct Stroke {
    Keycode keycode = 0;
    bool shifted = false;
    bool borrowed = false;
  };
  struct Assignment {
    Keycode keycode = 0;
    char32_t character = 0;
  };
  /// How to type the first `strokes.size()` characters of what was asked for.
  struct Chunk {
    std::vector<Stroke> strokes;
    /// To be made before the first stroke.
    std::vector<Assignment> assignments;
    /// Some of the assignments take a keycode from another character.
    bool reassigns = false;
  };
  struct Rules {
    bool borrowedOnly = false;  ///< While a held modifier would change what the layout's keys write.
    std::set<Keycode> held;     ///< Keys that are down already and can't be pressed.
  };

  /// The layout as it is now: its own keys, and the keycodes that are free or borrowed. What `borrowed` says about
  /// present assignments replaces what was planned so far; how lately a keycode was used is kept.
  void setLayout(std::map<char32_t, NativeKey> natives, const std::map<Keycode, std::optional<char32_t>>& borrowable);

  /// Plans as many of `characters` as the keycodes allow, and takes the plan for carried out. No strokes: the first
  /// character can't be typed.
  Chunk plan(std::u32string_view characters, const Rules& rules);

  /// The keycodes that carry a character now.
  std::vector<Assignment> assigned() const;

 private:
  struct Slot {
    std::optional<char32_t> character;
    std::uint64_t lastUse = 0;
    /// Free keycodes first, then the longest unused.
    std::pair<bool, std::uint64_t> rank() const { return {character.has_value(), lastUse}; }
  };

  void touchCarriers(std::u32string_view characters, const Rules& rules);
  const NativeKey* nativeKey(char32_t character, const Rules& rules) const;
  std::optional<Keycode> carrierOf(char32_t character, const Rules& rules) const;
  std::optional<Keycode> longestUnused(const std::set<Keycode>& used, const Rules& rules) const;

  std::map<char32_t, NativeKey> natives_;
  std::map<Keycode, Slot> slots_;
  std::uint64_t chunks_ = 0;
};

}  // namespace quillet
