// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationFeature.h"

#include <utility>

namespace quillet {

using namespace DictationPhases;

DictationFeature::DictationFeature(const DictationParts& parts)
    : preferences(parts.store),
      inputs(parts.platform.audioDevices),
      microphone_(parts.platform.microphone),
      systemAudio_(parts.platform.systemAudio),
      keyboard_(parts.platform.keyboard),
      cloudRecognizer_(parts.mainThread, preferences, cloud, parts.platform.microphone, parts.makeSocket, parts.time),
      deviceRecognizer_(parts.platform.makeDeviceRecognizer ? parts.platform.makeDeviceRecognizer(preferences)
                                                            : nullptr),
      recognizer_([this]() -> DictationRecognizer& {
        if (usesDevice()) return *deviceRecognizer_;
        return cloudRecognizer_;
      }),
      controller_(
          parts.mainThread, recognizer_, [this] { return preferences.language.get(); }, parts.time),
      hotkeys_(parts.platform.keyboard),
      muffler_(parts.mainThread, parts.time, parts.platform.muffleRoutes),
      pauser_(parts.mainThread, parts.platform.otherSound, parts.platform.mediaPlayers),
      microphoneStatus_(parts.platform.microphone.access()),
      systemAudioStatus_(parts.platform.systemAudio.status()),
      configurationTask_(parts.mainThread),
      accessTask_(parts.mainThread) {}

DictationFeature::~DictationFeature() = default;

void DictationFeature::start(DictationController::Insert insert) {
  if (std::exchange(started_, true)) return;
  controller_.insert = std::move(insert);
  hotkeys_.onEvent = [this](HotkeyEvent event) { handle(event); };
  hotkeys_.onUnavailableChange = [this] { unavailableShortcuts_.set(hotkeys_.unavailable()); };
  controller_.onPhaseChange = [this](const DictationPhase& phase) { phaseChanged(phase); };
  applyShortcuts();
  if (preferences.isEnabled.get()) inputs.start();
  refreshConfiguration();
}

void DictationFeature::handle(HotkeyEvent event) {
  if (!preferences.isEnabled.get()) return;
  const DictationPhase& phase = controller_.phase().get();
  const bool isFresh = !isInProgress(phase);
  switch (event) {
    case HotkeyEvent::toggle:
      return isFresh ? controller_.start(DictationTrigger::toggle) : controller_.stop();
    case HotkeyEvent::holdDown:
      return isFresh ? controller_.start(DictationTrigger::hold) : void();
    case HotkeyEvent::holdUp:
      return controller_.holdReleased();
    case HotkeyEvent::holdInterrupted:
      return controller_.holdInterrupted();
    case HotkeyEvent::cancel:
      return controller_.cancel();
  }
}

void DictationFeature::toggleFromPanel() {
  handle(HotkeyEvent::toggle);
}

bool DictationFeature::usesDevice() const {
  return deviceRecognizer_ && preferences.recognizer.get() == RecognizerChoice::device;
}

void DictationFeature::phaseChanged(const DictationPhase& phase) {
  hotkeys_.setCancelActive(isInProgress(phase));
  changeAudio(phase);
  if (phase == DictationPhase(Failed{DictationFailure::microphoneDenied})) microphoneStatus_.set(microphone_.access());
}

// While a dictation starts others' sound stays as it is: muffled, if the one before has muffled it.
void DictationFeature::changeAudio(const DictationPhase& phase) {
  if (is<Starting>(phase)) return;
  if (!is<Listening>(phase)) {
    muffler_.restore();
    pauser_.resume();
    return;
  }
  const DictationAudio mode = preferences.audioWhileDictating.get();
  const bool mayMuffle = systemAudioStatus_.get() == SystemAudioAccess::Status::authorized;
  if (mode == DictationAudio::muffle && mayMuffle) muffler_.start();
  if (mode == DictationAudio::pause) pauser_.pause();
}

void DictationFeature::setEnabled(bool enabled) {
  preferences.isEnabled.set(enabled);
  if (!enabled) controller_.cancel();
  applyShortcuts();
  if (!enabled) return inputs.stop();
  inputs.start();
  accessTask_.start([this](Task::Token token) { return askForMicrophone(token); });
  refreshConfiguration();
}

Awaitable<void> DictationFeature::askForMicrophone(Task::Token token) {
  co_await microphone_.requestAccess();
  if (token.cancelled()) co_return;
  microphoneStatus_.set(microphone_.access());
  if (preferences.audioWhileDictating.get() == DictationAudio::muffle) co_await askForSystemAudio(token);
}

Awaitable<void> DictationFeature::askForSystemAudio(Task::Token token) {
  systemAudioStatus_.set(systemAudio_.status());
  if (systemAudioStatus_.get() != SystemAudioAccess::Status::notDetermined) co_return;
  co_await systemAudio_.request();
  if (!token.cancelled()) systemAudioStatus_.set(systemAudio_.status());
}

void DictationFeature::setAudio(DictationAudio mode) {
  preferences.audioWhileDictating.set(mode);
  if (mode != DictationAudio::muffle) muffler_.restore();
  if (mode != DictationAudio::pause) pauser_.resume();
  if (mode != DictationAudio::muffle) return;
  accessTask_.start([this](Task::Token token) { return askForSystemAudio(token); });
}

void DictationFeature::setShortcut(HotkeyMonitor::Role role, std::optional<DictationShortcut> shortcut) {
  auto& preference = role == HotkeyMonitor::Role::toggle ? preferences.toggleShortcut : preferences.holdShortcut;
  preference.set(shortcut);
  applyShortcuts();
}

void DictationFeature::setShortcutsPaused(bool paused) {
  shortcutsPaused_ = paused;
  applyShortcuts();
}

void DictationFeature::applyShortcuts() {
  if (!started_) return;
  const bool inForce = preferences.isEnabled.get() && !shortcutsPaused_;
  hotkeys_.configure(inForce ? preferences.toggleShortcut.get() : std::nullopt,
                     inForce ? preferences.holdShortcut.get() : std::nullopt);
  unavailableShortcuts_.set(hotkeys_.unavailable());
}

void DictationFeature::refreshConfiguration() {
  configurationTask_.cancel();
  if (!fetchConfiguration) return;
  configurationTask_.start([this, fetch = fetchConfiguration](Task::Token token) -> Awaitable<void> {
    std::optional<ServiceConfig> configuration;
    try {
      configuration = co_await fetch();
    } catch (const std::exception&) {
      // What was known before stays.
    }
    if (configuration && !token.cancelled()) configured(*configuration);
  });
}

void DictationFeature::configured(const ServiceConfig& configuration) {
  cloud.streamingAvailable = configuration.cloud.streaming && configuration.cloud.streaming->enabled;
  configuration_.set(configuration);
}

void DictationFeature::forgetService() {
  controller_.cancel();
  configurationTask_.cancel();
  cloud = {};
  fetchConfiguration = nullptr;
}

void DictationFeature::refreshStatus() {
  microphoneStatus_.set(microphone_.access());
  systemAudioStatus_.set(systemAudio_.status());
}

void DictationFeature::willEnd() {
  muffler_.restoreNow();
  pauser_.resumeNow();
}

bool DictationFeature::canDictate() const {
  const bool hasMicrophone = microphoneStatus_.get() == Microphone::Access::authorized;
  return preferences.isEnabled.get() && hasMicrophone && (usesDevice() || cloud.transcribe);
}

std::optional<std::string> DictationFeature::shortcutHint(const Translate& translate) const {
  const auto inWords = [&](std::string text, std::initializer_list<std::string> keys) {
    if (translate) text = translate(text);
    int number = 0;
    for (const auto& key : keys) {
      const std::string place = "%" + std::to_string(++number);
      if (const auto at = text.find(place); at != std::string::npos) text.replace(at, place.size(), key);
    }
    return text;
  };
  const auto name = [&](const std::optional<DictationShortcut>& shortcut) {
    return shortcut ? displayText(*shortcut, keyboard_, translate) : std::string();
  };
  const std::string hold = name(preferences.holdShortcut.get());
  const std::string toggle = name(preferences.toggleShortcut.get());
  if (!hold.empty() && !toggle.empty()) return inWords("Hold %1 or press %2", {hold, toggle});
  if (!hold.empty()) return inWords("Hold %1 to dictate", {hold});
  if (!toggle.empty()) return inWords("Press %1 to dictate", {toggle});
  return std::nullopt;
}

}  // namespace quillet
