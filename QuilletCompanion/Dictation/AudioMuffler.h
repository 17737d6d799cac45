// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "QuilletCompanion/Dictation/MuffleRoute.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Lets music go on while somebody dictates, muffled. Everything happens in the background; what fails is logged, and
/// nothing else comes of it. Main thread only.
class AudioMuffler {
 public:
  AudioMuffler(Executor mainThread, TimeSource time, MuffleRoutes& routes);

  /// Takes the sound over, unless it is, and fades the filter in. A route that breaks is built anew, until `restore`.
  void start();
  /// Fades the filter out and gives the sound back. A `start` within the fade turns it round.
  void restore();
  /// Gives the sound back at once. Waits for that, for a second at most.
  void restoreNow();

 private:
  void build();
  void routeEnded(MuffleRoute::End end, const MuffleRoute::Failure& failure);
  Awaitable<void> tearDownAfterFade(Task::Token token);
  Awaitable<void> buildAgain(Task::Token token, Duration wait);

  TimeSource time_;
  MuffleRoutes& routes_;
  std::unique_ptr<MuffleRoute> route_;
  bool engaged_ = false;
  Duration nextWait_{0};  ///< Before a route that broke is built again; zero if none broke since `start`.
  Task later_;            ///< Tears down after the fade, or builds again.
};

}  // namespace quillet
