// SPDX-License-Identifier: MIT
#include "QuilletKit/Async/Clock.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cmath>

#include "QuilletKit/Async/RunOn.h"

namespace quillet {
namespace {

Awaitable<void> wait(Duration duration) {
  boost::asio::steady_timer timer(co_await boost::asio::this_coro::executor);
  timer.expires_after(duration);
  co_await timer.async_wait(boost::asio::use_awaitable);
}

}  // namespace

std::int64_t Clock::now() {
  const std::chrono::duration<double> seconds = std::chrono::system_clock::now().time_since_epoch();
  return std::llround(seconds.count() * 1000.0);
}

TimeSource systemTime(Executor timers) {
  return {
      .now = [] { return Clock::now(); },
      .monotonic = [] { return std::chrono::steady_clock::now(); },
      .sleep = [timers](Duration duration) -> Awaitable<void> { co_await runOn(timers, wait(duration)); },
  };
}

}  // namespace quillet
