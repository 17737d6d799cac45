// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>

#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletSpeech/SpeechEngine.h"

namespace quillet {

struct OpenAISettings {
  /// http or https. Without a path "/v1/audio/transcriptions" is asked, after a path that ends in "/v1" its
  /// "/audio/transcriptions"; any other path is asked as it stands.
  std::string url;
  std::string model;   ///< "whisper-1" if empty: those that serve one model take any.
  std::string region;  ///< The host's name if empty.
  std::optional<std::filesystem::path> keyFile;
  std::chrono::milliseconds timeout{80'000};     ///< For the whole answer.
  std::size_t longestSound = 310 * kSpeechRate;  ///< Samples of one utterance.
};

/// A server that takes a recording by `POST …/audio/transcriptions` and answers with the words. All the sound goes at
/// the end, so there are no partial texts.
class OpenAIEngine final : public SpeechEngine {
 public:
  /// Throws std::invalid_argument for a URL that is none. `http` must outlive the engine.
  OpenAIEngine(OpenAISettings settings, HTTPSession& http);

  SpeechEngineInfo info() const override;
  Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions options) override;

 private:
  class Session;
  HTTPRequest request(std::span<const std::int16_t> samples, const SpeechOptions& options) const;

  OpenAISettings settings_;
  ServiceURL endpoint_;
  HTTPSession& http_;
};

}  // namespace quillet
