// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/FrontWindow.h"

#include <QMetaObject>
#include <QSocketNotifier>
#include <QString>
#include <algorithm>
#include <memory>
#include <utility>

#include "QuilletKit/Base/Unicode.h"

// Last: its macros break other headers.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace quillet {
namespace {

struct XFreeDeleter {
  void operator()(void* data) const { XFree(data); }
};
template <typename T>
using XOwned = std::unique_ptr<T, XFreeDeleter>;

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

/// Windows name their class in Latin-1 by the rules, and in UTF-8 by custom.
std::string inUTF8(std::string text) {
  return Unicode::isValidUTF8(text) ? text : QString::fromLatin1(text.data(), qsizetype(text.size())).toStdString();
}

}  // namespace

bool WindowHandle::isSame(const ElementHandle& other) const {
  const auto* window = dynamic_cast<const WindowHandle*>(&other);
  return window != nullptr && window->id_ == id_;
}

FrontWindow::FrontWindow(const std::string& display) : connection_(display) {
  if (connection_.usable()) setUp();
}

/// Also again after a server that had stopped answering.
bool FrontWindow::connect() {
  if (connection_.usable()) return true;
  if (notifier_ != nullptr) {
    notifier_->setEnabled(false);
    std::exchange(notifier_, nullptr)->deleteLater();  // may be what called us
  }
  if (!connection_.reopen()) return false;
  setUp();
  return connection_.usable();
}

void FrontWindow::setUp() {
  const X11ErrorTrap trap(connection_);
  followed_ = 0;
  last_ = {};
  current_ = false;
  const auto atom = [this](const char* name) { return XInternAtom(connection_.get(), name, False); };
  activeWindow_ = atom("_NET_ACTIVE_WINDOW");
  windowPID_ = atom("_NET_WM_PID");
  gtkApplicationId_ = atom("_GTK_APPLICATION_ID");
  utf8String_ = atom("UTF8_STRING");
  unmapped_ = XCreateWindow(connection_.get(), DefaultRootWindow(connection_.get()), 0, 0, 1, 1, 0, 0, InputOnly,
                            nullptr, 0, nullptr);
  watch();
}

FrontWindow::~FrontWindow() {
  delete notifier_;
}

/// A grab to a window that isn't shown never succeeds, and the server says first if there is another one.
bool FrontWindow::isKeyboardTaken() const {
  if (!connection_.usable()) return false;
  const X11ErrorTrap trap(connection_);
  return XGrabKeyboard(connection_.get(), unmapped_, False, GrabModeAsync, GrabModeAsync, CurrentTime) ==
         AlreadyGrabbed;
}

void FrontWindow::watch() {
  XSelectInput(connection_.get(), DefaultRootWindow(connection_.get()), PropertyChangeMask);
  followActive();
  notifier_ = new QSocketNotifier(ConnectionNumber(connection_.get()), QSocketNotifier::Read);
  QObject::connect(notifier_, &QSocketNotifier::activated, &context_, [this] { readEvents(); });
}

bool FrontWindow::isChange(const _XEvent& event) const {
  if (event.type == PropertyNotify) {
    return event.xproperty.atom == activeWindow_ || event.xproperty.atom == windowPID_ || isNewName(event);
  }
  // Some window managers leave the property alone when the last window goes.
  return event.type == DestroyNotify && event.xdestroywindow.window == followed_;
}

/// Some programs tell who they are only after their window has come up.
bool FrontWindow::isNewName(const _XEvent& event) const {
  return event.type == PropertyNotify && event.xproperty.window == followed_ &&
         (event.xproperty.atom == XA_WM_CLASS || event.xproperty.atom == gtkApplicationId_);
}

