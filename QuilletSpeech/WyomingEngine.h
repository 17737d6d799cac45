// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletSpeech/WyomingPeer.h"

namespace quillet {

/// A server of the Wyoming protocol, as home speech servers are. The sound goes there while it arrives. The protocol
/// knows neither encryption nor keys: such a server belongs on this machine or in a trusted network.
class WyomingEngine final : public SpeechEngine {
 public:
  /// `network` is an io_context that one thread runs.
  WyomingEngine(WyomingSettings settings, Executor network);

  SpeechEngineInfo info() const override;
  Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions options) override;

 private:
  class Session;

  WyomingSettings settings_;
  Executor network_;
};

}  // namespace quillet
