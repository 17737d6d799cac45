// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <variant>

namespace quillet::XSettings {

/// By names such as "Net/ThemeName". Colours are left out.
using Values = std::map<std::string, std::variant<std::int32_t, std::string>>;

/// The window of the desktop's settings daemon; 0 without one.
unsigned long daemon();
/// What the desktop's settings daemon tells all programs of the environment's display; empty without one.
Values read();
/// From the bytes that a daemon gives; of damaged ones, what stands before the damage.
Values parse(std::span<const std::uint8_t> bytes);

}  // namespace quillet::XSettings
