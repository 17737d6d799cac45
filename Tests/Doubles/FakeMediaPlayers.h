// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "QuilletCompanion/Dictation/MediaPlayers.h"

namespace quillet::test {

/// One player that does as told and writes down what that was.
class FakeMediaPlayers final : public MediaPlayers, public OtherSound {
 public:
  Awaitable<bool> isPlaying() override {
    if (beforeAnswer) co_await beforeAnswer();
    co_return heard;
  }
  Awaitable<bool> pause() override {
    commands.push_back("pause");
    if (beforeAnswer) co_await beforeAnswer();
    co_return obeys;
  }
  Awaitable<void> play() override {
    commands.push_back("play");
    co_return;
  }
  void playNow() override { commands.push_back("play now"); }

  bool heard = true;  ///< Something is playing.
  bool obeys = true;  ///< A pause has an effect.
  std::vector<std::string> commands;
  std::function<Awaitable<void>()> beforeAnswer;  ///< How long answers take; empty for at once.
};

}  // namespace quillet::test
