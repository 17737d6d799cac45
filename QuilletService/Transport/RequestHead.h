// SPDX-License-Identifier: MIT
#pragma once

#include <boost/beast/http/message.hpp>
#include <cstddef>
#include <string_view>

#include "QuilletService/ServiceError.h"

/// What a request's head must keep so that this program and a proxy before it can't take it for two different things.
/// All throw ServiceError, after which nothing more can be read from the connection.
namespace quillet::RequestHead {

using Header = boost::beast::http::request_header<>;

/// How many of the bytes are empty lines before a request.
std::size_t emptyLines(std::string_view bytes);
/// The length of the head that the bytes begin with, its empty line included; 0 while that hasn't come. `checked` is
/// where the search goes on, 0 at first.
std::size_t length(std::string_view bytes, std::size_t& checked);
/// What the parser lets pass: the target, the host, the body's framing, and what is signed.
void requireStrict(const Header& header);
/// The key of a WebSocket's opening handshake is 16 bytes in base64.
bool isWebSocketKey(std::string_view key);
/// A target's path and query, also where it is a whole URL.
std::string_view pathWithQuery(std::string_view target);

}  // namespace quillet::RequestHead
