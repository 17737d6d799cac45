// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>

#include "QuilletKit/RunOn.h"
#include "QuilletKit/Task.h"

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

/// The test's own thread as a main thread, run until something awaited has happened. Declare it before a NetworkThread:
/// what is under way there when that ends still posts here.
class MainThread {
 public:
  Executor executor() { return context_.get_executor(); }

  /// False if it hasn't come true within the bound.
  bool runUntil(const std::function<bool()>& happened, std::chrono::seconds bound = std::chrono::seconds(20)) {
    const auto guard = boost::asio::make_work_guard(context_);
    const auto deadline = std::chrono::steady_clock::now() + bound;
    context_.restart();
    while (!happened() && std::chrono::steady_clock::now() < deadline) {
      context_.run_one_until(std::min(deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(50)));
    }
    return happened();
  }

  /// Runs a coroutine to its end, and gives its result or throws its error.
  template <typename T>
  T await(Awaitable<T> operation) {
    std::optional<T> result;
    std::exception_ptr error;
    bool finished = false;
    boost::asio::co_spawn(context_, std::move(operation), [&](std::exception_ptr failure, T value) {
      error = failure;
      result = std::move(value);
      finished = true;
    });
    if (!runUntil([&] { return finished; }, std::chrono::seconds(90)))
      throw std::logic_error("an awaited operation didn't end");
    if (error) std::rethrow_exception(error);
    return std::move(*result);
  }

 private:
  boost::asio::io_context context_;
};

/// Lets the two finish what they have to tell each other, so that either may go.
inline void settle(MainThread& main, NetworkThread& network) {
  const auto nothing = []() -> Awaitable<bool> { co_return true; };
  for (int i = 0; i < 5; ++i) main.await(runOn(network.executor(), nothing()));
}

}  // namespace quillet::test
