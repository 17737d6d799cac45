// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DictationTexts.h"

#include <algorithm>

#include "QuilletSpeech/SpeechEngineChoice.h"

namespace quillet::DictationTexts {
namespace {

bool streams(const DictationPreferences& preferences, const ServiceConfig::Cloud& cloud) {
  return preferences.streamingEnabled.get() && preferences.style.get() == TranscriptStyle::verbatim &&
         cloud.streaming && cloud.streaming->enabled;
}

/// The model and, in brackets, where it is.
std::string placeOf(const std::string& model, const std::string& region) {
  return region.empty() ? model : model + " (" + region + ")";
}

}  // namespace

std::optional<std::string> transcription(const DictationPreferences& preferences, const ServiceConfig& configuration) {
  if (preferences.recognizer.get() == RecognizerChoice::device) {
    const auto& engine = preferences.deviceEngine.get();
    return engine == "embedded" ? std::nullopt : std::optional(engine);
  }
  const auto& cloud = configuration.cloud;
  return streams(preferences, cloud) ? cloud.streaming->model : cloud.model;
}

bool isEngine(const std::string& name) {
  try {
    SpeechEngineChoice::parse(name);
    return true;
  } catch (const SpeechEngineChoice::Malformed&) {
    return false;
  }
}

PrivacyNote privacyNote(const DictationPreferences& preferences, const ServiceConfig& configuration) {
  if (preferences.recognizer.get() == RecognizerChoice::device) {
    return {
        "Your voice is transcribed by an engine of your own. Audio is held in memory on this Mac during dictation "
        "and discarded afterwards.",
        ""};
  }
  const auto& cloud = configuration.cloud;
  if (configuration == ServiceConfig() || cloud.model == "none") {
    return {
        "Your voice is sent securely through our service for transcription. Audio is held in memory on this Mac "
        "during dictation and discarded afterwards.",
        ""};
  }
  return {
      "Your voice is sent securely through our service to Microsoft Azure for transcription. Audio is held in "
      "memory on this Mac during dictation and discarded afterwards.",
      streams(preferences, cloud) ? placeOf(cloud.streaming->model, cloud.streaming->region)
                                  : placeOf(cloud.model, cloud.region)};
}

std::vector<MicrophoneChoice> microphoneChoices(const std::vector<AudioInput>& connected,
                                                const std::optional<AudioInput>& chosen) {
  std::vector<MicrophoneChoice> found{{}};
  for (const auto& input : connected) found.push_back({input});
  if (chosen && std::ranges::find(connected, chosen->uid, &AudioInput::uid) == connected.end()) {
    found.push_back({chosen, false});
  }
  return found;
}

std::size_t placeOf(const std::optional<AudioInput>& chosen, const std::vector<MicrophoneChoice>& choices) {
  const auto found = std::ranges::find_if(choices, [&](const MicrophoneChoice& choice) {
    return chosen && choice.input && choice.input->uid == chosen->uid;
  });
  return found == choices.end() ? 0 : static_cast<std::size_t>(found - choices.begin());
}

}  // namespace quillet::DictationTexts
