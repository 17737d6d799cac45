// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/MediaPauser.h"

#include <utility>

namespace quillet {

MediaPauser::MediaPauser(Executor mainThread, OtherSound& otherSound, MediaPlayers& players)
    : otherSound_(otherSound), players_(players), work_(std::move(mainThread)) {}

void MediaPauser::pause() {
  add(Command::pause);
}

void MediaPauser::resume() {
  add(Command::resume);
}

void MediaPauser::resumeNow() {
  work_.cancel();
  working_ = false;
  commands_.clear();
  const bool mayBePaused = std::exchange(pausing_, false);
  if (std::exchange(paused_, false) || mayBePaused) players_.playNow();
}

void MediaPauser::add(Command command) {
  commands_.push_back(command);
  if (!std::exchange(working_, true)) work_.start([this](Task::Token token) { return carryOut(token); });
}

// The token is asked after each suspension: once it is cancelled, this object may be gone.
Awaitable<void> MediaPauser::carryOut(Task::Token token) {
  while (!token.cancelled() && !commands_.empty()) {
    const Command command = commands_.front();
    commands_.pop_front();
    if (command == Command::pause) {
      if (!paused_) co_await pauseWhatPlays(token);
    } else if (std::exchange(paused_, false)) {
      co_await players_.play();
    }
  }
  if (!token.cancelled()) working_ = false;
}

Awaitable<void> MediaPauser::pauseWhatPlays(Task::Token token) {
  const bool playing = co_await otherSound_.isPlaying();
  if (token.cancelled() || !playing) co_return;
  pausing_ = true;
  const bool paused = co_await players_.pause();
  if (token.cancelled()) co_return;
  pausing_ = false;
  paused_ = paused;
}

}  // namespace quillet
