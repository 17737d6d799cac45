// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/system/system_error.hpp>
#include <exception>
#include <functional>
#include <memory>
#include <utility>

namespace quillet {

using Executor = boost::asio::any_io_executor;
template <typename T>
using Awaitable = boost::asio::awaitable<T>;

/// True for the exception that a cancelled suspension throws.
bool isCancellation(const std::exception_ptr& error) noexcept;
bool isCancellation(const std::exception& error) noexcept;

/// Use as: if (isCancelled(co_await boost::asio::this_coro::cancellation_state)) ...
inline bool isCancelled(const boost::asio::cancellation_state& state) {
  return state.cancelled() != boost::asio::cancellation_type::none;
}

/// A named handle for at most one cancellable unit of work on an executor (the main thread, as a rule).
/// Starting replaces; destruction cancels. Use from the executor's own thread only. A body that ends in an exception
/// other than a cancellation is a programming error and stops the process with a log line.
class Task {
 public:
  explicit Task(Executor executor) : executor_(std::move(executor)) {}
  ~Task() { cancel(); }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  /// Cancels what runs and starts `body`, a callable that gives Awaitable<void>. The callable lives as long as its
  /// coroutine. The first step runs from the executor, not inside this call.
  template <typename Body>
  void start(Body body) {
    cancel();
    state_ = std::make_shared<State>();
    boost::asio::co_spawn(executor_, run(std::move(body)),
                          boost::asio::bind_cancellation_slot(state_->signal.slot(), Completion{state_}));
  }

  void cancel();
  bool running() const { return state_ && !state_->finished; }

 private:
  struct State {
    boost::asio::cancellation_signal signal;
    bool finished = false;
  };
  struct Completion {
    std::shared_ptr<State> state;
    void operator()(std::exception_ptr error) const;
  };
  template <typename Body>
  static Awaitable<void> run(Body body) {
    co_await body();
  }

  Executor executor_;
  std::shared_ptr<State> state_;
};

/// Work that may outlive its starter on purpose. Errors other than cancellations are treated as Task does.
void startDetached(const Executor& executor, std::function<Awaitable<void>()> body);

}  // namespace quillet
