// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Hotkeys/X11SystemKeyboard.h"

#include <QMetaObject>
#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Hotkeys/KeyPlaces.h"
#include "QuilletCompanion/Platform/Linux/X11/X11Keyboard.h"
#include "QuilletCompanion/Platform/Linux/X11/XTestDevices.h"

// Last: their macros break other headers.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr auto keymapSettle = 250ms;
/// Between two keys, in ms of the server.
constexpr unsigned long longPause = 500;
constexpr int noDisplay = -1;
/// All modifiers; the rest of a key event's state are buttons and the layout's number.
constexpr unsigned modifierMask = 0xff;
constexpr std::uint16_t capsLock = 57;

template <typename Use>
void onEachScreen(Display* display, Use use) {
  for (int screen = 0; screen < ScreenCount(display); ++screen) use(RootWindow(display, screen));
}

bool isDown(const std::array<char, 32>& keys, unsigned keycode) {
  return (static_cast<unsigned char>(keys.at(keycode / 8)) >> (keycode % 8) & 1U) != 0;
}

}  // namespace

class X11SystemKeyboard::TakenGrab final : public Taken {
 public:
  TakenGrab(X11SystemKeyboard& keyboard, unsigned number) : keyboard_(keyboard), number_(number) {}
  ~TakenGrab() override {
    const auto grab = keyboard_.grabs_.extract(number_);
    keyboard_.ungrab(grab.mapped());
  }

 private:
  X11SystemKeyboard& keyboard_;
  unsigned number_;
};

class X11SystemKeyboard::TakenListener final : public Taken {
 public:
  TakenListener(X11SystemKeyboard& keyboard, unsigned number) : keyboard_(keyboard), number_(number) {}
  ~TakenListener() override {
    keyboard_.listeners_.erase(number_);
    keyboard_.listenersChanged();
  }

 private:
  X11SystemKeyboard& keyboard_;
  unsigned number_;
};

// What the server holds for us isn't asked for a second time, and most of what we wait for is the answer to its own
// word.
X11SystemKeyboard::X11SystemKeyboard(const std::string& display)
    : connection_(display, X11Connection::Waits::unbounded) {
  if (connection_.usable()) setUp();
}

void X11SystemKeyboard::setUp() {
  auto* const x = connection_.get();
  int error = 0;
  int event = 0;
  int major = 2;
  int minor = 2;
  XkbQueryExtension(x, nullptr, &xkbEvent_, nullptr, nullptr, nullptr);
  XkbSetDetectableAutoRepeat(x, True, nullptr);
  if (XQueryExtension(x, "XInputExtension", &xinput_, &event, &error) == False ||
      XIQueryVersion(x, &major, &minor) != Success) {
    xinput_ = 0;
  }
  typingMessage_ = XInternAtom(x, X11Keyboard::typingMessage, False);
  witness_ = XCreateWindow(x, DefaultRootWindow(x), 0, 0, 1, 1, 0, 0, InputOnly, nullptr, 0, nullptr);
  XFlush(x);
  settle_.setSingleShot(true);
  QObject::connect(&settle_, &QTimer::timeout, &context_, [this] { adoptKeymap(); });
  notifier_ = std::make_unique<QSocketNotifier>(ConnectionNumber(x), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, &context_, [this] { readEvents(); });
}

X11SystemKeyboard::~X11SystemKeyboard() = default;

bool X11SystemKeyboard::isReady() {
  if (witness_ == 0 && connection_.reopen()) setUp();  // a server that let us in late
  return connection_.usable() && keymapNow() != nullptr;
}

const PresentKeymap* X11SystemKeyboard::keymapNow() const {
  if (present_ != nullptr || !connection_.usable()) return present_.get();
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  constexpr auto events = XkbNewKeyboardNotifyMask | XkbMapNotifyMask;
  XkbSelectEvents(x, XkbUseCoreKbd, events, events);
  XkbSelectEventDetails(x, XkbUseCoreKbd, XkbStateNotify, XkbGroupStateMask, XkbGroupStateMask);
  present_ = PresentKeymap::read(x);
  readSoon();
  return present_.get();
}

SystemKeyboard::HotKey X11SystemKeyboard::registerHotKey(const DictationShortcut& shortcut,
                                                         std::function<void(bool)> onChange) {
  if (!isReady()) return {nullptr, noDisplay};
  const auto keycode = KeyPlaces::keycode(shortcut.keyCode);
  const auto modifiers = present_->modifiersOf(shortcut.modifiers);
  if (!keycode || !modifiers) return {nullptr, BadValue};
  Grab wanted{*keycode, *modifiers, present_->lockVariants(), std::move(onChange)};
  if (const int error = grab(wanted)) return {nullptr, error};
  grabs_.emplace(++lastNumber_, std::move(wanted));
  return {std::make_unique<TakenGrab>(*this, lastNumber_), 0};
}

