// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// Asks the window manager to show a window of ours on every desktop, and in no list of windows. To be called before
/// the window is shown; nothing happens without an X display.
void accompanyUser(unsigned long window);

}  // namespace quillet
