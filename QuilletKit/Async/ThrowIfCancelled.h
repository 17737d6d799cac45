// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/error.hpp>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Throws as a cancelled suspension does. For work that went on although it was cancelled: its outcome is then dropped.
inline Awaitable<void> throwIfCancelled() {
  if (!isCancelled(co_await boost::asio::this_coro::cancellation_state)) co_return;
  throw boost::system::system_error(boost::asio::error::operation_aborted);
}

}  // namespace quillet
