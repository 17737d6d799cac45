// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11Connection.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>

namespace quillet {
namespace {

int ignoreError(Display*, XErrorEvent*) {
  return 0;
}

}  // namespace

X11Connection::X11Connection(const std::string& display) {
  int major = XkbMajorVersion;
  int minor = XkbMinorVersion;
  display_ = XOpenDisplay(display.empty() ? nullptr : display.c_str());
  if (display_ == nullptr) return;
  XSetIOErrorExitHandler(
      display_, [](Display*, void* self) { static_cast<X11Connection*>(self)->broken_ = true; }, this);
  broken_ = XkbQueryExtension(display_, nullptr, nullptr, nullptr, &major, &minor) == False;
}

X11Connection::~X11Connection() {
  if (display_ != nullptr) XCloseDisplay(display_);
}

X11ErrorTrap::X11ErrorTrap(const X11Connection& connection)
    : connection_(connection), previous_(reinterpret_cast<void (*)()>(XSetErrorHandler(ignoreError))) {}

X11ErrorTrap::~X11ErrorTrap() {
  if (connection_.usable()) XSync(connection_.get(), False);
  XSetErrorHandler(reinterpret_cast<XErrorHandler>(previous_));
}

}  // namespace quillet
