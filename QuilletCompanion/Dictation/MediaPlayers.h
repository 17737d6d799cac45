// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// The programs that play music and films, as they let others command them. Main thread only.
class MediaPlayers {
 public:
  virtual ~MediaPlayers() = default;

  /// Pauses those that are playing, and remembers them. False if there was none. Throws nothing but a cancellation.
  virtual Awaitable<bool> pause() = 0;
  /// Lets those go on that were paused, as far as they still are, and forgets them. Throws nothing but a cancellation.
  virtual Awaitable<void> play() = 0;
  /// The same before it returns, without asking them anything; waits for a second at most. Also for those that an
  /// unfinished `pause` may have reached.
  virtual void playNow() = 0;
};

/// What else is heard from this computer. Main thread only.
class OtherSound {
 public:
  virtual ~OtherSound() = default;

  /// Whether a process other than this one plays something at this moment. Throws nothing but a cancellation.
  virtual Awaitable<bool> isPlaying() = 0;
};

}  // namespace quillet
