// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11Keyboard.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>

namespace quillet {
namespace {

constexpr unsigned long unicodeKeysyms = 0x01000000;
constexpr unsigned shortcutModifiers = ControlMask | Mod1Mask | Mod4Mask;
/// On the root window: pairs of keycode and keysym that we assigned, so that a later run can free them.
constexpr const char* borrowedProperty = "_QUILLET_BORROWED_KEYCODES";

bool isLatin1(unsigned long value) {
  return (value >= 0x20 && value <= 0x7e) || (value >= 0xa0 && value <= 0xff);
}

unsigned long keysymOf(char32_t character) {
  return isLatin1(character) ? character : unicodeKeysyms | character;
}

/// What a key of the layout writes; the older keysyms are known to Xlib under a UTF-8 locale only.
std::optional<char32_t> characterOf(Display* display, KeySym keysym) {
  if (isLatin1(keysym)) return static_cast<char32_t>(keysym);
  if ((keysym & 0xff000000) == unicodeKeysyms) return static_cast<char32_t>(keysym & 0xffffff);
  if (keysym < 0x100 || keysym >= 0xfe00) return std::nullopt;
  std::array<char, 16> text{};
  const int length = XkbTranslateKeySym(display, &keysym, 0, text.data(), static_cast<int>(text.size()), nullptr);
  if (length < 2 || length > static_cast<int>(text.size())) return std::nullopt;
  UChar32 character = 0;
  int position = 0;
  U8_NEXT(text.data(), position, length, character);
  return character < 0 || position != length ? std::nullopt : std::optional(static_cast<char32_t>(character));
}

}  // namespace

struct X11Keyboard::Keymap {
  XkbDescPtr xkb = nullptr;
  ~Keymap() {
    if (xkb != nullptr) XkbFreeKeyboard(xkb, XkbAllComponentsMask, True);
  }
  std::optional<KeySym> onlySymbol(Keycode keycode) const {
    if (keycode < xkb->min_key_code || keycode > xkb->max_key_code || XkbKeyNumSyms(xkb, keycode) != 1) return {};
    return XkbKeySym(xkb, keycode, 0);
  }
  bool isFree(Keycode keycode) const {
    if (xkb->map->modmap != nullptr && xkb->map->modmap[keycode] != 0) return false;
    const auto* symbols = XkbKeySymsPtr(xkb, keycode);
    return std::all_of(symbols, symbols + XkbKeyNumSyms(xkb, keycode), [](KeySym s) { return s == NoSymbol; });
  }
  KeySym symbolAt(Keycode keycode, unsigned modifiers, unsigned group) const {
    KeySym found = NoSymbol;
    unsigned consumed = 0;
    XkbTranslateKeyCode(xkb, keycode, XkbBuildCoreState(modifiers, group), &consumed, &found);
    return found;
  }
};

X11Keyboard::X11Keyboard(const std::string& display) : connection_(display) {
  if (!connection_.usable()) return;
  auto* const x = connection_.get();
  int ignored = 0;
  xtest_ = XTestQueryExtension(x, &ignored, &ignored, &ignored, &ignored) != False;
  if (!usable()) return;
  const X11ErrorTrap trap(connection_);
  XkbQueryExtension(x, nullptr, &xkbEventBase_, nullptr, nullptr, nullptr);
  // A menu that has grabbed the server must not hold us up.
  XTestGrabControl(x, True);
  XkbSelectEvents(x, XkbUseCoreKbd, XkbNewKeyboardNotifyMask | XkbMapNotifyMask,
                  XkbNewKeyboardNotifyMask | XkbMapNotifyMask);
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
  const unsigned active = state.mods;
  found.shortcutHeld = (active & shortcutModifiers) != 0;
  found.shiftingHeld = (active & ~(shortcutModifiers | LockMask | Mod2Mask)) != 0;
  found.capsLock = (active & LockMask) != 0;
  found.group = state.group;
  for (unsigned keycode = 0; keycode < 256; ++keycode) {
    if ((static_cast<unsigned char>(down[keycode / 8]) >> (keycode % 8) & 1U) != 0) {
      found.held.insert(static_cast<Keycode>(keycode));
    }
  }
  return found;
}

bool X11Keyboard::layoutChanged() {
  if (!usable()) return false;
  const X11ErrorTrap trap(connection_);
  bool changed = keymap_ == nullptr;
  while (connection_.usable() && XPending(connection_.get()) > 0) {
    XEvent event;
    XNextEvent(connection_.get(), &event);
    changed = changed || event.type == xkbEventBase_ || event.type == MappingNotify;
  }
  return changed;
}

X11Keyboard::Layout X11Keyboard::readLayout(unsigned group) {
  Layout layout;
  keymap_.reset();
  if (!usable()) return layout;
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  auto* const xkb = XkbGetMap(x, XkbAllClientInfoMask | XkbModifierMapMask, XkbUseCoreKbd);
  if (xkb == nullptr) return layout;
  keymap_ = std::make_unique<Keymap>();
  keymap_->xkb = xkb;
  shiftKey_ = XKeysymToKeycode(x, XK_Shift_L);
  std::erase_if(borrowed_, [&](const auto& entry) { return keymap_->onlySymbol(entry.first) != entry.second; });
  for (unsigned code = xkb->min_key_code; code <= xkb->max_key_code; ++code) {
    const auto keycode = static_cast<Keycode>(code);
    if (const auto known = borrowed_.find(keycode); known != borrowed_.end()) {
      layout.borrowable[keycode] = characterOf(x, known->second);
    } else if (keymap_->isFree(keycode)) {
      layout.borrowable[keycode] = std::nullopt;
    } else {
      const auto plain = characterOf(x, keymap_->symbolAt(keycode, 0, group));
      const auto shifted = characterOf(x, keymap_->symbolAt(keycode, ShiftMask, group));
      if (plain) layout.natives.insert_or_assign(*plain, KeymapPlan::NativeKey{keycode, false});
      if (shifted && shiftKey_ != 0) layout.natives.try_emplace(*shifted, KeymapPlan::NativeKey{keycode, true});
    }
  }
  return layout;
}

bool X11Keyboard::assign(const std::vector<KeymapPlan::Assignment>& assignments) {
  std::map<Keycode, unsigned long> symbols;
  for (const auto& [keycode, character] : assignments) symbols[keycode] = keysymOf(character);
  return change(symbols);
}

void X11Keyboard::restore() {
  if (borrowed_.empty() || !usable()) return;
  readLayout(0);
  std::map<Keycode, unsigned long> symbols;
  for (const auto& entry : borrowed_) symbols[entry.first] = NoSymbol;
  change(symbols);
}

bool X11Keyboard::post(const std::vector<KeymapPlan::Stroke>& strokes, bool capsLock) {
  if (!usable()) return false;
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  bool shift = false;
  if (capsLock) XkbLockModifiers(x, XkbUseCoreKbd, LockMask, 0);
  for (const auto& stroke : strokes) {
    if (stroke.shifted != shift) press(shiftKey_, stroke.shifted);
    shift = stroke.shifted;
    press(stroke.keycode, true);
    press(stroke.keycode, false);
  }
  if (shift) press(shiftKey_, false);
  if (capsLock) XkbLockModifiers(x, XkbUseCoreKbd, LockMask, LockMask);
  XSync(x, False);
  return usable();
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
  XGetWindowProperty(x, DefaultRootWindow(x), XInternAtom(x, borrowedProperty, False), 0, 512, False, XA_CARDINAL,
                     &type, &format, &count, &rest, &data);
  if (data != nullptr && type == XA_CARDINAL && format == 32) {
    const auto* const values = reinterpret_cast<const unsigned long*>(data);
    for (unsigned long i = 0; i + 1 < count; i += 2) borrowed_[static_cast<Keycode>(values[i])] = values[i + 1];
  }
  if (data != nullptr) XFree(data);
}

/// Sets the only symbol of each keycode; NoSymbol frees it.
bool X11Keyboard::change(const std::map<Keycode, unsigned long>& symbols) {
  if (!usable() || keymap_ == nullptr || symbols.empty()) return usable() && symbols.empty();
  const X11ErrorTrap trap(connection_);
  auto* const xkb = keymap_->xkb;
  XkbMapChangesRec changes{};
  int oneLevel = XkbOneLevelIndex;
  for (const auto& [keycode, symbol] : symbols) {
    const int groups = symbol == NoSymbol ? 0 : 1;
    if (XkbChangeTypesOfKey(xkb, keycode, groups, XkbGroup1Mask, &oneLevel, &changes) != Success) return false;
    if (symbol == NoSymbol) {
      borrowed_.erase(keycode);
    } else {
      XkbKeySymEntry(xkb, keycode, 0, 0) = symbol;
      borrowed_[keycode] = symbol;
    }
  }
  changes.changed |= XkbKeySymsMask;
  changes.first_key_sym = symbols.begin()->first;
  changes.num_key_syms = static_cast<unsigned char>(symbols.rbegin()->first - symbols.begin()->first + 1);
  recordBorrowed();
  const bool sent = XkbChangeMap(connection_.get(), xkb, &changes) != False;
  XSync(connection_.get(), False);
  return sent && usable();
}

void X11Keyboard::recordBorrowed() {
  auto* const x = connection_.get();
  std::vector<unsigned long> values;
  for (const auto& [keycode, symbol] : borrowed_) values.insert(values.end(), {keycode, symbol});
  const Atom name = XInternAtom(x, borrowedProperty, False);
  if (values.empty()) {
    XDeleteProperty(x, DefaultRootWindow(x), name);
    return;
  }
  XChangeProperty(x, DefaultRootWindow(x), name, XA_CARDINAL, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(values.data()), static_cast<int>(values.size()));
}

}  // namespace quillet
