// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

namespace quillet {

/// A keyboard's places by their two numbers: the virtual code that a shortcut is stored with, and the keycode of an X
/// display whose keys are numbered as the Linux kernel does. A key that has no virtual code gets one of its own, which
/// lies above all others and holds the keycode.
namespace KeyPlaces {

std::uint16_t virtualCode(std::uint8_t keycode);
/// Absent for a virtual code without a key.
std::optional<std::uint8_t> keycode(std::uint16_t virtualCode);

}  // namespace KeyPlaces
}  // namespace quillet
