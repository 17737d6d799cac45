// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/DictationAdapters.h"

#include <utility>

#include "QuilletCompanion/Dictation/LiveSpeechRecognizer.h"
#include "QuilletSpeech/SpeechEngines.h"

namespace quillet {

DictationAdapters::DictationAdapters(Executor mainThread, HTTPSession& http)
    : mainThread_(std::move(mainThread)),
      http_(http),
      sound_(mainThread_),
      microphone_(sound_),
      devices_(sound_),
      muffleRoutes_(sound_),
      otherSound_(sound_) {}

DictationPlatform DictationAdapters::platform() {
  return {.microphone = microphone_,
          .audioDevices = devices_,
          .keyboard = keyboard_,
          .systemAudio = systemAudio_,
          .muffleRoutes = muffleRoutes_,
          .otherSound = otherSound_,
          .mediaPlayers = players_,
          .makeDeviceRecognizer = [this](const DictationPreferences& preferences) {
            return makeDeviceRecognizer(preferences);
          }};
}

std::unique_ptr<DictationRecognizer> DictationAdapters::makeDeviceRecognizer(const DictationPreferences& preferences) {
  return std::make_unique<LiveSpeechRecognizer>(
      mainThread_, preferences, microphone_, [this](const std::string& name) { return engine(name); },
      &UserLocale::ofEnvironment);
}

std::shared_ptr<SpeechEngine> DictationAdapters::engine(const std::string& name) {
  if (!engine_ || name != engineName_) {
    engine_ = makeSpeechEngine(SpeechEngineChoice::parse(name), http_);
    engineName_ = name;
  }
  return engine_;
}

}  // namespace quillet
