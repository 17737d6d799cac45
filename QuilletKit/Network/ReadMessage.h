// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/system/error_code.hpp>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Where the next part of a message goes.
inline auto roomForMessage(boost::beast::flat_buffer& buffer) {
  constexpr std::size_t kLeastRoom = 2048;
  return buffer.prepare(std::max(kLeastRoom, buffer.size()));
}

/// Reads one WebSocket message, appending it to `buffer`. Gives the error, if any; what is in `buffer` is then a part.
/// Unlike the stream's own async_read it may wait while async_close runs: that one asserts, between two fragments, on a
/// state that the close has meanwhile changed.
template <typename WebSocketStream>
Awaitable<boost::system::error_code> readMessage(WebSocketStream& stream, boost::beast::flat_buffer& buffer) {
  boost::system::error_code error;
  do {
    buffer.commit(co_await stream.async_read_some(roomForMessage(buffer),
                                                  boost::asio::redirect_error(boost::asio::use_awaitable, error)));
  } while (!error && !stream.is_message_done());
  co_return error;
}

}  // namespace quillet
