// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>
#include <vector>

/// Parts of a JSON text, byte for byte as they stand there. For texts that JSONCoding has read before: anything else
/// gives some part of it, or an empty view.
namespace quillet::JSONSlice {

/// An object's member, of repeated ones the last; empty if there is none.
std::string_view member(std::string_view object, std::string_view key);
/// An array's elements.
std::vector<std::string_view> elements(std::string_view array);

}  // namespace quillet::JSONSlice
