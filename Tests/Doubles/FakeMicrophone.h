// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletCompanion/Dictation/Microphone.h"
#include "Tests/Doubles/HeldCalls.h"

namespace quillet::test {

/// A microphone that hears what the test says into it. Everything happens on the test's thread.
class FakeMicrophone final : public Microphone {
 public:
  bool granted = true;
  bool present = true;
  /// With true the questions for access and the recordings hang until the test answers them.
  bool hangs = false;
  HeldCalls<bool> accesses, openings;
  std::vector<std::optional<std::string>> asked;  ///< The uids of all recordings.
  int recordings = 0;                             ///< Under way.

  Access access() const override { return granted ? Access::authorized : Access::denied; }
  Awaitable<bool> requestAccess() override {
    if (hangs) co_await accesses.call();
    co_return granted;
  }
  Awaitable<std::unique_ptr<MicrophoneRecording>> record(std::optional<std::string> uid, OnSamples onSamples,
                                                         std::function<void()> onInterrupted) override {
    asked.push_back(std::move(uid));
    if (hangs) co_await openings.call();
    if (!present) throw DictationError(DictationFailure::microphoneUnavailable);
    co_return std::make_unique<Recording>(*this, std::move(onSamples), std::move(onInterrupted));
  }

  /// That many milliseconds of a loud tone, in pieces of 20 and a rest.
  void speak(int milliseconds) {
    for (int left = milliseconds * 16; left > 0 && current_ != nullptr; left -= 320) {
      std::vector<std::int16_t> piece(static_cast<std::size_t>(std::min(left, 320)));
      for (auto& sample : piece) sample = ++phase_ % 32 < 16 ? kLoud : -kLoud;
      for (const auto sample : piece) spoken += {static_cast<char>(sample & 0xff), static_cast<char>(sample >> 8)};
      current_->onSamples(piece);
    }
  }
  /// The input goes away.
  void unplug() {
    if (current_ != nullptr) current_->onInterrupted();
  }

  static constexpr std::int16_t kLoud = 16'384;
  std::string spoken;  ///< All of it, as bytes.

 private:
  struct Recording final : MicrophoneRecording {
    Recording(FakeMicrophone& owner, OnSamples samples, std::function<void()> interrupted)
        : microphone(owner), onSamples(std::move(samples)), onInterrupted(std::move(interrupted)) {
      ++microphone.recordings;
      microphone.current_ = this;
    }
    ~Recording() override {
      --microphone.recordings;
      if (microphone.current_ == this) microphone.current_ = nullptr;
    }
    FakeMicrophone& microphone;
    OnSamples onSamples;
    std::function<void()> onInterrupted;
  };

  Recording* current_ = nullptr;
  int phase_ = 0;
};

}  // namespace quillet::test
