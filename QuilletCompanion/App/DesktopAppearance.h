// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// How the user wants windows to look, as the desktop tells it.
struct DesktopAppearance {
  bool isDark = false;
  bool hasHighContrast = false;
  bool reducesMotion = false;

  bool operator==(const DesktopAppearance&) const = default;
};

}  // namespace quillet
