// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Dictation/DictationPreferences.h"
#include "QuilletCompanion/Dictation/DictationRecognizer.h"
#include "QuilletCompanion/Dictation/MacDictationCloud.h"
#include "QuilletCompanion/Dictation/MacTranscriptionStream.h"
#include "QuilletCompanion/Dictation/Microphone.h"

namespace quillet {

/// Lets the service transcribe: over a stream while the user speaks, or else by one upload of the same sound. The
/// sound is kept whole until the text is there, so that a stream that fails costs nothing but time. Whoever awaits an
/// operation cancels it before destroying this.
class CloudDictationRecognizer final : public DictationRecognizer {
 public:
  /// All references outlive this.
  CloudDictationRecognizer(Executor mainThread, const DictationPreferences& preferences, const MacDictationCloud& cloud,
                           Microphone& microphone, MacTranscriptionStream::MakeSocket makeSocket, TimeSource time);
  ~CloudDictationRecognizer() override;

  Awaitable<void> start(RecognitionLanguage language) override;
  float currentLevel() const override;
  Awaitable<std::string> finish() override;
  void cancel() override;

 private:
  struct Utterance;

  Awaitable<std::unique_ptr<Utterance>> record(TranscribeMeta meta);
  void inputWentAway(Utterance& utterance);
  bool mayStream() const;
  void startStream(Utterance& utterance);
  Awaitable<std::string> upload(const Utterance& utterance);

  Executor mainThread_;
  const DictationPreferences& preferences_;
  const MacDictationCloud& cloud_;
  Microphone& microphone_;
  MacTranscriptionStream::MakeSocket makeSocket_;
  TimeSource time_;
  std::unique_ptr<Utterance> utterance_;  ///< Present while recording.
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace quillet
