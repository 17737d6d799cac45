// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletSpeech/SpeechEngine.h"
#include "QuilletSpeech/SpeechEngineChoice.h"

namespace quillet {

/// The engine that was chosen. `http` gives the sockets of those that have any, and must outlive the engine.
std::unique_ptr<SpeechEngine> makeSpeechEngine(const SpeechEngineChoice& choice, HTTPSession& http);

}  // namespace quillet
