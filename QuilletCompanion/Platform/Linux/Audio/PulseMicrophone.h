// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Dictation/Microphone.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseThread.h"

namespace quillet {

/// Records from the sound server's sources, which converts what they give. A recording stays with its source: one that
/// is unplugged interrupts it. Nobody is asked for access. Main thread only.
class PulseMicrophone final : public Microphone {
 public:
  /// Of a thread that outlives it and its recordings.
  explicit PulseMicrophone(PulseThread& thread) : thread_(thread) {}

  Access access() const override { return Access::authorized; }
  Awaitable<bool> requestAccess() override { co_return true; }
  Awaitable<std::unique_ptr<MicrophoneRecording>> record(std::optional<std::string> uid, OnSamples onSamples,
                                                         std::function<void()> onInterrupted) override;

 private:
  struct Capture;
  class Recording;

  static Awaitable<void> open(std::shared_ptr<Capture> capture, std::optional<std::string> uid);

  PulseThread& thread_;
};

}  // namespace quillet
