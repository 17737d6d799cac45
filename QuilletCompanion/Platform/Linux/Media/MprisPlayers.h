// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QuilletCompanion/Dictation/MediaPlayers.h"
#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"

namespace quillet {

/// The players on the session bus that speak MPRIS. All are asked at the same time; one that doesn't answer holds up
/// nobody for more than three quarters of a second. Needs the GLib main context. Main thread only.
class MprisPlayers final : public MediaPlayers {
 public:
  Awaitable<bool> pause() override;
  Awaitable<void> play() override;
  void playNow() override;

 private:
  using Names = std::vector<std::string>;
  struct Question;

  Awaitable<std::vector<GVariantRef>> ask(std::vector<Question> questions);
  Awaitable<Names> players();
  /// Those of them that say that this is their state.
  Awaitable<Names> inState(Names players, std::string_view state);
  void command(const Names& players, const char* command);

  DBusSignals bus_{G_BUS_TYPE_SESSION};
  Names paused_;  ///< That were told to pause.
};

}  // namespace quillet
