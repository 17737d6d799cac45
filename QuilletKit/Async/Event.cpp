// SPDX-License-Identifier: MIT
#include "QuilletKit/Async/Event.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <map>

namespace quillet {

namespace asio = boost::asio;
using boost::system::error_code;

/// Those that wait, in the order in which they came.
struct Event::Waiters {
  /// A suspended coroutine. Owns it: destroyed instead of called, it takes the coroutine along.
  using Sleeper = asio::async_result<asio::use_awaitable_t<>, void(error_code, bool)>::handler_type;

  /// `woken` is what the coroutine's wait comes to.
  void resume(std::uint64_t id, error_code error, bool woken) {
    auto node = sleepers.extract(id);
    if (node.empty()) return;
    const auto executor = asio::get_associated_executor(node.mapped());
    asio::post(executor,
               [sleeper = std::move(node.mapped()), error, woken]() mutable { std::move(sleeper)(error, woken); });
  }

  std::map<std::uint64_t, Sleeper> sleepers;
  std::uint64_t lastId = 0;
};

Event::Event() : waiters_(std::make_shared<Waiters>()) {}

void Event::wake() {
  while (!waiters_->sleepers.empty()) waiters_->resume(waiters_->sleepers.begin()->first, {}, true);
}

asio::awaitable<bool> Event::wait(std::shared_ptr<Waiters> waiters, std::uint64_t id) {
  return asio::async_initiate<const asio::use_awaitable_t<>, void(error_code, bool)>(
      [](auto sleeper, const std::weak_ptr<Waiters>& weak, std::uint64_t own) {
        const auto list = weak.lock();
        if (!list) return;
        if (auto slot = asio::get_associated_cancellation_slot(sleeper); slot.is_connected()) {
          slot.assign([weak, own](asio::cancellation_type) {
            if (const auto alive = weak.lock()) alive->resume(own, asio::error::operation_aborted, false);
          });
        }
        list->sleepers.emplace(own, std::move(sleeper));
      },
      asio::use_awaitable, std::weak_ptr(waiters), id);
}

asio::awaitable<void> Event::wait() {
  co_await wait(waiters_, ++waiters_->lastId);
}

asio::awaitable<bool> Event::waitFor(std::chrono::nanoseconds limit) {
  const std::uint64_t id = ++waiters_->lastId;
  asio::steady_timer timer(co_await asio::this_coro::executor, limit);
  timer.async_wait([weak = std::weak_ptr(waiters_), id](error_code error) {
    if (const auto alive = weak.lock(); alive && !error) alive->resume(id, {}, false);
  });
  co_return co_await wait(waiters_, id);
}

}  // namespace quillet
