// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "QuilletCompanion/Dictation/DictationPreferences.h"
#include "QuilletCompanion/Dictation/DictationRecognizer.h"
#include "QuilletCompanion/Dictation/Microphone.h"

namespace quillet {

/// What recognisers share: the user's microphone, and how its loss is told. Main thread only.
class RecordingRecognizer : public DictationRecognizer {
 protected:
  /// One recording's input. Outlived by whoever takes its samples.
  struct Input {
    std::uint64_t id = 0;
    bool gone = false;
    std::unique_ptr<MicrophoneRecording> recording;
  };

  /// All references outlive this. `interruption`: what the log says that the input did when it goes away.
  RecordingRecognizer(Executor mainThread, const DictationPreferences& preferences, Microphone& microphone,
                      const char* interruption);

  /// Throws DictationError(microphoneDenied).
  Awaitable<void> requireAccess();
  /// Records from the chosen input into `input`, which stays where it is while it records.
  Awaitable<void> record(Input& input, Microphone::OnSamples onSamples);
  /// Of the dictation that is under way; null without one.
  virtual const Input* present() const = 0;

  const Executor mainThread_;
  const DictationPreferences& preferences_;

 private:
  void interrupted(Input& input);

  Microphone& microphone_;
  const char* const interruption_;
  std::uint64_t lastId_ = 0;
  Lifetime lifetime_;
};

}  // namespace quillet
