// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/X11Keyboard.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>

#include <algorithm>
#include <array>

#include "QuilletCompanion/Platform/Linux/X11/KeySymbols.h"
#include "QuilletCompanion/Platform/Linux/X11/XTestDevices.h"

namespace quillet {
namespace {

constexpr unsigned shortcutModifiers = ControlMask | Mod1Mask | Mod4Mask;
/// On the root window: keycodes that we assigned, each with the keysyms of its levels, so that a later run can free
/// them.
constexpr const char* borrowedProperty = "_QUILLET_BORROWED_KEYS";
constexpr unsigned long recordLength = 1 + XkbKeymap::mostLevels;

bool dropsKeys(Display* display) {
  XkbDescRec keyboard{};
  keyboard.device_spec = XkbUseCoreKbd;
  const bool told = XkbGetControls(display, XkbAllControlsMask, &keyboard) == Success;
  const auto enabled = told ? keyboard.ctrls->enabled_ctrls : 0;
  XkbFreeControls(&keyboard, XkbAllControlsMask, True);  // some are there even if it failed
  return (enabled & (XkbSlowKeysMask | XkbBounceKeysMask)) != 0;
}

bool isDown(const std::array<char, 32>& keys, unsigned keycode) {
  return (static_cast<unsigned char>(keys.at(keycode / 8)) >> (keycode % 8) & 1U) != 0;
}

}  // namespace

X11Keyboard::X11Keyboard(const std::string& display) : connection_(display) {
  if (usable()) setUp();
}

bool X11Keyboard::connect() {
  if (!connection_.usable() && connection_.reopen()) setUp();
  return usable();
}

void X11Keyboard::setUp() {
  if (!usable()) return;
  keymap_.reset();
  others_.clear();
  borrowed_.clear();
  changed_ = true;
  auto* const x = connection_.get();
  const X11ErrorTrap trap(connection_);
  XkbQueryExtension(x, nullptr, &xkbEventBase_, nullptr, nullptr, nullptr);
  findDevices();
  selectEvents();
  unmapped_ = XCreateWindow(x, DefaultRootWindow(x), 0, 0, 1, 1, 0, 0, InputOnly, nullptr, 0, nullptr);
  adoptLeftovers();
  restore();
}

X11Keyboard::~X11Keyboard() {
  restore();
}

X11Keyboard::State X11Keyboard::state() {
  State found;
  if (!usable()) return found;
  const X11ErrorTrap trap(connection_);
  XkbStateRec state{};
  std::array<char, 32> down{};
  XkbGetState(connection_.get(), XkbUseCoreKbd, &state);
  XQueryKeymap(connection_.get(), down.data());
  const unsigned lasting = state.base_mods | state.locked_mods;
  found.shortcutHeld = (state.mods & shortcutModifiers) != 0;
  found.level = keymap_ == nullptr ? 0 : keymap_->levelOf(lasting);
  const unsigned known = keymap_ == nullptr ? 0 : keymap_->modifiersOf(found.level);
  found.otherHeld = (lasting & ~(shortcutModifiers | LockMask | Mod2Mask | known)) != 0;
  found.latched = state.latched_mods & ~shortcutModifiers;
  found.capsLock = (state.mods & LockMask) != 0;
  found.grabbed = isGrabbed();
  found.selective = dropsKeys(connection_.get());
  found.group = state.group;
  for (unsigned keycode = 0; keycode < 256; ++keycode) {
    if (isDown(down, keycode)) found.held.insert(static_cast<Keycode>(keycode));
  }
  return found;
}

/// A grab to a window that isn't shown never succeeds, and the server says first if there is another one.
bool X11Keyboard::isGrabbed() const {
  return XGrabKeyboard(connection_.get(), unmapped_, False, GrabModeAsync, GrabModeAsync, CurrentTime) ==
         AlreadyGrabbed;
}

/// Those behind the core keyboard that gets this client's events. XTEST's is the core keyboard itself if the display
/// doesn't tell.
void X11Keyboard::findDevices() {
  auto* const x = connection_.get();
  device_ = XkbUseCoreKbd;
  otherDevices_.clear();
  int pointer = 0;
  int count = 0;
  if (XIGetClientPointer(x, None, &pointer) == False) return;
  auto* const devices = XIQueryDevice(x, XIAllDevices, &count);
  if (devices == nullptr) return;
  const std::span all(devices, static_cast<std::size_t>(count));
  const auto core = std::ranges::find(all, pointer, &XIDeviceInfo::deviceid);
  for (const auto& device : all) {
    if (core == all.end() || device.use != XISlaveKeyboard || device.attachment != core->attachment) continue;
    const auto id = static_cast<unsigned>(device.deviceid);
    if (isXTestDevice(x, device.deviceid)) {
      device_ = id;
    } else {
      otherDevices_.push_back(id);
    }
  }
  XIFreeDeviceInfo(devices);
}

void X11Keyboard::selectEvents() const {
  constexpr auto events = XkbNewKeyboardNotifyMask | XkbMapNotifyMask;
  for (const unsigned device : {unsigned{XkbUseCoreKbd}, device_}) {
    XkbSelectEvents(connection_.get(), device, events, events);
  }
  for (const unsigned device : otherDevices_) XkbSelectEvents(connection_.get(), device, events, events);
}

void X11Keyboard::readOthers() {
  others_.clear();
  if (device_ == XkbUseCoreKbd) return;  // a change of that is one of all
  for (const unsigned device : otherDevices_) {
    auto keymap = XkbKeymap::read(connection_.get(), device);
    if (keymap != nullptr && keymap->levels() == keymap_->levels()) others_.push_back(std::move(keymap));
  }
}

bool X11Keyboard::layoutChanged() {
  if (!usable()) return false;
  const X11ErrorTrap trap(connection_);
  return drainEvents() || keymap_ == nullptr;
}

/// The server drops the release of a key that isn't pressed, but takes its keyboard for the one in use.
bool X11Keyboard::becomeCurrent() {
  if (!usable()) return false;
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  drainEvents();
  changed_ = false;
  std::array<char, 32> down{};
  XQueryKeymap(x, down.data());
  unsigned keycode = 255;
  while (keycode > 8 && isDown(down, keycode)) --keycode;
  press(static_cast<Keycode>(keycode), false);
  XSync(x, False);
  if (!drainEvents()) return false;
  findDevices();  // the other one may be new
  selectEvents();
  return true;
}

bool X11Keyboard::drainEvents() {
  while (connection_.usable() && XPending(connection_.get()) > 0) {
    XEvent event;
    XNextEvent(connection_.get(), &event);
    changed_ = changed_ || event.type == xkbEventBase_ || event.type == MappingNotify;
  }
  return changed_;
}

X11Keyboard::Layout X11Keyboard::readLayout(unsigned group) {
  Layout layout;
  keymap_.reset();
  if (!usable()) return layout;
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  changed_ = false;
  keymap_ = XkbKeymap::read(x, device_);
  if (keymap_ == nullptr) return layout;
  readOthers();
  std::erase_if(borrowed_, [&](const auto& entry) { return keymap_->symbols(entry.first) != entry.second; });
  for (const Keycode keycode : keymap_->keycodes()) {
    const auto known = borrowed_.find(keycode);
    const bool ours = known != borrowed_.end();
    const bool borrowable = ours || keymap_->isFree(keycode);
    for (unsigned level = 0; level < keymap_->levels(); ++level) {
      const KeymapPlan::Place place{level, keycode};
      if (borrowable) {
        layout.borrowable[place] = ours ? KeySymbols::character(x, known->second[level]) : std::nullopt;
      } else if (const auto character = KeySymbols::character(x, keymap_->symbolAt(keycode, level, group))) {
        const auto native = layout.natives.try_emplace(*character, place).first;
        native->second = std::min(native->second, place);
      }
    }
  }
  return layout;
}

bool X11Keyboard::assign(const std::vector<KeymapPlan::Assignment>& assignments) {
  std::map<Keycode, XkbKeymap::Symbols> keys;
  for (const auto& [place, character] : assignments) {
    const auto known = borrowed_.find(place.keycode);
    const auto present = known == borrowed_.end() ? XkbKeymap::Symbols{} : known->second;
    keys.try_emplace(place.keycode, present).first->second.at(place.level) = KeySymbols::of(character);
  }
  return change(keys);
}

void X11Keyboard::restore() {
  if (borrowed_.empty() || !usable()) return;
  readLayout(0);
  std::map<Keycode, XkbKeymap::Symbols> keys;
  for (const auto& entry : borrowed_) keys[entry.first] = {};
  change(keys);
}

bool X11Keyboard::post(std::span<const KeymapPlan::Stroke> strokes, const State& state) {
  if (!usable() || keymap_ == nullptr) return false;
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  unsigned level = state.level;
  announce(true);
  if (state.latched != 0) XkbLatchModifiers(x, XkbUseCoreKbd, state.latched, 0);
  if (state.capsLock) XkbLockModifiers(x, XkbUseCoreKbd, LockMask, 0);
  for (const auto& [place, borrowed] : strokes) {
    setLevel(level, place.level);
    level = place.level;
    press(place.keycode, true);
    press(place.keycode, false);
  }
  setLevel(level, state.level);
  if (state.capsLock) XkbLockModifiers(x, XkbUseCoreKbd, LockMask, LockMask);
  announce(false);
  XSync(x, False);
  return usable();
}

/// The server hands this on between the events of other keys and those of ours.
void X11Keyboard::announce(bool begins) const {
  if (witness_ == 0) return;
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = witness_;
  event.xclient.message_type = XInternAtom(connection_.get(), typingMessage, False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = begins ? 1 : 0;
  XSendEvent(connection_.get(), witness_, False, NoEventMask, &event);
}

void X11Keyboard::setLevel(unsigned from, unsigned to) {
  const unsigned changed = from ^ to;
  if ((changed & KeyLevel::shift) != 0) press(keymap_->shiftKey(), (to & KeyLevel::shift) != 0);
  if ((changed & KeyLevel::third) != 0) press(keymap_->thirdLevelKey(), (to & KeyLevel::third) != 0);
}

void X11Keyboard::press(Keycode keycode, bool down) {
  XTestFakeKeyEvent(connection_.get(), keycode, down ? True : False, 0);
}

/// A run that was killed wrote down what it had assigned. What has another meaning by now isn't touched.
void X11Keyboard::adoptLeftovers() {
  auto* const x = connection_.get();
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  XGetWindowProperty(x, DefaultRootWindow(x), XInternAtom(x, borrowedProperty, False), 0, 256 * recordLength, False,
                     XA_CARDINAL, &type, &format, &count, &rest, &data);
  if (data != nullptr && type == XA_CARDINAL && format == 32) {
    const auto* const values = reinterpret_cast<const unsigned long*>(data);
    for (unsigned long i = 0; i + recordLength <= count; i += recordLength) {
      std::copy_n(values + i + 1, XkbKeymap::mostLevels, borrowed_[static_cast<Keycode>(values[i])].begin());
    }
  }
  if (data != nullptr) XFree(data);
}

/// A key without symbols is free again.
bool X11Keyboard::change(const std::map<Keycode, XkbKeymap::Symbols>& keys) {
  if (!usable() || keymap_ == nullptr) return false;
  const X11ErrorTrap trap(connection_);
  const auto before = borrowed_;
  for (const auto& [keycode, symbols] : keys) {
    borrowed_[keycode] = symbols;
    if (symbols == XkbKeymap::Symbols{}) borrowed_.erase(keycode);
  }
  // In one go with the change, so that whoever kills us gets both or neither.
  recordBorrowed();
  const bool written = keymap_->write(connection_.get(), keys);
  for (const auto& other : others_) {
    auto possible = keys;
    std::erase_if(possible, [&](const auto& key) {
      const auto known = before.find(key.first);
      const bool ours = known != before.end() && other->symbols(key.first) == known->second;
      return !ours && !other->isFree(key.first);
    });
    other->write(connection_.get(), possible);
  }
  XSync(connection_.get(), False);
  return written && usable();
}

void X11Keyboard::recordBorrowed() {
  auto* const x = connection_.get();
  std::vector<unsigned long> values;
  for (const auto& [keycode, symbols] : borrowed_) {
    values.push_back(keycode);
    values.insert(values.end(), symbols.begin(), symbols.end());
  }
  const Atom name = XInternAtom(x, borrowedProperty, False);
  if (values.empty()) {
    XDeleteProperty(x, DefaultRootWindow(x), name);
    return;
  }
  XChangeProperty(x, DefaultRootWindow(x), name, XA_CARDINAL, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(values.data()), static_cast<int>(values.size()));
}

}  // namespace quillet