/// The server lets one client grab a key twice, and takes no note of the other protocol's grabs.
int X11SystemKeyboard::grab(const Grab& wanted) {
  for (const auto& [number, known] : grabs_) {
    if (known.keycode == wanted.keycode && known.modifiers == wanted.modifiers) return BadAccess;
  }
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  onEachScreen(x, [&](Window root) {
    for (const unsigned locks : wanted.locks) {
      XGrabKey(x, wanted.keycode, wanted.modifiers | locks, root, False, GrabModeAsync, GrabModeAsync);
    }
  });
  int error = trap.error();
  if (error == 0) error = probe(wanted);
  if (error != 0) ungrab(wanted);
  readSoon();
  return connection_.usable() ? error : noDisplay;
}

/// Some desktops grab their keys by XInput, and would get ours first.
int X11SystemKeyboard::probe(const Grab& wanted) const {
  if (xinput_ == 0) return 0;
  auto* const x = connection_.get();
  std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
  XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
  int error = 0;
  onEachScreen(x, [&](Window root) {
    std::vector<XIGrabModifiers> all;
    for (const unsigned locks : wanted.locks) all.push_back({static_cast<int>(wanted.modifiers | locks), 0});
    const int count = static_cast<int>(all.size());
    auto failed = all;
    const int failures = XIGrabKeycode(x, XIAllMasterDevices, wanted.keycode, root, XIGrabModeAsync, XIGrabModeAsync,
                                       False, &mask, count, failed.data());
    if (failures != 0) error = BadAccess;
    XIUngrabKeycode(x, XIAllMasterDevices, wanted.keycode, root, count, all.data());
  });
  return error;
}

void X11SystemKeyboard::ungrab(const Grab& grab) const {
  if (!connection_.usable()) return;
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  onEachScreen(x, [&](Window root) {
    for (const unsigned locks : grab.locks) XUngrabKey(x, grab.keycode, grab.modifiers | locks, root);
  });
  readSoon();
}

std::unique_ptr<SystemKeyboard::Taken> X11SystemKeyboard::followKeys(OnKey onKey) {
  return listen({.onKey = std::move(onKey)});
}

std::unique_ptr<SystemKeyboard::Taken> X11SystemKeyboard::captureKeys(OnKey onKey) {
  return listen({.onKey = std::move(onKey), .captures = true});
}

std::unique_ptr<SystemKeyboard::Taken> X11SystemKeyboard::listen(Listener listener) {
  if (!isReady() || xinput_ == 0) return nullptr;
  listeners_.emplace(++lastNumber_, std::move(listener));
  const auto number = lastNumber_;
  listenersChanged();
  return std::make_unique<TakenListener>(*this, number);
}

void X11SystemKeyboard::listenersChanged() {
  if (!connection_.usable()) return;
  const X11ErrorTrap trap(connection_);
  auto* const x = connection_.get();
  const bool follow = !listeners_.empty();
  const bool capture = std::ranges::any_of(listeners_, [](const auto& entry) { return entry.second.captures; });
  if (follow != following_) {
    following_ = follow;
    selectRawKeys(follow);
    readHeldKeys();
  }
  if (capture != capturing_) {
    capturing_ = capture;
    capture ? void(XGrabKeyboard(x, DefaultRootWindow(x), False, GrabModeAsync, GrabModeAsync, CurrentTime))
            : void(XUngrabKeyboard(x, CurrentTime));
  }
  readSoon();
}

void X11SystemKeyboard::selectRawKeys(bool on) const {
  std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
  if (on) {
    XISetMask(bits.data(), XI_RawKeyPress);
    XISetMask(bits.data(), XI_RawKeyRelease);
  }
  XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
  XISelectEvents(connection_.get(), DefaultRootWindow(connection_.get()), &mask, 1);
}

void X11SystemKeyboard::readHeldKeys() {
  down_.clear();
  std::array<char, 32> keys{};
  if (following_) XQueryKeymap(connection_.get(), keys.data());
  for (unsigned keycode = 8; keycode < 256; ++keycode) {
    if (isDown(keys, keycode)) down_.insert(static_cast<Keycode>(keycode));
  }
}

std::optional<std::string> X11SystemKeyboard::keyText(std::uint16_t keyCode) const {
  const auto* const keymap = keymapNow();
  return keymap != nullptr ? keymap->text(keyCode) : std::nullopt;
}

/// Events that came with a reply no longer make the socket readable.
void X11SystemKeyboard::readSoon() const {
  if (!connection_.usable() || XEventsQueued(connection_.get(), QueuedAlready) == 0) return;
  auto* const self = const_cast<X11SystemKeyboard*>(this);
  QMetaObject::invokeMethod(
      &context_, [self] { self->readEvents(); }, Qt::QueuedConnection);
}

void X11SystemKeyboard::readEvents() {
  while (connection_.usable() && XPending(connection_.get()) > 0) {
    XEvent event;
    XNextEvent(connection_.get(), &event);
    handle(event);
  }
  if (!connection_.usable()) notifier_->setEnabled(false);
}

