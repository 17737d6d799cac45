// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Bounds one step after the other. A timer for each step would be set and cancelled for every message; this one is
/// left to run out, and only then looks whether the step that it is for goes on. One thread; destruction ends it.
class Watchdog {
 public:
  /// `expired` is called each time a step takes too long.
  Watchdog(const Executor& executor, std::function<void()> expired)
      : state_(std::make_shared<State>(executor, std::move(expired))) {}
  ~Watchdog() {
    state_->expired = nullptr;
    state_->timer.cancel();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  /// A step begins, which takes the place of an earlier one.
  void watch(std::chrono::milliseconds limit) {
    state_->deadline = Clock::now() + limit;
    if (state_->deadline < state_->look) state_->lookAt(state_->deadline);
  }
  /// The step is over.
  void rest() { state_->deadline = kNever; }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr Clock::time_point kNever = Clock::time_point::max();

  struct State : std::enable_shared_from_this<State> {
    State(const Executor& executor, std::function<void()> action) : timer(executor), expired(std::move(action)) {}

    void lookAt(Clock::time_point time) {
      look = time;
      timer.expires_at(time);
      timer.async_wait([self = shared_from_this()](boost::system::error_code replaced) {
        if (!replaced) self->wake();
      });
    }

    void wake() {
      if (!expired || Clock::now() < look) return;  // destroyed, or set anew while this was on its way
      look = kNever;
      if (deadline == kNever) return;
      if (Clock::now() < deadline) return lookAt(deadline);
      deadline = kNever;
      expired();
    }

    boost::asio::steady_timer timer;
    std::function<void()> expired;
    Clock::time_point deadline = kNever, look = kNever;
  };

  std::shared_ptr<State> state_;
};

}  // namespace quillet
