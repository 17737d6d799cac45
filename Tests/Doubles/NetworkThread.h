// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>
#include <type_traits>

#include "QuilletKit/Async/RunOn.h"
#include "QuilletKit/Async/Task.h"

namespace quillet::test {

/// An io_context that one thread of its own runs.
class NetworkThread {
 public:
  NetworkThread() : work_(context_.get_executor()), thread_([this] { context_.run(); }) {}
  ~NetworkThread() { stop(); }
  void stop() {
    context_.stop();
    if (thread_.joinable()) thread_.join();
  }
  Executor executor() { return context_.get_executor(); }

 private:
  boost::asio::io_context context_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
  std::thread thread_;
};

/// Runs the context until something awaited has happened; false if it hasn't within the bound.
inline bool runUntil(boost::asio::io_context& context, const std::function<bool()>& happened,
                     std::chrono::seconds bound = std::chrono::seconds(20)) {
  const auto guard = boost::asio::make_work_guard(context);
  const auto deadline = std::chrono::steady_clock::now() + bound;
  context.restart();
  while (!happened() && std::chrono::steady_clock::now() < deadline) {
    context.run_one_until(std::min(deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(20)));
  }
  return happened();
}

/// Runs a coroutine to its end there, and gives its result or throws its error.
template <typename T>
T await(boost::asio::io_context& context, Awaitable<T> operation) {
  using Result = std::conditional_t<std::is_void_v<T>, bool, T>;
  std::optional<Result> result;
  std::exception_ptr error;
  bool finished = false;
  const auto keep = [](Awaitable<T> work, std::optional<Result>& kept) -> Awaitable<void> {
    if constexpr (std::is_void_v<T>) {
      co_await std::move(work);
    } else {
      kept.emplace(co_await std::move(work));
    }
  };
  boost::asio::co_spawn(context, keep(std::move(operation), result), [&](std::exception_ptr failure) {
    error = failure;
    finished = true;
  });
  if (!runUntil(
          context, [&] { return finished; }, std::chrono::seconds(90)))
    throw std::logic_error("an awaited operation didn't end");
  if (error) std::rethrow_exception(error);
  if constexpr (!std::is_void_v<T>) return std::move(*result);
}

/// The test's own thread as a main thread. Declare it before a NetworkThread: what is under way there when that ends
/// still posts here.
class MainThread {
 public:
  Executor executor() { return context_.get_executor(); }
  bool runUntil(const std::function<bool()>& happened, std::chrono::seconds bound = std::chrono::seconds(20)) {
    return test::runUntil(context_, happened, bound);
  }
  template <typename T>
  T await(Awaitable<T> operation) {
    return test::await(context_, std::move(operation));
  }

 private:
  boost::asio::io_context context_;
};

/// Lets the two finish what they have to tell each other, so that either may go.
inline void settle(MainThread& main, NetworkThread& network) {
  const auto nothing = []() -> Awaitable<void> { co_return; };
  for (int i = 0; i < 5; ++i) main.await(runOn(network.executor(), nothing()));
}

}  // namespace quillet::test
