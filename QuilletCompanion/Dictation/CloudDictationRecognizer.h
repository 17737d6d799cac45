// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "QuilletCompanion/Dictation/MacDictationCloud.h"
#include "QuilletCompanion/Dictation/MacTranscriptionStream.h"
#include "QuilletCompanion/Dictation/RecordingRecognizer.h"

namespace quillet {

/// Lets the service transcribe: over a stream while the user speaks, or else by one upload of the same sound. The
/// sound is kept whole until the text is there, so that a stream that fails costs nothing but time. Whoever awaits an
/// operation cancels it before destroying this.
class CloudDictationRecognizer final : public RecordingRecognizer {
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
  const Input* present() const override;
  bool mayStream() const;
  void startStream(Utterance& utterance);
  Awaitable<std::string> upload(const Utterance& utterance);

  const MacDictationCloud& cloud_;
  MacTranscriptionStream::MakeSocket makeSocket_;
  TimeSource time_;
  std::unique_ptr<Utterance> utterance_;  ///< Present while recording.
};

}  // namespace quillet
