// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Qt/MainLoopTimers.h"

#include <QTimer>

#include "QuilletKit/Async/Event.h"

namespace quillet {
namespace {

constexpr std::chrono::seconds kShortest{1};

}  // namespace

TimeSource MainLoopTimers::lasting(TimeSource precise) {
  precise.sleep = [this, shortly = precise.sleep](Duration duration) {
    return duration < kShortest ? shortly(duration) : sleep(duration);
  };
  return precise;
}

Awaitable<void> MainLoopTimers::sleep(Duration duration) {
  Event over;
  QTimer timer;
  timer.setSingleShot(true);
  timer.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer, &QTimer::timeout, &timer, [&over] { over.wake(); });
  QObject::connect(&life_, &QObject::destroyed, &timer, [&over] { over.abandon(); });
  timer.start(std::chrono::ceil<std::chrono::milliseconds>(duration));
  co_await over.wait();
}

}  // namespace quillet
