// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "QuilletCompanion/Dictation/RecordingRecognizer.h"
#include "QuilletCompanion/Dictation/SpeechLocale.h"
#include "QuilletSpeech/SpeechEngine.h"

namespace quillet {

/// Transcribes with an engine of this computer's own, while the user speaks. Whoever awaits an operation cancels it
/// before destroying this.
class LiveSpeechRecognizer final : public RecordingRecognizer {
 public:
  /// Gives the engine that `deviceEngine` of the preferences names. Throws std::exception for a name that means none;
  /// asked at every start. What it gives lives as long as somebody holds it.
  using MakeEngine = std::function<std::shared_ptr<SpeechEngine>(const std::string& name)>;

  /// All references outlive this.
  LiveSpeechRecognizer(Executor mainThread, const DictationPreferences& preferences, Microphone& microphone,
                       MakeEngine makeEngine, std::function<UserLocale()> userLocale);
  ~LiveSpeechRecognizer() override;

  Awaitable<void> start(RecognitionLanguage language) override;
  float currentLevel() const override;
  Awaitable<std::string> finish() override;
  void cancel() override;

 private:
  struct Utterance;

  Awaitable<std::shared_ptr<Utterance>> beginSession(RecognitionLanguage language);
  Awaitable<void> record(const std::shared_ptr<Utterance>& utterance);
  const Input* present() const override;

  MakeEngine makeEngine_;
  std::function<UserLocale()> userLocale_;
  std::shared_ptr<Utterance> utterance_;  ///< Present while recording.
};

}  // namespace quillet
