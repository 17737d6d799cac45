// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/KeymapPlan.h"

#include <utility>

namespace quillet {

void KeymapPlan::setLayout(std::map<char32_t, NativeKey> natives,
                           const std::map<Keycode, std::optional<char32_t>>& borrowable) {
  natives_ = std::move(natives);
  std::map<Keycode, Slot> slots;
  for (const auto& [keycode, character] : borrowable) {
    const auto known = slots_.find(keycode);
    slots[keycode] = {character, known == slots_.end() ? 0 : known->second.lastUse};
  }
  slots_ = std::move(slots);
}

KeymapPlan::Chunk KeymapPlan::plan(std::u32string_view characters, const Rules& rules) {
  Chunk chunk;
  std::set<Keycode> used;
  ++chunks_;
  touchCarriers(characters, rules);
  for (const char32_t character : characters) {
    if (const auto* key = nativeKey(character, rules)) {
      chunk.strokes.push_back({key->keycode, key->shifted, false});
      continue;
    }
    auto keycode = carrierOf(character, rules);
    if (!keycode) {
      keycode = longestUnused(used, rules);
      if (!keycode) break;
      Slot& slot = slots_[*keycode];
      chunk.reassigns = chunk.reassigns || slot.character.has_value();
      chunk.assignments.push_back({*keycode, character});
      slot = {character, chunks_};
    }
    used.insert(*keycode);
    chunk.strokes.push_back({*keycode, false, true});
  }
  return chunk;
}

std::vector<KeymapPlan::Assignment> KeymapPlan::assigned() const {
  std::vector<Assignment> found;
  for (const auto& [keycode, slot] : slots_) {
    if (slot.character) found.push_back({keycode, *slot.character});
  }
  return found;
}

void KeymapPlan::touchCarriers(std::u32string_view characters, const Rules& rules) {
  for (const char32_t character : characters) {
    if (nativeKey(character, rules) != nullptr) continue;
    if (const auto carrier = carrierOf(character, rules)) slots_[*carrier].lastUse = chunks_;
  }
}

const KeymapPlan::NativeKey* KeymapPlan::nativeKey(char32_t character, const Rules& rules) const {
  if (rules.borrowedOnly) return nullptr;
  const auto native = natives_.find(character);
  return native == natives_.end() || rules.held.contains(native->second.keycode) ? nullptr : &native->second;
}

std::optional<Keycode> KeymapPlan::carrierOf(char32_t character, const Rules& rules) const {
  for (const auto& [keycode, slot] : slots_) {
    if (slot.character == character && !rules.held.contains(keycode)) return keycode;
  }
  return std::nullopt;
}

std::optional<Keycode> KeymapPlan::longestUnused(const std::set<Keycode>& used, const Rules& rules) const {
  const auto* best = static_cast<const std::pair<const Keycode, Slot>*>(nullptr);
  for (const auto& entry : slots_) {
    if (used.contains(entry.first) || rules.held.contains(entry.first)) continue;
    if (best == nullptr || entry.second.rank() < best->second.rank()) best = &entry;
  }
  return best == nullptr ? std::nullopt : std::optional(best->first);
}

}  // namespace quillet
