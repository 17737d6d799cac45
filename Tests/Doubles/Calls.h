// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "QuilletKit/Async/Task.h"

namespace quillet::test {

/// An operation under way in a task.
struct Attempt {
  explicit Attempt(const Executor& executor, std::function<Awaitable<void>()> operation = nullptr) : task(executor) {
    if (operation) start(std::move(operation));
  }
  void start(std::function<Awaitable<void>()> operation) {
    begun = false;
    outcome.clear();
    task.start([this, operation = std::move(operation)]() -> Awaitable<void> {
      begun = true;
      try {
        co_await operation();
        outcome = "done";
      } catch (const std::exception& error) {
        outcome = isCancellation(error) ? "cancelled" : error.what();
      }
    });
  }

  bool isOver() const { return !outcome.empty(); }

  bool begun = false;
  std::string outcome;  ///< How it ended: "done", "cancelled" or its error's text; empty until then.
  Task task;
};

/// Calls that hang until the test ends them, the oldest first. Use T = bool for calls that give nothing.
template <typename T>
class HeldCalls {
 public:
  ~HeldCalls() {
    for (const auto& each : held_) each->owner = nullptr;
  }

  /// With false a cancelled call goes on hanging, as one does that can't be broken off.
  bool obeysCancellation = true;

  Awaitable<T> call() {
    auto held = std::make_shared<Held>(co_await boost::asio::this_coro::executor, this);
    held_.push_back(held);
    const bool callerThrows = co_await boost::asio::this_coro::throw_if_cancelled();
    co_await boost::asio::this_coro::throw_if_cancelled(false);
    while (!held->result && !held->error) {
      boost::system::error_code ignored;
      co_await held->ended.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, ignored));
      const bool cancelled = isCancelled(co_await boost::asio::this_coro::cancellation_state);
      const bool obeys = held->owner == nullptr || obeysCancellation;
      if (!cancelled || !obeys || held->result || held->error) continue;
      if (held->owner != nullptr) std::erase(held_, held);
      held->error = std::make_exception_ptr(boost::system::system_error(boost::asio::error::operation_aborted));
    }
    co_await boost::asio::this_coro::throw_if_cancelled(callerThrows);
    if (held->error) std::rethrow_exception(held->error);
    co_return *held->result;
  }

  std::size_t size() const { return held_.size(); }
  void give(T value) {
    take([&](Held& held) { held.result = std::move(value); });
  }
  template <typename Error>
  void fail(Error error) {
    take([&](Held& held) { held.error = std::make_exception_ptr(std::move(error)); });
  }

 private:
  struct Held {
    Held(const Executor& executor, HeldCalls* owner)
        : ended(executor, boost::asio::steady_timer::time_point::max()), owner(owner) {}
    boost::asio::steady_timer ended;
    HeldCalls* owner;  ///< Null once it is gone.
    std::optional<T> result;
    std::exception_ptr error;
  };

  template <typename Change>
  void take(Change change) {
    auto held = held_.at(0);
    held_.pop_front();
    change(*held);
    held->ended.cancel();
  }

  std::deque<std::shared_ptr<Held>> held_;
};

}  // namespace quillet::test
