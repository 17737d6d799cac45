// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Hotkeys/PresentKeymap.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

#include <utility>

#include "QuilletCompanion/Dictation/DictationShortcut.h"
#include "QuilletCompanion/Platform/Linux/Hotkeys/KeyPlaces.h"
#include "QuilletCompanion/Platform/Linux/X11/KeySymbols.h"

namespace quillet {
namespace {

/// Of modifiers that serve the same purpose one is enough.
unsigned lowest(unsigned modifiers) {
  return modifiers & (~modifiers + 1U);
}

}  // namespace

std::unique_ptr<PresentKeymap> PresentKeymap::read(_XDisplay* display) {
  XkbStateRec state{};
  auto keymap = XkbKeymap::read(display, XkbUseCoreKbd);
  if (keymap == nullptr || XkbGetState(display, XkbUseCoreKbd, &state) != Success) return nullptr;
  return std::unique_ptr<PresentKeymap>(new PresentKeymap(display, std::move(keymap), state.group));
}

PresentKeymap::PresentKeymap(_XDisplay* display, std::unique_ptr<XkbKeymap> keymap, unsigned group)
    : display_(display), keymap_(std::move(keymap)), group_(group) {
  findModifiers();
  sign();
}

void PresentKeymap::findModifiers() {
  unsigned locks = LockMask;
  for (const Keycode keycode : keymap_->keycodes()) {
    const unsigned modifiers = keymap_->modifiersSetBy(keycode);
    switch (modifiers == 0 ? NoSymbol : keymap_->symbolAt(keycode, 0, group_)) {
      case XK_Alt_L:
      case XK_Alt_R:
        alt_ |= modifiers;
        break;
      case XK_Super_L:
      case XK_Super_R:
        super_ |= modifiers;
        break;
      case XK_Num_Lock:
      case XK_Scroll_Lock:
        locks |= modifiers;
        break;
      default:
        break;
    }
  }
  alt_ = lowest(alt_);
  super_ = lowest(super_ & ~alt_);
  findLockVariants(locks & ~(alt_ | super_ | ShiftMask | ControlMask));
}

/// In rising order, so that the last has all.
void PresentKeymap::findLockVariants(unsigned locks) {
  for (unsigned variant = 0; variant <= locks; ++variant) {
    if ((variant & ~locks) == 0) lockVariants_.push_back(variant);
  }
}

void PresentKeymap::sign() {
  signature_ = {alt_, super_, locks()};
  for (const Keycode keycode : keymap_->keycodes()) {
    if (keymap_->modifiersSetBy(keycode) != 0) signature_.push_back(keycode);
    if (KeyPlaces::virtualCode(keycode) < 0x100) signature_.push_back(keymap_->symbolAt(keycode, 0, group_));
  }
}

std::optional<std::string> PresentKeymap::text(std::uint16_t virtualCode) const {
  const auto keycode = KeyPlaces::keycode(virtualCode);
  if (!keycode) return std::nullopt;
  return KeySymbols::name(display_, keymap_->symbolAt(*keycode, 0, group_));
}

std::optional<unsigned> PresentKeymap::modifiersOf(std::uint64_t shortcutModifiers) const {
  const std::pair<std::uint64_t, unsigned> all[] = {{DictationShortcut::kShift, ShiftMask},
                                                    {DictationShortcut::kControl, ControlMask},
                                                    {DictationShortcut::kOption, alt_},
                                                    {DictationShortcut::kCommand, super_}};
  unsigned modifiers = 0;
  for (const auto& [bit, mask] : all) {
    if ((shortcutModifiers & bit) == 0) continue;
    if (mask == 0) return std::nullopt;
    modifiers |= mask;
  }
  return modifiers;
}

std::uint64_t PresentKeymap::shortcutModifiers(const std::set<Keycode>& held) const {
  unsigned modifiers = 0;
  for (const Keycode keycode : held) modifiers |= keymap_->modifiersSetBy(keycode);
  return ((modifiers & ShiftMask) != 0 ? DictationShortcut::kShift : 0) |
         ((modifiers & ControlMask) != 0 ? DictationShortcut::kControl : 0) |
         ((modifiers & alt_) != 0 ? DictationShortcut::kOption : 0) |
         ((modifiers & super_) != 0 ? DictationShortcut::kCommand : 0);
}

}  // namespace quillet
