// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Dictation/MediaPlayers.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseThread.h"

namespace quillet {

/// What other programs play on the sound server. One that doesn't answer plays nothing. Main thread only.
class PulseOtherSound final : public OtherSound {
 public:
  /// Of a thread that outlives it.
  explicit PulseOtherSound(PulseThread& thread) : thread_(thread) {}

  Awaitable<bool> isPlaying() override;

 private:
  PulseThread& thread_;
};

}  // namespace quillet
