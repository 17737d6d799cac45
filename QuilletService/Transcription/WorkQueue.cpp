// SPDX-License-Identifier: MIT
#include "QuilletService/Transcription/WorkQueue.h"

#include <boost/asio/error.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace quillet {

Awaitable<WorkQueue::Turn> WorkQueue::take() {
  if (working_ < atOnce_) {
    ++working_;
    co_return Turn(*this);
  }
  Waiter waiter(executor_);
  const auto place = waiting_.insert(waiting_.end(), &waiter);
  boost::system::error_code woken;
  co_await waiter.called.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, woken));
  if (!waiter.itsTurn) {
    waiting_.erase(place);
    throw boost::system::system_error(boost::asio::error::operation_aborted);
  }
  Turn turn(*this);
  if (isCancelled(co_await boost::asio::this_coro::cancellation_state)) {
    throw boost::system::system_error(boost::asio::error::operation_aborted);
  }
  co_return turn;
}

/// Whoever waits longest takes the place over.
void WorkQueue::release() {
  if (waiting_.empty()) {
    --working_;
    return;
  }
  Waiter& next = *waiting_.front();
  waiting_.pop_front();
  next.itsTurn = true;
  next.called.cancel();
}

}  // namespace quillet
