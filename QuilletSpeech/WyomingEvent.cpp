// SPDX-License-Identifier: MIT
#include "QuilletSpeech/WyomingEvent.h"

#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/JSON/JSONSlice.h"
#include "QuilletSpeech/SpeechEngine.h"

namespace quillet {
namespace {

struct Request {
  std::optional<std::string> language, name;
};
constexpr auto jsonFields(std::type_identity<Request>) {
  using namespace JSONCoding;
  return fields(field("language", &Request::language), field("name", &Request::name));
}

struct Format {
  std::int64_t channels = 1, rate = kSpeechRate, width = sizeof(std::int16_t);
};
constexpr auto jsonFields(std::type_identity<Format>) {
  using namespace JSONCoding;
  return fields(field("channels", &Format::channels), field("rate", &Format::rate), field("width", &Format::width));
}

struct Services {
  std::vector<WyomingInfo::Program> asr;
};
constexpr auto jsonFields(std::type_identity<Services>) {
  using namespace JSONCoding;
  return fields(defaulted("asr", &Services::asr));
}

std::string line(std::string_view type, const std::string& data, std::size_t payload = 0) {
  std::string text = "{";
  if (!data.empty()) text += "\"data\":" + data + ",";
  if (payload != 0) text += "\"payload_length\":" + std::to_string(payload) + ",";
  return text + "\"type\":\"" + std::string(type) + "\"}\n";
}

std::size_t length(const JSONReader& head, std::string_view key) {
  const auto value = head.find(key);
  return value ? value->unsignedInteger() : 0;
}

}  // namespace

constexpr auto jsonFields(std::type_identity<WyomingInfo::Model>) {
  using namespace JSONCoding;
  return fields(defaulted("installed", &WyomingInfo::Model::installed),
                defaulted("languages", &WyomingInfo::Model::languages), field("name", &WyomingInfo::Model::name));
}
constexpr auto jsonFields(std::type_identity<WyomingInfo::Program>) {
  using namespace JSONCoding;
  return fields(defaulted("models", &WyomingInfo::Program::models));
}

WyomingEvent::Head WyomingEvent::Head::parse(std::string_view line) {
  Head head;
  JSONReader::parse(line, [&](const JSONReader& value) {
    head.type = value.member("type").string();
    if (value.find("data")) head.data = JSONSlice::member(line, "data");
    head.dataLength = length(value, "data_length");
    head.payloadLength = length(value, "payload_length");
  });
  return head;
}

std::optional<std::string> WyomingEvent::text(std::string_view name) const {
  std::optional<std::string> found;
  for (const std::string& json : {moreData, data}) {
    if (json.empty() || found) continue;
    JSONReader::parse(json, [&](const JSONReader& value) {
      if (const auto member = value.find(name)) found = std::string(member->string());
    });
  }
  return found;
}

std::string WyomingEvent::describe() {
  return line("describe", "");
}

std::string WyomingEvent::transcribe(const std::string& model, const std::string& language) {
  Request request;
  if (!model.empty()) request.name = model;
  if (!language.empty()) request.language = language;
  return line("transcribe", JSONCoding::encode(request));
}

std::string WyomingEvent::audioStart() {
  return line("audio-start", JSONCoding::encode(Format()));
}

std::string WyomingEvent::audioChunk(std::span<const std::int16_t> samples) {
  std::string text = line("audio-chunk", JSONCoding::encode(Format()), samples.size_bytes());
  return text.append(reinterpret_cast<const char*>(samples.data()), samples.size_bytes());
}

std::string WyomingEvent::audioStop() {
  return line("audio-stop", "");
}

WyomingInfo WyomingInfo::of(const WyomingEvent& event) {
  const std::string& json = event.moreData.empty() ? event.data : event.moreData;
  return {JSONCoding::decode<Services>(json).asr};
}

}  // namespace quillet
