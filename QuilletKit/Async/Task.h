// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/system/system_error.hpp>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "QuilletKit/Async/Event.h"

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

namespace detail {

// co_spawn posts a coroutine that was never suspended once more before it tells its end, by a co_await outside of any
// try: a cancellation from within the work would be thrown there, past the completion handler and out of the executor.
// So no await throws any more once the work has ended.

template <typename T>
Awaitable<T> guarded(Awaitable<T> work) {
  std::optional<T> result;
  std::exception_ptr error;
  try {
    result.emplace(co_await std::move(work));
  } catch (...) {
    error = std::current_exception();
  }
  co_await boost::asio::this_coro::throw_if_cancelled(false);
  if (error) std::rethrow_exception(error);
  co_return std::move(*result);
}

inline Awaitable<void> guarded(Awaitable<void> work) {
  std::exception_ptr error;
  try {
    co_await std::move(work);
  } catch (...) {
    error = std::current_exception();
  }
  co_await boost::asio::this_coro::throw_if_cancelled(false);
  if (error) std::rethrow_exception(error);
}

}  // namespace detail

/// A named handle for at most one cancellable unit of work on an executor (the main thread, as a rule).
/// Starting replaces; destruction cancels. A body may cancel, replace or destroy its own task. Use from the executor's
/// own thread only. A body that ends in an exception other than a cancellation is a programming error and stops the
/// process with a log line.
class Task {
 private:
  struct State {
    boost::asio::cancellation_signal signal;
    Event ended;
    std::shared_ptr<State> before;  ///< What the same task started earlier, if it hasn't ended yet.
    bool begun = false;
    bool cancelled = false;
    bool finished = false;

    void finish() {
      finished = true;
      ended.wake();
    }
  };

 public:
  /// One piece of work, as others see it: they ask whether it is still wanted, and wait for its end. A copy of it
  /// may outlive everything.
  class Token {
   public:
    /// Of nothing: cancelled, and ended.
    Token() = default;
    /// The task was cancelled, replaced or destroyed.
    bool cancelled() const { return !state_ || state_->cancelled; }
    /// Resumes when the body and all that the task started before it have ended, whether cancelled or done. Not for
    /// the body itself.
    Awaitable<void> ended() const { return wait(state_); }

   private:
    friend class Task;
    friend class Lifetime;
    explicit Token(std::shared_ptr<State> state) : state_(std::move(state)) {}
    static Awaitable<void> wait(std::shared_ptr<State> state);
    std::shared_ptr<State> state_;
  };

  explicit Task(Executor executor) : executor_(std::move(executor)) {}
  ~Task() { cancel(); }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  /// Cancels what runs and starts `body`, a callable that gives Awaitable<void> and may take a Token. The callable
  /// lives as long as its coroutine; a task that is cancelled before its first step never calls it. The first step
  /// may run inside this call when that is made on the executor, unless the executor always posts.
  template <typename Body>
  void start(Body body) {
    cancel();
    auto before = std::exchange(state_, std::make_shared<State>());
    while (before && before->finished) before = before->before;
    state_->before = std::move(before);
    boost::asio::co_spawn(executor_, run(state_, std::move(body)), Completion{state_});
  }

  void cancel();
  bool running() const { return state_ && !state_->finished && !state_->cancelled; }
  /// The work that was started last, cancelled or not. Taken before a `start`, the new work can wait for the old one:
  ///
  ///     task.start([before = task.token(), this]() -> Awaitable<void> {
  ///       co_await before.ended();
  Token token() const { return Token(state_); }

 private:
  friend class Lifetime;
  // Names its slot itself: for a handler wrapped by bind_cancellation_slot, co_spawn carries a cancellation to the
  // executor by a pointer that may dangle when it gets there; for this form it passes it on at once.
  struct Completion {
    using cancellation_slot_type = boost::asio::cancellation_slot;
    std::shared_ptr<State> state;
    cancellation_slot_type get_cancellation_slot() const noexcept { return state->signal.slot(); }
    void operator()(const std::exception_ptr& error) const;
  };
  template <typename Body>
  static Awaitable<void> run(std::shared_ptr<State> state, Body body) {
    if (state->cancelled) co_return;
    state->begun = true;
    if constexpr (std::is_invocable_v<Body&, const Token&>) {
      co_await detail::guarded(body(Token(state)));
    } else {
      co_await detail::guarded(body());
    }
  }

  Executor executor_;
  std::shared_ptr<State> state_;
};

/// Gives tokens that are cancelled when it is destroyed: for operations on an object that others run and that the
/// object may not outlive.
class Lifetime {
 public:
  Lifetime() : state_(std::make_shared<Task::State>()) {}
  ~Lifetime() {
    state_->cancelled = true;
    state_->finish();
  }
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;
  Task::Token token() const { return Task::Token(state_); }

 private:
  std::shared_ptr<Task::State> state_;
};

/// Work that may outlive its starter on purpose. Errors other than cancellations are treated as Task does.
void startDetached(const Executor& executor, std::function<Awaitable<void>()> body);

}  // namespace quillet
