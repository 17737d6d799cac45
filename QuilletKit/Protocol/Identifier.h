// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

/// The forms of ids.
namespace quillet::Identifier {

/// An id of an utterance, a request, a session or a device can be one segment of a path as it stands: 1 to 128
/// printable ASCII characters, none of "?", "#", "%", "/", "\\", "|", and neither "." nor "..".
bool canStandInPath(std::string_view id);
/// 32 lowercase hexadecimal characters.
bool isDevice(std::string_view id);

}  // namespace quillet::Identifier
