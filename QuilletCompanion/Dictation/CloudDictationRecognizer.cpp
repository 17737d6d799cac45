// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/CloudDictationRecognizer.h"

#include <utility>

#include "QuilletKit/Async/ThrowIfCancelled.h"
#include "QuilletKit/Base/UUID.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

constexpr std::size_t kShortest = 3200;  // bytes: a tenth of a second

std::string trimmed(const TranscribeResponse& response) {
  return std::string(Unicode::trim(response.text));
}

}  // namespace

/// One recording with all that belongs to it. Its parts end in the reverse order of these lines.
struct CloudDictationRecognizer::Utterance {
  TranscribeMeta meta;
  DictationPCM capture;
  std::unique_ptr<MacDictationStreaming> stream;
  Input input;
};

CloudDictationRecognizer::CloudDictationRecognizer(Executor mainThread, const DictationPreferences& preferences,
                                                   const MacDictationCloud& cloud, Microphone& microphone,
                                                   MacTranscriptionStream::MakeSocket makeSocket, TimeSource time)
    : RecordingRecognizer(std::move(mainThread), preferences, microphone, "stopped"),
      cloud_(cloud),
      makeSocket_(std::move(makeSocket)),
      time_(std::move(time)) {}

CloudDictationRecognizer::~CloudDictationRecognizer() = default;

Awaitable<void> CloudDictationRecognizer::start(RecognitionLanguage language) {
  if (utterance_) throw DictationError(DictationFailure::microphoneUnavailable);
  if (!cloud_.transcribe) throw DictationError(DictationFailure::cloudUnavailable);
  co_await requireAccess();
  auto utterance =
      co_await record({.utteranceId = randomUUID(), .language = language, .style = preferences_.style.get()});
  co_await throwIfCancelled();
  if (utterance->input.gone) throw DictationError(DictationFailure::microphoneUnavailable);
  utterance_ = std::move(utterance);
  if (mayStream()) startStream(*utterance_);
}

Awaitable<std::unique_ptr<CloudDictationRecognizer::Utterance>> CloudDictationRecognizer::record(TranscribeMeta meta) {
  auto utterance = std::make_unique<Utterance>();
  utterance->meta = std::move(meta);
  co_await RecordingRecognizer::record(
      utterance->input,
      [capture = &utterance->capture](std::span<const std::int16_t> samples) { capture->append(samples); });
  co_return utterance;
}

const RecordingRecognizer::Input* CloudDictationRecognizer::present() const {
  return utterance_ ? &utterance_->input : nullptr;
}

bool CloudDictationRecognizer::mayStream() const {
  return preferences_.streamingEnabled.get() && preferences_.style.get() == TranscriptStyle::verbatim &&
         cloud_.streamingAvailable && cloud_.streamRequest;
}

void CloudDictationRecognizer::startStream(Utterance& utterance) {
  auto makeRequest = [make = cloud_.streamRequest, meta = utterance.meta] {
    return make(meta.utteranceId, meta.language);
  };
  auto stream = std::make_unique<MacTranscriptionStream>(mainThread_, utterance.capture, utterance.meta.utteranceId,
                                                         std::move(makeRequest), makeSocket_, time_);
  stream->start();
  utterance.stream = std::move(stream);
}

float CloudDictationRecognizer::currentLevel() const {
  return utterance_ ? utterance_->capture.level() : 0;
}

Awaitable<std::string> CloudDictationRecognizer::finish() {
  const auto utterance = std::exchange(utterance_, nullptr);
  if (!utterance) throw DictationError(DictationFailure::recognitionFailed);
  utterance->input.recording.reset();
  utterance->capture.close();
  if (utterance->capture.size() < kShortest) throw DictationError(DictationFailure::noSpeech);
  if (utterance->stream) {
    try {
      co_return trimmed(co_await utterance->stream->finish());
    } catch (...) {
      utterance->stream->cancel();
      const DictationFailure failure = MacDictationCloud::failureOf(std::current_exception());
      if (failure == DictationFailure::noSpeech) throw DictationError(failure);
    }
    co_await throwIfCancelled();
  }
  co_return co_await upload(*utterance);
}

Awaitable<std::string> CloudDictationRecognizer::upload(const Utterance& utterance) {
  const auto transcribe = cloud_.transcribe;
  if (!transcribe) throw DictationError(DictationFailure::cloudUnavailable);
  std::exception_ptr error;
  try {
    const TranscribeResponse response = co_await transcribe(utterance.capture.wave(), utterance.meta);
    co_await throwIfCancelled();
    co_return trimmed(response);
  } catch (...) {
    error = std::current_exception();
  }
  if (isCancellation(error)) std::rethrow_exception(error);
  throw DictationError(MacDictationCloud::failureOf(error));
}

void CloudDictationRecognizer::cancel() {
  utterance_.reset();
}

}  // namespace quillet
