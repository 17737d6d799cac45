// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// Sleeps on Qt's event loop, which wake no other thread. Main thread only. Destroyed before the loop whose executor it
/// was given; who still sleeps then never goes on.
class MainLoopTimers {
 public:
  explicit MainLoopTimers(Executor mainThread) : mainThread_(std::move(mainThread)) {}
  MainLoopTimers(const MainLoopTimers&) = delete;
  MainLoopTimers& operator=(const MainLoopTimers&) = delete;

  /// The same clocks, for coroutines of the main thread: sleeps of a second and more are ours. Shorter ones stay with
  /// `precise`, since the event loop rounds to milliseconds.
  TimeSource lasting(TimeSource precise);

 private:
  class Sleeper;
  Awaitable<void> sleep(Duration duration);

  Executor mainThread_;
  QObject sleepers_;
};

}  // namespace quillet
