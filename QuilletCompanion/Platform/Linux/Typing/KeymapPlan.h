// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace quillet {

using Keycode = std::uint8_t;

/// What a key writes depends on its level, which modifiers choose. The numbers are combinations of these bits.
namespace KeyLevel {
constexpr unsigned shift = 1, third = 2;
}

/// Decides which key writes which character: the layout's own keys where they can, borrowed ones otherwise. A borrowed
/// place that has to change its character is the longest unused one. Knows nothing of a display.
class KeymapPlan {
 public:
  /// The place of a character. Ordered by preference: few modifiers first.
  struct Place {
    unsigned level = 0;
    Keycode keycode = 0;
    auto operator<=>(const Place&) const = default;
  };
  struct Stroke {
    Place place;
    bool borrowed = false;
  };
  struct Assignment {
    Place place;
    char32_t character = 0;
  };
  /// How to type the first `strokes.size()` characters of what was asked for.
  struct Chunk {
    std::vector<Stroke> strokes;
    /// To be made before the first stroke. Beside what the strokes need, they fill places that are free with what is
    /// likely to come next, since one change of the keymap costs as much as another.
    std::vector<Assignment> assignments;
    /// How many of all strokes ever typed must have had their effect before the assignments are made.
    std::uint64_t awaits = 0;
  };
  struct Rules {
    unsigned heldLevel = 0;          ///< Of the modifiers that the user holds: places without these can't be reached.
    bool nativesUsable = true;       ///< False while another modifier changes what the layout's keys write.
    std::set<Keycode> held;          ///< Keys that are down already and can't be pressed.
    std::uint64_t strokesSoFar = 0;  ///< How many were typed before this chunk.
  };

  /// The layout as it is now: its own keys, and the places that are free or borrowed. What `borrowed` says about
  /// present assignments replaces what was planned so far; how lately a place was used is kept.
  void setLayout(std::map<char32_t, Place> natives, const std::map<Place, std::optional<char32_t>>& borrowable);

  /// Plans as many of `characters` as the places allow, and takes the plan for carried out. No strokes: the first
  /// character can't be typed.
  Chunk plan(std::u32string_view characters, const Rules& rules);

 private:
  struct Slot {
    std::optional<char32_t> character;
    std::uint64_t lastUse = 0;  ///< The number of strokes up to and with the last one here; 0 if there was none.
  };
  using Slots = std::map<Place, Slot>;

  static bool reachable(const Place& place, const Rules& rules);
  std::optional<Place> nativePlace(char32_t character, const Rules& rules) const;
  std::optional<Place> carrierOf(char32_t character, const Rules& rules) const;
  std::optional<Place> placeFor(char32_t character, const Rules& rules, Chunk& chunk);
  Slots::iterator longestUnused(const Rules& rules, std::uint64_t upTo);
  void protectCarriers(std::u32string_view characters, const Rules& rules);
  void addCompanions(const Rules& rules, Chunk& chunk);
  bool isKnown(char32_t character) const;

  std::map<char32_t, Place> natives_;
  Slots slots_;
};

}  // namespace quillet
