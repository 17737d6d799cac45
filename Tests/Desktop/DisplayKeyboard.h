// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <vector>

// Their macros must come last.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput.h>
#include <X11/extensions/XTest.h>

namespace quillet::test {

/// The display's keyboard as any other program sees it, and the keys of the user's own one. Runs with Xvfb alone.
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
  /// What the keys of the user's own keyboard write, with nothing held.
  std::vector<KeySym> ownSymbols() const {
    XkbDescRec* const map = XkbGetMap(display_, XkbAllClientInfoMask, static_cast<unsigned>(ownId()));
    std::vector<KeySym> found;
    for (int key = map->min_key_code; key <= map->max_key_code; ++key) {
      found.push_back(XkbKeyNumSyms(map, key) == 0 ? NoSymbol : XkbKeySymEntry(map, key, 0, 0));
    }
    XkbFreeKeyboard(map, XkbAllComponentsMask, True);
    return found;
  }
  /// As another program does by XTEST.
  void press(unsigned keycode, bool down = true) const {
    XTestFakeKeyEvent(display_, keycode, down ? True : False, 0);
    XSync(display_, False);
  }
  void release(unsigned keycode) const { press(keycode, false); }
  void tap(unsigned keycode) const {
    press(keycode);
    release(keycode);
  }
  /// As the user's fingers do.
  void pressOwn(unsigned keycode) const {
    XDevice* const device = XOpenDevice(display_, ownId());
    for (const int down : {True, False}) {
      XTestFakeDeviceKeyEvent(display_, device, keycode, down, nullptr, 0, CurrentTime);
    }
    XCloseDevice(display_, device);
    XSync(display_, False);
  }
  XID ownId() const {
    int count = 0;
    XDeviceInfo* const devices = XListInputDevices(display_, &count);
    XID found = None;
    for (const auto& device : std::span(devices, static_cast<std::size_t>(count))) {
      if (std::string_view(device.name) == "Xvfb keyboard") found = device.id;
    }
    XFreeDeviceList(devices);
    return found;
  }
  /// Switches controls like XkbBounceKeysMask on or off.
  void control(unsigned controls, bool on) const {
    XkbChangeEnabledControls(display_, XkbUseCoreKbd, controls, on ? controls : 0);
    XSync(display_, False);
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
