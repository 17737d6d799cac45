// SPDX-License-Identifier: MIT
#include "QuilletService/Transcription/TranscriptionService.h"

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Protocol/WaveFile.h"
#include "QuilletService/ServiceError.h"
#include "QuilletService/Validation.h"

namespace quillet {
namespace {

constexpr std::string_view kConfigVersion = "1";
constexpr std::size_t kSampleSize = sizeof(std::int16_t);
constexpr std::size_t kLeastSamples = kSpeechRate / 10;  // Nothing was said in less than a tenth of a second.
constexpr std::size_t kMostPhrases = 100;
constexpr std::size_t kLongestPhrase = 200;

ServiceError noEngine() {
  return {501, "not_available", "This service doesn't transcribe."};
}
ServiceError busy() {
  return {503, "busy", "Too much is being transcribed. Try again in a while.", true};
}
ServiceError noSpeech() {
  return {422, "no_speech", "No speech was heard."};
}
ServiceError tooLong() {
  return {413, "too_long", "The recording is too long."};
}

ServiceError errorFor(SpeechFailure failure) {
  switch (failure) {
    case SpeechFailure::languageUnsupported:
      return {422, "language_unsupported", "This service doesn't transcribe that language."};
    case SpeechFailure::modelNotInstalled:
      return {503, "model_not_installed", "This service's speech model is missing."};
    case SpeechFailure::busy:
      return busy();
    case SpeechFailure::tooLong:
      return tooLong();
    case SpeechFailure::unavailable:
      return {502, "engine_unavailable", "The speech engine can't be reached. Try again in a while.", true};
    case SpeechFailure::failed:
      break;
  }
  return {502, "engine_failed", "The speech engine couldn't use the recording."};
}

std::string tagOf(RecognitionLanguage language) {
  return language == RecognitionLanguage::automatic ? std::string() : std::string(rawValue(language));
}

void requirePhrases(const std::vector<std::string>& phrases) {
  if (phrases.size() > kMostPhrases) throw Refusal::badRequest("There are too many phrases.");
  for (const std::string& phrase : phrases) {
    if (phrase.size() > kLongestPhrase) throw Refusal::badRequest("A phrase is too long.");
  }
}

}  // namespace

Transcription::~Transcription() {
  service_.metrics_.soundTranscribed += duration();
  service_.budget_.use(deviceId_, duration());
}

std::chrono::milliseconds Transcription::duration() const {
  return std::chrono::milliseconds(samples_ * 1000 / kSpeechRate);
}

void Transcription::accept(ByteView samples) {
  if (samples.size() % kSampleSize != 0) throw Refusal::badRequest("Half a sample was sent.");
  const std::size_t count = samples.size() / kSampleSize;
  const auto most = static_cast<std::size_t>(service_.limits_.sound.count()) * kSpeechRate;
  if (count > most - samples_) throw service_.refusal(tooLong());
  samples_ += count;
  session_->accept(WaveFile::samples(samples));
}

Awaitable<TranscribeResponse> Transcription::finish() {
  if (samples_ < kLeastSamples) throw service_.refusal(noSpeech());
  std::string text;
  std::optional<SpeechError> failed;
  try {
    text = co_await session_->finish();
  } catch (const SpeechError& error) {
    failed = error;
  }
  if (failed) throw service_.refusal(*failed);
  if (text.empty()) throw service_.refusal(noSpeech());
  co_return TranscribeResponse{.utteranceId = utteranceId_,
                               .text = std::move(text),
                               .durationMs = duration().count(),
                               .model = service_.model(),
                               .configVersion = std::string(kConfigVersion)};
}

TranscriptionService::TranscriptionService(SpeechEngine* engine, Metrics& metrics, const TimeSource& time,
                                           TranscriptionLimits limits)
    : engine_(engine),
      metrics_(metrics),
      limits_(limits),
      uploads_(limits.uploads),
      budget_(limits.soundPerDeviceAndHour, time) {}

ServiceError TranscriptionService::refusal(ServiceError error) {
  ++metrics_.transcriptionFailures[error.body.code];
  return error;
}

ServiceError TranscriptionService::refusal(const SpeechError& error) {
  if (error.failure != SpeechFailure::languageUnsupported) {
    Log::standard("service", "Speech engine: {}: {}", rawValue(error.failure), error.what());
  }
  return refusal(errorFor(error.failure));
}

void TranscriptionService::requireReady(const std::string& deviceId) {
  if (engine_ == nullptr) throw noEngine();
  if (!budget_.spent(deviceId)) return;
  throw refusal({429, "too_much_sound", "Too much was dictated in the last hour. Try again later.", true});
}

TranscriptionService::Place TranscriptionService::enter(const Device& device) {
  requireReady(device.id);
  std::size_t& ofDevice = streamsOf_[device.id];
  if (streams_ >= limits_.streams || ofDevice >= limits_.streamsPerDevice) {
    if (ofDevice == 0) streamsOf_.erase(device.id);
    throw refusal(busy());
  }
  ++streams_;
  ++ofDevice;
  ++metrics_.streamsOpened;
  return {*this, device.id};
}

void TranscriptionService::leave(const std::string& deviceId) {
  --streams_;
  const auto ofDevice = streamsOf_.find(deviceId);
  if (--ofDevice->second == 0) streamsOf_.erase(ofDevice);
}

Awaitable<std::unique_ptr<Transcription>> TranscriptionService::begin(std::string deviceId, std::string utteranceId,
                                                                      RecognitionLanguage language) {
  return open(std::move(deviceId), std::move(utteranceId), {.language = tagOf(language)});
}

Awaitable<std::unique_ptr<Transcription>> TranscriptionService::open(std::string deviceId, std::string utteranceId,
                                                                     SpeechOptions options) {
  std::unique_ptr<Transcription> transcription(new Transcription(*this, deviceId, std::move(utteranceId)));
  std::optional<SpeechError> failed;
  try {
    transcription->session_ = co_await engine_->begin(std::move(options));
  } catch (const SpeechError& error) {
    failed = error;
  }
  if (failed) throw refusal(*failed);
  co_return transcription;
}

Awaitable<TranscribeResponse> TranscriptionService::transcribe(const Device& device, ByteView upload) {
  requireReady(device.id);
  auto [meta, audio] = TranscribeBody::parse(upload);
  Validation::requireId(meta.utteranceId, "utteranceId");
  requirePhrases(meta.phrases);
  const auto samples = WaveFile::pcm(audio);
  if (!samples) throw refusal({400, "unsupported_audio", "The recording must be WAV of 16 kHz, 16 bit, one channel."});
  if (samples->size() / kSampleSize < kLeastSamples) throw refusal(noSpeech());
  if (uploads_.taken() + uploads_.waiting() >= limits_.uploads + limits_.uploadsWaiting) throw refusal(busy());
  ++metrics_.uploadsTaken;
  const auto turn = co_await uploads_.next();
  const auto transcription =
      co_await open(device.id, meta.utteranceId,
                    {.language = tagOf(meta.language), .style = meta.style, .phrases = std::move(meta.phrases)});
  transcription->accept(*samples);
  co_return co_await transcription->finish();
}

std::string TranscriptionService::model() const {
  const SpeechEngineInfo info = engine_->info();
  return info.model.empty() ? info.name : info.model;
}

ServiceConfig::Cloud TranscriptionService::describe() const {
  if (engine_ == nullptr) return {"none", "none", std::string(kConfigVersion), std::nullopt};
  const std::string region = engine_->info().region;
  return {model(), region, std::string(kConfigVersion), ServiceConfig::Cloud::Streaming{true, model(), region}};
}

}  // namespace quillet
