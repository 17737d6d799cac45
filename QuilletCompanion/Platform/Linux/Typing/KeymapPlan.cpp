// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Typing/KeymapPlan.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace quillet {
namespace {

constexpr std::array<std::u32string_view, 10> alphabets{
    U"’“”—–…„‘€",
    U"éäüößèàçñáíóúêâôîïëùåøæãõìòœÄÖÜÉ¿¡«»",
    U"ąęłśżźćńěščřžýůďťňğışţășțőű",
    U"оеаинтсрвлкмдпуяыьгзбчйхжшюцщэфіїєёъ",
    U"αοιετσνηρπκμλςυγδωχθφβξζάίόέήύώψ",
    U"יוהלארמתבשעםנדקחפכטגצןסזךץף",
    U"ايلنمتروبعدةهسفكقحجأشصطخضىذثزءغئظآؤ",
    U"नरकतसमहयलपवदजगबशटडचथधषठणघभ्ािेोींैुू",
    U"านรอกเงมยลวดทสตะปบคหแจพชขใไโผ่้ิีัืุู็",
    U"のいにたてるしはとがなでをかれさすんまりこあらもっきくうそどよめつけわだえせみ、。",
};

/// The characters that are likely to follow in a text in which `character` occurs, the likeliest first: those of its
/// alphabet. Empty if we know none.
std::u32string_view companionsOf(char32_t character) {
  const auto* const found = std::find_if(alphabets.begin(), alphabets.end(), [&](std::u32string_view alphabet) {
    return alphabet.find(character) != alphabet.npos;
  });
  return found == alphabets.end() ? std::u32string_view() : *found;
}

}  // namespace

void KeymapPlan::setLayout(std::map<char32_t, Place> natives,
                           const std::map<Place, std::optional<char32_t>>& borrowable) {
  natives_ = std::move(natives);
  Slots slots;
  for (const auto& [place, character] : borrowable) {
    const auto known = slots_.find(place);
    slots[place] = {character, known == slots_.end() ? 0 : known->second.lastUse};
  }
  slots_ = std::move(slots);
}

KeymapPlan::Chunk KeymapPlan::plan(std::u32string_view characters, const Rules& rules) {
  Chunk chunk;
  protectCarriers(characters, rules);
  for (const char32_t character : characters) {
    if (const auto native = nativePlace(character, rules)) {
      chunk.strokes.push_back({*native, false});
      continue;
    }
    const auto place = placeFor(character, rules, chunk);
    if (!place) break;
    chunk.strokes.push_back({*place, true});
    slots_[*place].lastUse = rules.strokesSoFar + chunk.strokes.size();
  }
  if (!chunk.assignments.empty()) addCompanions(rules, chunk);
  return chunk;
}

/// What the chunk uses isn't taken away for its other characters, as long as there is a choice.
void KeymapPlan::protectCarriers(std::u32string_view characters, const Rules& rules) {
  for (const char32_t character : characters) {
    if (nativePlace(character, rules)) continue;
    if (const auto carrier = carrierOf(character, rules)) {
      auto& lastUse = slots_[*carrier].lastUse;
      lastUse = std::max(lastUse, rules.strokesSoFar);
    }
  }
}

std::optional<KeymapPlan::Place> KeymapPlan::placeFor(char32_t character, const Rules& rules, Chunk& chunk) {
  if (const auto carrier = carrierOf(character, rules)) return carrier;
  const auto slot = longestUnused(rules, rules.strokesSoFar);
  if (slot == slots_.end()) return std::nullopt;
  chunk.awaits = std::max(chunk.awaits, slot->second.lastUse);
  chunk.assignments.push_back({slot->first, character});
  slot->second.character = character;
  return slot->first;
}

void KeymapPlan::addCompanions(const Rules& rules, Chunk& chunk) {
  const auto needed = chunk.assignments;
  auto next = slots_.begin();
  for (const auto& assignment : needed) {
    for (const char32_t companion : companionsOf(assignment.character)) {
      if (isKnown(companion)) continue;
      next = std::find_if(next, slots_.end(),
                          [&](const auto& entry) { return !entry.second.character && reachable(entry.first, rules); });
      if (next == slots_.end()) return;
      next->second = {companion, 0};
      chunk.assignments.push_back({next->first, companion});
    }
  }
}

bool KeymapPlan::isKnown(char32_t character) const {
  return natives_.contains(character) || carrierOf(character, {}).has_value();
}

bool KeymapPlan::reachable(const Place& place, const Rules& rules) {
  return (place.level & rules.heldLevel) == rules.heldLevel && !rules.held.contains(place.keycode);
}

std::optional<KeymapPlan::Place> KeymapPlan::nativePlace(char32_t character, const Rules& rules) const {
  const auto native = natives_.find(character);
  if (!rules.nativesUsable || native == natives_.end() || !reachable(native->second, rules)) return std::nullopt;
  return native->second;
}

std::optional<KeymapPlan::Place> KeymapPlan::carrierOf(char32_t character, const Rules& rules) const {
  for (const auto& [place, slot] : slots_) {
    if (slot.character == character && reachable(place, rules)) return place;
  }
  return std::nullopt;
}

/// A free place first. Of those that were never used the last one, which was filled with the least likely character.
KeymapPlan::Slots::iterator KeymapPlan::longestUnused(const Rules& rules, std::uint64_t upTo) {
  auto best = slots_.end();
  for (auto entry = slots_.begin(); entry != slots_.end(); ++entry) {
    if (!reachable(entry->first, rules) || entry->second.lastUse > upTo) continue;
    if (!entry->second.character) return entry;
    const bool better = best == slots_.end() || entry->second.lastUse < best->second.lastUse;
    if (better || (entry->second.lastUse == 0 && best->second.lastUse == 0)) best = entry;
  }
  return best;
}

}  // namespace quillet
