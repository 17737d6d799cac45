// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// A recording under way. It ends when destroyed: neither samples nor an interruption come after that.
class MicrophoneRecording {
 public:
  virtual ~MicrophoneRecording() = default;
};

/// Access to the microphones, as the recognisers use it. Main thread only.
class Microphone {
 public:
  enum class Access { notDetermined, denied, authorized };
  /// 16 kHz, 16 bit, mono, in order, some 20 ms at a time. Runs on the sound thread and must not wait.
  using OnSamples = std::function<void(std::span<const std::int16_t>)>;

  virtual ~Microphone() = default;

  virtual Access access() const = 0;
  /// Asks the user where the desktop does so.
  virtual Awaitable<bool> requestAccess() = 0;
  /// Records from the input with that uid where it is present, else from the default one. `onInterrupted` is told on
  /// the main thread, once, when the input goes away. Recording runs when this returns; destroying what is returned
  /// ends it. Throws DictationError(microphoneUnavailable); cancelling it leaves nothing recording.
  virtual Awaitable<std::unique_ptr<MicrophoneRecording>> record(std::optional<std::string> uid, OnSamples onSamples,
                                                                 std::function<void()> onInterrupted) = 0;
};

}  // namespace quillet
