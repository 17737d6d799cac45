// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "QuilletCompanion/Platform/Linux/Typing/KeymapPlan.h"

// Xlib's own headers define macros like None and Bool; only sources include them.
struct _XDisplay;
struct _XkbDesc;

namespace quillet {

/// The keymap of one of a display's keyboards, as it was when it was read. Main thread only.
class XkbKeymap {
 public:
  static constexpr unsigned mostLevels = 4;
  /// What a key of ours writes at each level; 0 for nothing.
  using Symbols = std::array<unsigned long, mostLevels>;

  /// Nothing if the display doesn't tell. Errors of the display are the caller's to trap. `device` is as XKB knows it.
  static std::unique_ptr<XkbKeymap> read(_XDisplay* display, unsigned device);
  ~XkbKeymap();
  XkbKeymap(const XkbKeymap&) = delete;
  XkbKeymap& operator=(const XkbKeymap&) = delete;

  std::vector<Keycode> keycodes() const;
  /// It writes nothing and is no modifier.
  bool isFree(Keycode keycode) const;
  /// Absent for a key that can't be one of ours.
  std::optional<Symbols> symbols(Keycode keycode) const;
  unsigned long symbolAt(Keycode keycode, unsigned level, unsigned group) const;
  /// The X modifiers that the key sets while it is held; 0 for an ordinary one.
  unsigned modifiersSetBy(Keycode keycode) const;
  /// How many levels a key of ours gets: as many as there are modifier keys to choose among them.
  unsigned levels() const { return thirdLevelKey_ != 0 ? 4 : shiftKey_ != 0 ? 2 : 1; }
  Keycode shiftKey() const { return shiftKey_; }
  Keycode thirdLevelKey() const { return thirdLevelKey_; }
  /// The X modifiers that choose a level, and the level that modifiers choose.
  unsigned modifiersOf(unsigned level) const;
  unsigned levelOf(unsigned modifiers) const;

  /// Gives each key its symbols, on the display's keyboard and here, in one request; none at all frees the key.
  /// Keys between them are written as they were read.
  bool write(_XDisplay* display, const std::map<Keycode, Symbols>& keys);

 private:
  explicit XkbKeymap(_XkbDesc* xkb);
  void findLevels();
  Keycode keyThatSets(unsigned modifiers) const;

  _XkbDesc* xkb_;
  Keycode shiftKey_ = 0;
  Keycode thirdLevelKey_ = 0;
  unsigned thirdLevelModifier_ = 0;
  int type_ = 0;
};

}  // namespace quillet
