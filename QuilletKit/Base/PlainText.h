// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace quillet {

/// Text from elsewhere (names, titles, messages) as part of a line on a terminal: what could begin a line of its own,
/// command the terminal or reorder what stands beside it becomes U+FFFD.
std::string plainText(std::string_view text);

}  // namespace quillet
