// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <set>
#include <utility>

#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr std::chrono::seconds reopensAfter{5};
/// A server that didn't let one of us in is not waited for again.
bool wasSilent = false;

/// Of the innermost trap.
Display* watched = nullptr;
int firstError = 0;

int ignoreError(Display* display, XErrorEvent* event) {
  if (display == watched && firstError == 0) firstError = event->error_code;
  return 0;
}

/// The display of every connection of ours that is open.
std::set<Display*>& ourDisplays() {
  static std::set<Display*> displays;
  return displays;
}

XIOErrorHandler handlerOfOthers = nullptr;

/// Toolkits put up a handler that ends the process whichever connection broke.
int surviveLossOfOurs(Display* display) {
  return ourDisplays().contains(display) || handlerOfOthers == nullptr ? 0 : handlerOfOthers(display);
}

void putUpHandler() {
  const auto previous = XSetIOErrorHandler(surviveLossOfOurs);
  if (previous != surviveLossOfOurs) handlerOfOthers = previous;
}

}  // namespace

void X11Connection::Close::operator()(_XDisplay* display) const {
  XCloseDisplay(display);
}

X11Connection::X11Connection(const std::string& display, Waits waits) : name_(display), waits_(waits) {
  XInitThreads();
  open();
  wasSilent = !opening_->wait(wasSilent ? std::chrono::milliseconds(0) : ServerWatch::limit);
  takeOpened();
}

X11Connection::~X11Connection() {
  close();
}

void X11Connection::open() {
  nextOpening_ = std::chrono::steady_clock::now() + reopensAfter;
  opening_.emplace([name = name_] {
    return std::unique_ptr<_XDisplay, Close>(XOpenDisplay(name.empty() ? nullptr : name.c_str()));
  });
}

/// False also while it is still being opened.
bool X11Connection::takeOpened() {
  if (!opening_->wait({})) return false;
  display_ = opening_->take().release();
  opening_.reset();
  if (display_ == nullptr) return false;
  wasSilent = false;
  setUp();
  return usable();
}

bool X11Connection::reopen() {
  if (usable()) return true;
  if (opening_) return takeOpened();
  if (std::chrono::steady_clock::now() >= nextOpening_) {
    close();
    open();
  }
  return false;
}

void X11Connection::close() {
  if (display_ == nullptr) return;
  auto& watch = ServerWatch::shared();
  const int descriptor = ConnectionNumber(display_);
  watch.add(descriptor);
  if (usable()) {
    const ServerWait wait;
    XSync(display_, False);
  }
  watch.remove(descriptor);
  XCloseDisplay(display_);  // has nothing left to wait for
  ourDisplays().erase(display_);
  display_ = nullptr;
}

void X11Connection::setUp() {
  int major = XkbMajorVersion;
  int minor = XkbMinorVersion;
  const ServerWait wait;
  broken_ = false;
  if (waits_ == Waits::bounded) ServerWatch::shared().add(ConnectionNumber(display_));
  ourDisplays().insert(display_);
  putUpHandler();
  XSetIOErrorExitHandler(
      display_,
      [](Display*, void* self) {
        static_cast<X11Connection*>(self)->broken_ = true;
        Log::info("insertion", "A connection to the X display broke");
      },
      this);
  if (XkbQueryExtension(display_, nullptr, nullptr, nullptr, &major, &minor) == False) broken_ = true;
  int ignored = 0;
  xtest_ = XTestQueryExtension(display_, &ignored, &ignored, &ignored, &ignored) != False;
  // Toolkits grab the server for moments; one that is stopped in such a moment must not hold us up.
  if (xtest_) XTestGrabControl(display_, True);
  XSync(display_, False);
}

X11ErrorTrap::X11ErrorTrap(const X11Connection& connection)
    : connection_(connection),
      outerWatched_(std::exchange(watched, connection.get())),
      outerError_(std::exchange(firstError, 0)),
      previous_(reinterpret_cast<void (*)()>(XSetErrorHandler(ignoreError))) {}

X11ErrorTrap::~X11ErrorTrap() {
  if (connection_.usable()) XSync(connection_.get(), False);
  XSetErrorHandler(reinterpret_cast<XErrorHandler>(previous_));
  watched = outerWatched_;
  firstError = outerError_;
}

int X11ErrorTrap::error() const {
  if (connection_.usable()) XSync(connection_.get(), False);
  return firstError;
}

}  // namespace quillet
