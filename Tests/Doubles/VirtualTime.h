// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <list>

#include "QuilletKit/Async/Clock.h"

namespace quillet::test {

/// A main thread and clocks that move only on command. Outlives whoever sleeps: a sleeper that is left at its end fails
/// the test.
class VirtualTime {
  struct Sleeper {
    Duration deadline;
    boost::asio::steady_timer timer;
    bool due = false;
  };

  // Before the context, whose end destroys who still sleeps.
  std::list<Sleeper> sleepers_;

 public:
  boost::asio::io_context context;

  VirtualTime() = default;
  ~VirtualTime() {
    run();  // what was cancelled unwinds
    EXPECT_EQ(sleepers(), 0u) << "still asleep";
  }
  VirtualTime(const VirtualTime&) = delete;
  VirtualTime& operator=(const VirtualTime&) = delete;

  Executor executor() { return context.get_executor(); }

  TimeSource source() {
    return {.now = [this] { return wall + std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count(); },
            .monotonic = [this] { return MonotonicTime(elapsed); },
            .sleep = [this](Duration d) { return sleep(d); }};
  }

  /// Runs everything that is ready now.
  void run() {
    context.restart();
    while (context.poll() > 0) {
    }
  }

  /// Moves the clocks, waking sleepers in order of their deadlines and running what they start.
  void advance(Duration duration) {
    const Duration target = elapsed + duration;
    run();
    for (Sleeper* next = earliest(); next != nullptr && next->deadline <= target; next = earliest()) {
      elapsed = next->deadline;
      next->due = true;
      next->timer.cancel();
      run();
    }
    elapsed = target;
  }

  std::size_t sleepers() const { return sleepers_.size(); }

  std::int64_t wall = 1'760'000'000'000;
  Duration elapsed{0};

 private:
  Awaitable<void> sleep(Duration duration) {
    auto sleeper = sleepers_.insert(
        sleepers_.end(), Sleeper{elapsed + duration, boost::asio::steady_timer(context, MonotonicTime::max()), false});
    struct Removal {
      std::list<Sleeper>& list;
      std::list<Sleeper>::iterator position;
      ~Removal() { list.erase(position); }
    } const removal{sleepers_, sleeper};
    boost::system::error_code error;
    co_await sleeper->timer.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, error));
    if (!sleeper->due) throw boost::system::system_error(boost::asio::error::operation_aborted);
  }

  Sleeper* earliest() {
    Sleeper* found = nullptr;
    for (auto& sleeper : sleepers_) {
      if (!sleeper.due && (found == nullptr || sleeper.deadline < found->deadline)) found = &sleeper;
    }
    return found;
  }
};

}  // namespace quillet::test
