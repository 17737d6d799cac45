// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechEngineChoice.h"

#include "QuilletKit/Protocol/RequestSigner.h"

namespace quillet {
namespace {

constexpr std::string_view kWyomingPort = "10300";

SpeechEngineChoice openAI(std::string_view text) {
  if (!ServiceURL::parse(text)) throw SpeechEngineChoice::Malformed("This isn't the address of a speech server.");
  return {.kind = SpeechEngineChoice::Kind::openAI, .url = std::string(text)};
}

SpeechEngineChoice wyoming(std::string_view rest) {
  const auto url = ServiceURL::parse("http://" + std::string(rest));
  if (!url || url->target != "/") throw SpeechEngineChoice::Malformed("A Wyoming server is written tcp://HOST:PORT.");
  return {.kind = SpeechEngineChoice::Kind::wyoming,
          .host = url->host,
          .port = url->port.empty() ? std::string(kWyomingPort) : url->port};
}

}  // namespace

SpeechEngineChoice SpeechEngineChoice::parse(std::string_view text) {
  if (text == "sphinx" || text == "embedded") return {};
  if (text.starts_with("http://") || text.starts_with("https://")) return openAI(text);
  for (const std::string_view scheme : {"tcp://", "wyoming://"}) {
    if (text.starts_with(scheme)) return wyoming(text.substr(scheme.size()));
  }
  throw Malformed("The engine is \"sphinx\", or an address that begins with http://, https:// or tcp://.");
}

}  // namespace quillet