void X11SystemKeyboard::handle(XEvent& event) {
  auto* const x = connection_.get();
  if (event.type == KeyPress || event.type == KeyRelease) {
    // Also for a press that ends the capture: whoever recorded a shortcut by it doesn't want it to act yet.
    const bool captured = capturing_;
    // The server doesn't tell a client as raw what it has grabbed.
    handleKey({static_cast<Keycode>(event.xkey.keycode), event.type == KeyPress, 0, event.xkey.time});
    if (!captured) handleGrabbed(event);
  } else if (event.type == xkbEvent_ || event.type == MappingNotify) {
    if (!settle_.isActive()) settle_.start(keymapSettle);
  } else if (event.type == ClientMessage && event.xclient.message_type == typingMessage_) {
    typing_ = event.xclient.data.l[0] != 0;
  } else if (event.type == GenericEvent && event.xcookie.extension == xinput_ && XGetEventData(x, &event.xcookie)) {
    const auto& raw = *static_cast<const XIRawEvent*>(event.xcookie.data);
    const Key key{static_cast<Keycode>(raw.detail), raw.evtype == XI_RawKeyPress, raw.sourceid, raw.time};
    XFreeEventData(x, &event.xcookie);
    handleKey(key);
  }
}

/// While one of our keys is down, all others come here, too.
void X11SystemKeyboard::handleGrabbed(const XEvent& event) {
  if (present_ == nullptr) return;
  const bool pressed = event.type == KeyPress;
  const unsigned modifiers = event.xkey.state & modifierMask & ~present_->locks();
  std::vector<unsigned> numbers;  // who is told may register and unregister
  for (const auto& [number, grab] : grabs_) {
    if (grab.keycode == event.xkey.keycode && (!pressed || grab.modifiers == modifiers)) numbers.push_back(number);
  }
  for (const unsigned number : numbers) {
    const auto found = grabs_.find(number);
    if (found == grabs_.end()) continue;
    const auto onChange = found->second.onChange;
    onChange(pressed);
  }
}

void X11SystemKeyboard::handleKey(const Key& key) {
  if (!following_ || present_ == nullptr || isOurTyping(key.source)) return;
  KeyEvent event{.keyCode = KeyPlaces::virtualCode(key.keycode)};
  if (key.time - std::exchange(lastKeyTime_, key.time) > longPause) forgetStale(key);
  const bool changed = key.pressed ? down_.insert(key.keycode).second : down_.erase(key.keycode) != 0;
  if (!changed) return;  // a repeat, or told before
  if (modifierKey(event.keyCode) || event.keyCode == capsLock) event.kind = KeyEvent::Kind::modifiersChanged;
  if (event.kind == KeyEvent::Kind::keyDown && !key.pressed) return;
  for (const Keycode held : down_) {
    if (const auto modifier = modifierKey(KeyPlaces::virtualCode(held))) event.held.insert(*modifier);
  }
  event.modifiers = present_->shortcutModifiers(down_);
  tell(event);
}

bool X11SystemKeyboard::isOurTyping(int source) {
  if (!typing_) return false;
  const auto known = xtest_.find(source);
  if (known != xtest_.end()) return known->second;
  const X11ErrorTrap trap(connection_);
  return xtest_[source] = isXTestDevice(connection_.get(), source);
}

/// Keys of a keyboard that was unplugged, or that were let go while another session had the screen. Asked only after a
/// pause: the server's answer is later than the events that are still to be read. So a key that is let go now, after it
/// was held as long as that, is up already there; it isn't forgotten, or nobody would hear of its release.
void X11SystemKeyboard::forgetStale(const Key& now) {
  if (down_.empty()) return;
  const X11ErrorTrap trap(connection_);
  std::array<char, 32> keys{};
  XQueryKeymap(connection_.get(), keys.data());
  std::erase_if(down_, [&](Keycode keycode) {
    const bool isReleasedNow = keycode == now.keycode && !now.pressed;
    return !isReleasedNow && !isDown(keys, keycode);
  });
}

void X11SystemKeyboard::tell(const KeyEvent& event) {
  std::vector<unsigned> numbers;
  for (const auto& [number, listener] : listeners_) numbers.push_back(number);
  for (const unsigned number : numbers) {
    const auto found = listeners_.find(number);
    if (found == listeners_.end()) continue;
    const auto onKey = found->second.onKey;
    onKey(event);
  }
}

/// Our own typing changes the keymap often, but nothing of what shortcuts need.
void X11SystemKeyboard::adoptKeymap() {
  if (!connection_.usable()) return;
  const X11ErrorTrap trap(connection_);
  auto now = PresentKeymap::read(connection_.get());
  if (now != nullptr && (present_ == nullptr || !now->isSame(*present_))) {
    present_ = std::move(now);
    keymap.set(keymap.get() + 1);
  }
  readSoon();
}

}  // namespace quillet
