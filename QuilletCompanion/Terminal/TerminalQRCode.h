// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace quillet {

/// A QR code of error correction level "M" in half-block characters, dark modules drawn as blanks on a light ground,
/// with the quiet zone of four modules. Empty if the content doesn't fit a code.
std::string terminalQRCode(std::string_view content);

}  // namespace quillet
