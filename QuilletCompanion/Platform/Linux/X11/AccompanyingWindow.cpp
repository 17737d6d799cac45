// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/AccompanyingWindow.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <array>

#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"

namespace quillet {
namespace {

template <std::size_t count>
void setProperty(Display* display, Window window, const char* name, Atom type,
                 const std::array<unsigned long, count>& values) {
  // Xlib takes 32 bits in each long.
  XChangeProperty(display, window, XInternAtom(display, name, False), type, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(values.data()), static_cast<int>(count));
}

}  // namespace

void accompanyUser(unsigned long window) {
  const X11Connection connection({});
  if (!connection.usable()) return;
  auto* const display = connection.get();
  const X11ErrorTrap trap(connection);
  const auto atom = [&](const char* name) { return XInternAtom(display, name, False); };
  constexpr unsigned long everyDesktop = 0xFFFFFFFF;
  setProperty(display, window, "_NET_WM_DESKTOP", XA_CARDINAL, std::array{everyDesktop});
  // The toolkit adds its own states to these when it shows the window.
  setProperty(display, window, "_NET_WM_STATE", XA_ATOM,
              std::array{atom("_NET_WM_STATE_SKIP_TASKBAR"), atom("_NET_WM_STATE_SKIP_PAGER")});
}

}  // namespace quillet
