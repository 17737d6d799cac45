// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// "%" and two upper-case hexadecimal digits for each byte that can't stand for itself.
namespace quillet::PercentCoding {

void append(std::string& text, char byte);
/// RFC 3986's unreserved characters stand for themselves.
std::string encode(std::string_view text);
/// Absent for a "%" without two digits.
std::optional<std::string> decode(std::string_view text);

}  // namespace quillet::PercentCoding
