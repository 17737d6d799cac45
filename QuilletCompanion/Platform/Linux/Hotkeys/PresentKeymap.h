// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "QuilletCompanion/Platform/Linux/X11/XkbKeymap.h"

namespace quillet {

/// What a display's keys and modifiers mean to shortcuts, as it was when it was read. Main thread only.
class PresentKeymap {
 public:
  /// Absent if the display doesn't tell. Errors of the display are the caller's to trap.
  static std::unique_ptr<PresentKeymap> read(_XDisplay* display);

  /// What the key at that place writes with nothing held, or its symbol's name; absent for none.
  std::optional<std::string> text(std::uint16_t virtualCode) const;
  /// The X modifiers of a shortcut's; absent if the keymap lacks one.
  std::optional<unsigned> modifiersOf(std::uint64_t shortcutModifiers) const;
  /// The shortcut modifiers that keys have while held.
  std::uint64_t shortcutModifiers(const std::set<Keycode>& held) const;
  /// All sets of X modifiers that count as none: the locks.
  const std::vector<unsigned>& lockVariants() const { return lockVariants_; }
  unsigned locks() const { return lockVariants_.back(); }

  /// Nothing that is told here differs.
  bool isSame(const PresentKeymap& other) const { return signature_ == other.signature_; }

 private:
  PresentKeymap(_XDisplay* display, std::unique_ptr<XkbKeymap> keymap, unsigned group);
  void findModifiers();
  void findLockVariants(unsigned locks);
  void sign();

  _XDisplay* display_;
  std::unique_ptr<XkbKeymap> keymap_;
  unsigned group_;
  unsigned alt_ = 0, super_ = 0;
  std::vector<unsigned> lockVariants_;
  std::vector<unsigned long> signature_;
};

}  // namespace quillet