void FrontWindow::readEvents() {
  bool changed = false;
  while (connection_.usable() && XPending(connection_.get()) > 0) {
    XEvent event;
    XNextEvent(connection_.get(), &event);
    current_ = false;
    if (!isChange(event)) continue;
    changed = true;
    if (isNewName(event)) last_ = {};
    followActive();
  }
  if (!connection_.usable() && notifier_ != nullptr) notifier_->setEnabled(false);
  if (changed && onChange) onChange();
}

void FrontWindow::followActive() {
  const X11ErrorTrap trap(connection_);
  const auto window = number(DefaultRootWindow(connection_.get()), activeWindow_, XA_WINDOW).value_or(0);
  if (followed_ != 0 && followed_ != window) XSelectInput(connection_.get(), followed_, NoEventMask);
  // Also if it was followed already: ids of windows that went away are given again.
  if (window != 0) XSelectInput(connection_.get(), window, StructureNotifyMask | PropertyChangeMask);
  followed_ = window;
  current_ = false;
}

/// One question to the server, whose answer comes after every event until now.
bool FrontWindow::isUnchanged() const {
  if (!current_ || !connection_.usable()) return false;
  const ServerWait wait;
  XSync(connection_.get(), False);
  return connection_.usable() && XEventsQueued(connection_.get(), QueuedAlready) == 0;
}

std::optional<FrontWindow::Owner> FrontWindow::owner() {
  if (isUnchanged()) return last_;
  if (!connect()) return std::nullopt;
  auto found = look();
  // Events that came with the replies no longer make the socket readable.
  if (connection_.usable() && XEventsQueued(connection_.get(), QueuedAlready) > 0) {
    QMetaObject::invokeMethod(
        &context_, [this] { readEvents(); }, Qt::QueuedConnection);
  }
  return found;
}

std::optional<FrontWindow::Owner> FrontWindow::look() {
  const X11ErrorTrap trap(connection_);
  current_ = false;
  const auto window = number(DefaultRootWindow(connection_.get()), activeWindow_, XA_WINDOW);
  if (!window || *window == 0) return std::nullopt;
  const auto pid = number(*window, windowPID_, XA_CARDINAL);
  if (!pid || *pid == 0) return std::nullopt;
  if (last_.window != *window || last_.pid != static_cast<std::int32_t>(*pid)) {
    last_ = {.window = *window, .pid = static_cast<std::int32_t>(*pid)};
    identify(last_);
  }
  current_ = last_.window == followed_;
  return last_;
}

std::optional<unsigned long> FrontWindow::number(unsigned long window, unsigned long property,
                                                 unsigned long type) const {
  Atom actual = 0;
  int format = 0;
  unsigned long count = 0, rest = 0;
  unsigned char* raw = nullptr;
  const int status =
      XGetWindowProperty(connection_.get(), window, property, 0, 1, False, type, &actual, &format, &count, &rest, &raw);
  const XOwned<unsigned char> data(raw);
  if (status != Success || !data || actual != type || format != 32 || count < 1) return std::nullopt;
  return *reinterpret_cast<const unsigned long*>(data.get());
}

std::string FrontWindow::text(unsigned long window, unsigned long property) const {
  Atom actual = 0;
  int format = 0;
  unsigned long count = 0, rest = 0;
  unsigned char* raw = nullptr;
  const int status = XGetWindowProperty(connection_.get(), window, property, 0, 256, False, utf8String_, &actual,
                                        &format, &count, &rest, &raw);
  const XOwned<unsigned char> data(raw);
  if (status != Success || !data || format != 8) return {};
  return inUTF8({reinterpret_cast<const char*>(data.get()), count});
}

void FrontWindow::identify(Owner& owner) const {
  XClassHint hint{};
  if (XGetClassHint(connection_.get(), owner.window, &hint) != 0) {
    const XOwned<char> instance(hint.res_name), name(hint.res_class);
    if (name) owner.windowClass = inUTF8(name.get());
  }
  owner.id = text(owner.window, gtkApplicationId_);
  if (owner.id.empty()) owner.id = lowered(owner.windowClass);
}

}  // namespace quillet
