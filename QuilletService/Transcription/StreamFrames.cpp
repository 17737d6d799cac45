// SPDX-License-Identifier: MIT
#include "QuilletService/Transcription/StreamFrames.h"

#include <map>

#include "QuilletKit/Base/PercentCoding.h"
#include "QuilletKit/Protocol/ServiceCoding.h"
#include "QuilletService/ServiceError.h"
#include "QuilletService/Validation.h"

namespace quillet::StreamFrames {
namespace {

struct Ready {
  std::string utteranceId;
};
constexpr auto jsonFields(std::type_identity<Ready>) {
  using namespace JSONCoding;
  return fields(constant("type", "ready"), field("utteranceId", &Ready::utteranceId));
}

struct Partial {
  std::string utteranceId, text;
};
constexpr auto jsonFields(std::type_identity<Partial>) {
  using namespace JSONCoding;
  return fields(field("text", &Partial::text), constant("type", "partial"),
                field("utteranceId", &Partial::utteranceId));
}

struct Failure {
  std::string utteranceId;
  APIErrorBody error;
};
constexpr auto jsonFields(std::type_identity<Failure>) {
  using namespace JSONCoding;
  return fields(field("error", &Failure::error), constant("type", "final"),
                field("utteranceId", &Failure::utteranceId));
}

/// As it stands where its escapes make no sense.
std::string decoded(std::string_view text) {
  return PercentCoding::decode(text).value_or(std::string(text));
}

std::map<std::string_view, std::string> valuesOf(std::string_view query) {
  std::map<std::string_view, std::string> values;
  while (!query.empty()) {
    const std::string_view item = query.substr(0, query.find('&'));
    const auto equals = std::min(item.find('='), item.size());
    values[item.substr(0, equals)] = decoded(item.substr(std::min(equals + 1, item.size())));
    query.remove_prefix(std::min(item.size() + 1, query.size()));
  }
  return values;
}

}  // namespace

std::string ready(const std::string& utteranceId) {
  return JSONCoding::encode(Ready{utteranceId});
}

std::string partial(const std::string& utteranceId, const std::string& text) {
  return JSONCoding::encode(Partial{utteranceId, text});
}

std::string final(const TranscribeResponse& response) {
  // The response's own fields, with the type in its place between "text" and "utteranceId".
  std::string json = JSONCoding::encode(response);
  json.insert(json.rfind("\"utteranceId\":"), "\"type\":\"final\",");
  return json;
}

std::string failure(const std::string& utteranceId, const APIErrorBody& error) {
  return JSONCoding::encode(Failure{utteranceId, error});
}

Request Request::parse(std::string_view query) {
  auto values = valuesOf(query);
  Validation::requireId(values["utteranceId"], "utteranceId");
  const auto language = fromRaw<RecognitionLanguage>(values["language"]);
  if (!language) throw ServiceError(422, "language_unsupported", "This language isn't one that can be asked for.");
  return {values["utteranceId"], *language};
}

}  // namespace quillet::StreamFrames
