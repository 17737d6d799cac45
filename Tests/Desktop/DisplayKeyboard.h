// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <vector>

// Their macros must come last.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>

namespace quillet::test {

/// The display's keyboard as any other program sees it.
class DisplayKeyboard {
 public:
  ~DisplayKeyboard() { XCloseDisplay(display_); }
  std::vector<KeySym> symbols() const {
    int width = 0;
    KeySym* const raw = XGetKeyboardMapping(display_, 8, 248, &width);
    const std::vector<KeySym> found(raw, raw + std::size_t{248} * static_cast<std::size_t>(width));
    XFree(raw);
    return found;
  }
  XkbStateRec state() const {
    XkbStateRec found{};
    XkbGetState(display_, XkbUseCoreKbd, &found);
    return found;
  }
  bool nothingHeld() const {
    std::array<char, 32> down{};
    XQueryKeymap(display_, down.data());
    return state().mods == 0 && std::all_of(down.begin(), down.end(), [](char keys) { return keys == 0; });
  }
  void lockGroup(unsigned group) const {
    XkbLockGroup(display_, XkbUseCoreKbd, group);
    XSync(display_, False);
  }
  int grabKeyboard() const {
    return XGrabKeyboard(display_, DefaultRootWindow(display_), False, GrabModeAsync, GrabModeAsync, CurrentTime);
  }
  void ungrabKeyboard() const {
    XUngrabKeyboard(display_, CurrentTime);
    XSync(display_, False);
  }

 private:
  _XDisplay* display_ = XOpenDisplay(nullptr);
};

}  // namespace quillet::test
