// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "QuilletKit/Protocol/ServiceModels.h"

/// The texts of a transcription stream. The sound goes in binary messages of samples as they are.
namespace quillet::StreamFrames {

/// What a client says when the sound is complete, as one message.
inline constexpr std::string_view kFinish = R"({"type":"finish"})";

std::string ready(const std::string& utteranceId);
std::string partial(const std::string& utteranceId, const std::string& text);
std::string final(const TranscribeResponse& response);
/// The end of an utterance that gave no text.
std::string failure(const std::string& utteranceId, const APIErrorBody& error);

struct Request {
  std::string utteranceId;
  RecognitionLanguage language = RecognitionLanguage::automatic;
  /// Of a query "utteranceId=…&language=…". Throws ServiceError 400, or 422 for a language that nobody knows.
  static Request parse(std::string_view query);
};

}  // namespace quillet::StreamFrames
