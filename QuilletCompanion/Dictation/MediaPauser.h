// SPDX-License-Identifier: MIT
#pragma once

#include <deque>

#include "QuilletCompanion/Dictation/MediaPlayers.h"
#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Pauses what plays while somebody dictates, and lets it go on afterwards: only what it paused itself, and nothing in
/// a silent system. Commands are carried out in the background, one after the other. Main thread only.
class MediaPauser {
 public:
  MediaPauser(Executor mainThread, OtherSound& otherSound, MediaPlayers& players);

  void pause();
  void resume();
  /// Instead of all that is still to do: lets go on what was paused. Waits for that, for a second at most.
  void resumeNow();

 private:
  enum class Command { pause, resume };

  void add(Command command);
  Awaitable<void> carryOut(Task::Token token);
  Awaitable<void> pauseWhatPlays(Task::Token token);

  OtherSound& otherSound_;
  MediaPlayers& players_;
  std::deque<Command> commands_;
  bool paused_ = false;   ///< A resume is owed.
  bool pausing_ = false;  ///< The players are being told.
  bool working_ = false;
  Task work_;
};

}  // namespace quillet
