// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuilletKit/Base/Bytes.h"

namespace quillet::Base64URL {

/// Unpadded base64url: "-" and "_" for "+" and "/", no "=".
std::string encode(ByteView bytes);

/// Accepts both alphabets and completes missing padding; absent for a text that is no base64.
/// Non-zero trailing bits are accepted.
std::optional<Bytes> decode(std::string_view text);

}  // namespace quillet::Base64URL
