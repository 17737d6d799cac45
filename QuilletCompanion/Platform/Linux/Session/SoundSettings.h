// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace quillet {

/// Opens what the desktop has for microphones and levels; empty if nothing of that kind is installed.
std::function<void()> soundSettings();

}  // namespace quillet
