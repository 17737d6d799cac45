// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <unordered_map>

#include "QuilletKit/Async/TurnQueue.h"
#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletService/Metrics.h"
#include "QuilletService/ServiceError.h"
#include "QuilletService/Storage/DeviceStore.h"
#include "QuilletService/Transcription/AudioBudget.h"
#include "QuilletSpeech/SpeechEngine.h"

namespace quillet {

struct TranscriptionLimits {
  std::size_t streams = 64;                          ///< Open at once. Each may hold 9.6 MB of sound.
  std::size_t streamsPerDevice = 2;                  ///< The second is the next utterance, while the first still ends.
  std::size_t uploads = 4;                           ///< Transcribed at once…
  std::size_t uploadsWaiting = 16;                   ///< …and waiting for that, with 16 MB each at most.
  std::chrono::seconds sound{300};                   ///< Of one utterance.
  std::chrono::seconds soundPerDeviceAndHour{7200};  ///< 0 for any amount.
};

class TranscriptionService;

/// One utterance that is being spoken. Dropping it frees the decoder at once; its sound is kept nowhere.
class Transcription {
 public:
  ~Transcription();
  Transcription(const Transcription&) = delete;
  Transcription& operator=(const Transcription&) = delete;

  /// Bytes of samples, an even number of them. Throws ServiceError 400, or 413 for more sound than an utterance has.
  void accept(ByteView samples);
  /// The words so far, as far as the engine tells any.
  std::string partialText() const { return session_->partialText(); }
  /// Throws ServiceError: 422 with the code "no_speech" when nothing was said.
  Awaitable<TranscribeResponse> finish();

 private:
  friend class TranscriptionService;
  Transcription(TranscriptionService& service, const std::string& deviceId, std::string utteranceId)
      : service_(service), deviceId_(deviceId), utteranceId_(std::move(utteranceId)) {}
  std::chrono::milliseconds duration() const;

  TranscriptionService& service_;
  std::string deviceId_, utteranceId_;
  std::unique_ptr<SpeechSession> session_;
  std::size_t samples_ = 0;
};

/// Sound to text for registered devices, over one engine: an utterance as it is spoken, or a recording. Bounded in
/// every direction. One thread; the engine has its own.
class TranscriptionService {
 public:
  /// Without an engine everything is refused.
  TranscriptionService(SpeechEngine* engine, Metrics& metrics, const TimeSource& time, TranscriptionLimits limits);

  /// A stream's right to be open.
  class Place {
   public:
    Place(Place&& other) noexcept
        : service_(std::exchange(other.service_, nullptr)), deviceId_(std::move(other.deviceId_)) {}
    Place& operator=(Place&&) = delete;
    ~Place() {
      if (service_ != nullptr) service_->leave(deviceId_);
    }

   private:
    friend class TranscriptionService;
    Place(TranscriptionService& service, std::string deviceId) : service_(&service), deviceId_(std::move(deviceId)) {}
    TranscriptionService* service_;
    std::string deviceId_;
  };
  /// Throws ServiceError: 501 without an engine, 503 for too many streams, 429 for a device with too much sound.
  Place enter(const Device& device);
  /// Throws ServiceError.
  Awaitable<std::unique_ptr<Transcription>> begin(std::string deviceId, std::string utteranceId,
                                                  RecognitionLanguage language);

  /// A whole upload. Throws ServiceError; what is wrong with the body is JSONCoding::DecodingError or ServiceError 400.
  Awaitable<TranscribeResponse> transcribe(const Device& device, ByteView upload);

  /// What clients are told of the engine.
  ServiceConfig::Cloud describe() const;
  std::size_t streams() const { return streams_; }
  const TurnQueue& uploads() const { return uploads_; }
  void sweep() { budget_.sweep(); }

 private:
  friend class Transcription;
  Awaitable<std::unique_ptr<Transcription>> open(std::string deviceId, std::string utteranceId, SpeechOptions options);
  void requireReady(const std::string& deviceId);
  void leave(const std::string& deviceId);
  /// Counts the error and gives it as the client is told.
  ServiceError refusal(const SpeechError& error);
  ServiceError refusal(ServiceError error);
  std::string model() const;

  SpeechEngine* engine_;
  Metrics& metrics_;
  TranscriptionLimits limits_;
  TurnQueue uploads_;
  AudioBudget budget_;
  std::size_t streams_ = 0;
  std::unordered_map<std::string, std::size_t> streamsOf_;
};

}  // namespace quillet
