// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// Sleeps on Qt's event loop, which wake no other thread. Main thread only. Whoever still sleeps at its end never goes
/// on.
class MainLoopTimers {
 public:
  MainLoopTimers() = default;
  MainLoopTimers(const MainLoopTimers&) = delete;
  MainLoopTimers& operator=(const MainLoopTimers&) = delete;

  /// The same clocks, for coroutines of the main thread: sleeps of a second and more are ours. Shorter ones stay with
  /// `precise`, since the event loop rounds to milliseconds.
  TimeSource lasting(TimeSource precise);

 private:
  Awaitable<void> sleep(Duration duration);

  QObject life_;
};

}  // namespace quillet
