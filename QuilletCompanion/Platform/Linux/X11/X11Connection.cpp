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

X11Connection::X11Connection(const std::string& display) {
  int major = XkbMajorVersion;
  int minor = XkbMinorVersion;
  display_ = XOpenDisplay(display.empty() ? nullptr : display.c_str());
  if (display_ == nullptr) return;
  ourDisplays().insert(display_);
  putUpHandler();
  XSetIOErrorExitHandler(
      display_,
      [](Display*, void* self) {
        static_cast<X11Connection*>(self)->broken_ = true;
        Log::info("insertion", "A connection to the X display broke");
      },
      this);
  broken_ = XkbQueryExtension(display_, nullptr, nullptr, nullptr, &major, &minor) == False;
  int ignored = 0;
  xtest_ = XTestQueryExtension(display_, &ignored, &ignored, &ignored, &ignored) != False;
  // Toolkits grab the server for moments; one that is stopped in such a moment must not hold us up.
  if (xtest_) XTestGrabControl(display_, True);
  XSync(display_, False);
}

X11Connection::~X11Connection() {
  if (display_ == nullptr) return;
  XCloseDisplay(display_);
  ourDisplays().erase(display_);
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
