// SPDX-License-Identifier: MIT
#include "QuilletService/Transcription/StreamFrames.h"

#include "Fuzz/FuzzInput.h"
#include "QuilletKit/JSON/JSONReader.h"
#include "QuilletService/ServiceError.h"

namespace {

/// What a client reads in a frame: whose it is.
void requireWhose(const std::string& frame, const std::string& utteranceId) {
  quillet::JSONReader::parse(frame, [&](const quillet::JSONReader& value) {
    quillet::fuzz::require(value.member("utteranceId").string() == utteranceId);
  });
}

}  // namespace

/// The query that opens a stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  try {
    const auto request = StreamFrames::Request::parse(fuzz::textOf(data, size));
    requireWhose(StreamFrames::ready(request.utteranceId), request.utteranceId);
    requireWhose(StreamFrames::partial(request.utteranceId, "words"), request.utteranceId);
    requireWhose(StreamFrames::failure(request.utteranceId, {"busy", request.utteranceId, true}), request.utteranceId);
  } catch (const ServiceError& refused) {
    fuzz::require(refused.status == 400 || refused.status == 422);
  }
  return 0;
}
