// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "QuilletKit/Async/Task.h"

namespace quillet {

namespace Clock {
/// Wall-clock time in milliseconds since 1970-01-01 UTC, rounded to nearest.
std::int64_t now();
}  // namespace Clock

using Duration = std::chrono::nanoseconds;
using MonotonicTime = std::chrono::steady_clock::time_point;

/// The clocks and the sleep that a service is given, so that tests run in virtual time.
struct TimeSource {
  /// Wall clock, milliseconds since 1970-01-01 UTC.
  std::function<std::int64_t()> now;
  std::function<MonotonicTime()> monotonic;
  /// Suspends on the monotonic clock; throws boost::system::system_error(operation_aborted) when cancelled.
  std::function<Awaitable<void>(Duration)> sleep;
};

/// The real clocks. Sleeps wait on `timers` and resume on the caller's own executor.
TimeSource systemTime(Executor timers);

}  // namespace quillet
