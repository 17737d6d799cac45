// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechEngines.h"

#include "QuilletSpeech/OpenAIEngine.h"
#include "QuilletSpeech/SphinxEngine.h"
#include "QuilletSpeech/WyomingEngine.h"

namespace quillet {

std::unique_ptr<SpeechEngine> makeSpeechEngine(const SpeechEngineChoice& choice, HTTPSession& http) {
  switch (choice.kind) {
    case SpeechEngineChoice::Kind::openAI:
      return std::make_unique<OpenAIEngine>(
          OpenAISettings{.url = choice.url, .model = choice.model, .region = choice.region, .keyFile = choice.keyFile},
          http);
    case SpeechEngineChoice::Kind::wyoming:
      return std::make_unique<WyomingEngine>(
          WyomingSettings{.host = choice.host, .port = choice.port, .model = choice.model, .region = choice.region},
          http.network());
    case SpeechEngineChoice::Kind::sphinx:
      break;
  }
  return std::make_unique<SphinxEngine>();
}

}  // namespace quillet
