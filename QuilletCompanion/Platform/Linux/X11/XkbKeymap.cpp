// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/XkbKeymap.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <bit>

namespace quillet {
namespace {

constexpr unsigned notForLevels = ShiftMask | LockMask | ControlMask | Mod1Mask | Mod2Mask | Mod4Mask;

/// The modifier that together with Shift chooses among four levels and does nothing else; 0 if the type isn't such.
unsigned thirdLevelModifierOf(const XkbKeyTypeRec& type) {
  const unsigned third = type.mods.mask & ~ShiftMask;
  if (type.num_levels != 4 || (type.mods.mask & ShiftMask) == 0 || std::popcount(third) != 1 ||
      (third & notForLevels) != 0) {
    return 0;
  }
  unsigned found = 0;
  for (int i = 0; i < type.map_count; ++i) {
    const auto& entry = type.map[i];
    if (!entry.active) continue;
    const unsigned wanted = (entry.mods.mask & ShiftMask ? 1U : 0U) + (entry.mods.mask & third ? 2U : 0U);
    if (entry.level != wanted) return 0;
    found |= 1U << wanted;
  }
  return (found & 0xe) == 0xe ? third : 0;
}

}  // namespace

std::unique_ptr<XkbKeymap> XkbKeymap::read(_XDisplay* display, unsigned device) {
  auto* const xkb = XkbGetMap(display, XkbAllClientInfoMask | XkbKeyActionsMask, device);
  return xkb == nullptr ? nullptr : std::unique_ptr<XkbKeymap>(new XkbKeymap(xkb));
}

XkbKeymap::XkbKeymap(_XkbDesc* xkb) : xkb_(xkb) {
  findLevels();
}

XkbKeymap::~XkbKeymap() {
  XkbFreeKeyboard(xkb_, XkbAllComponentsMask, True);
}

void XkbKeymap::findLevels() {
  shiftKey_ = keyThatSets(ShiftMask);
  type_ = shiftKey_ == 0 ? XkbOneLevelIndex : XkbTwoLevelIndex;
  for (int i = 0; i < xkb_->map->num_types && shiftKey_ != 0; ++i) {
    thirdLevelModifier_ = thirdLevelModifierOf(xkb_->map->types[i]);
    if (thirdLevelModifier_ == 0) continue;
    thirdLevelKey_ = keyThatSets(thirdLevelModifier_);
    if (thirdLevelKey_ != 0) type_ = i;
    return;
  }
}

Keycode XkbKeymap::keyThatSets(unsigned modifiers) const {
  if (xkb_->server == nullptr) return 0;
  for (const Keycode keycode : keycodes()) {
    const auto* const action = XkbKeyHasActions(xkb_, keycode) ? XkbKeyAction(xkb_, keycode, 0) : nullptr;
    if (action != nullptr && action->type == XkbSA_SetMods && action->mods.mask == modifiers) return keycode;
  }
  return 0;
}

std::vector<Keycode> XkbKeymap::keycodes() const {
  std::vector<Keycode> all;
  for (unsigned code = xkb_->min_key_code; code <= xkb_->max_key_code; ++code)
    all.push_back(static_cast<Keycode>(code));
  return all;
}

bool XkbKeymap::isFree(Keycode keycode) const {
  if (modifiersSetBy(keycode) != 0) return false;
  const auto* symbols = XkbKeySymsPtr(xkb_, keycode);
  return std::all_of(symbols, symbols + XkbKeyNumSyms(xkb_, keycode), [](KeySym s) { return s == NoSymbol; });
}

unsigned XkbKeymap::modifiersSetBy(Keycode keycode) const {
  return xkb_->map->modmap == nullptr ? 0 : xkb_->map->modmap[keycode];
}

std::optional<XkbKeymap::Symbols> XkbKeymap::symbols(Keycode keycode) const {
  const bool inRange = keycode >= xkb_->min_key_code && keycode <= xkb_->max_key_code;
  const int count = inRange ? XkbKeyNumSyms(xkb_, keycode) : 0;
  if (count == 0 || count > static_cast<int>(mostLevels) || XkbKeyNumGroups(xkb_, keycode) != 1) return std::nullopt;
  Symbols found{};
  std::copy_n(XkbKeySymsPtr(xkb_, keycode), count, found.begin());
  return found;
}

unsigned long XkbKeymap::symbolAt(Keycode keycode, unsigned level, unsigned group) const {
  KeySym found = NoSymbol;
  unsigned consumed = 0;
  XkbTranslateKeyCode(xkb_, keycode, XkbBuildCoreState(modifiersOf(level), group), &consumed, &found);
  return found;
}

unsigned XkbKeymap::modifiersOf(unsigned level) const {
  return (level & KeyLevel::shift ? ShiftMask : 0U) | (level & KeyLevel::third ? thirdLevelModifier_ : 0U);
}

unsigned XkbKeymap::levelOf(unsigned modifiers) const {
  return (modifiers & ShiftMask ? KeyLevel::shift : 0U) | (modifiers & thirdLevelModifier_ ? KeyLevel::third : 0U);
}

bool XkbKeymap::write(_XDisplay* display, const std::map<Keycode, Symbols>& keys) {
  if (keys.empty()) return true;
  XkbMapChangesRec changes{};
  for (const auto& [keycode, symbols] : keys) {
    const bool frees = symbols == Symbols{};
    if (XkbChangeTypesOfKey(xkb_, keycode, frees ? 0 : 1, XkbGroup1Mask, &type_, &changes) != Success) return false;
    for (unsigned level = 0; !frees && level < levels(); ++level) {
      XkbKeySymEntry(xkb_, keycode, static_cast<int>(level), 0) = symbols[level];
    }
  }
  changes.changed = XkbKeySymsMask;
  changes.first_key_sym = keys.begin()->first;
  changes.num_key_syms = static_cast<unsigned char>(keys.rbegin()->first - keys.begin()->first + 1);
  return XkbChangeMap(display, xkb_, &changes) != False;
}

}  // namespace quillet
