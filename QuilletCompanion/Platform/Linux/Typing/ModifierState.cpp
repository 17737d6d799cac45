// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Typing/ModifierState.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>

namespace quillet {

bool ModifierState::modifiersDown() {
  constexpr unsigned shortcutModifiers = ControlMask | Mod1Mask | Mod4Mask;
  if (!connection_.usable() && !connection_.reopen()) return false;
  const X11ErrorTrap trap(connection_);
  XkbStateRec state{};
  if (XkbGetState(connection_.get(), XkbUseCoreKbd, &state) != Success || !connection_.usable()) return false;
  return (state.base_mods & shortcutModifiers) != 0;
}

}  // namespace quillet
