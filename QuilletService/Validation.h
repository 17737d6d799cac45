// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "QuilletKit/Base/Crypto.h"
#include "QuilletKit/Protocol/WireModels.h"

/// The forms that requests must keep. All throw ServiceError 400.
namespace quillet::Validation {

/// 32 raw bytes in base64url. `what` names the key in the message.
Crypto::Key publicKey(std::string_view text, std::string_view what);
/// A display name: 1 to 256 characters as people count them, of any kind, since a device that is refused its own name
/// can't register.
void requireName(std::string_view name);
/// A name that the other side tidies up before it shows it: any text of at most 256 characters.
void requireNameSize(std::string_view name);
/// An id that a client chose.
void requireId(std::string_view id, std::string_view what);
/// The routing fields of an envelope are those of the request that carries it.
void requireRoute(const Envelope& envelope, EnvelopePurpose purpose, std::string_view from, std::string_view to);
bool fitsRoute(const Envelope& envelope, EnvelopePurpose purpose, std::string_view from, std::string_view to);

}  // namespace quillet::Validation
