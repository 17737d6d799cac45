// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "QuilletCompanion/Dictation/AudioInputs.h"
#include "QuilletCompanion/Dictation/AudioMuffler.h"
#include "QuilletCompanion/Dictation/ChosenRecognizer.h"
#include "QuilletCompanion/Dictation/CloudDictationRecognizer.h"
#include "QuilletCompanion/Dictation/DictationController.h"
#include "QuilletCompanion/Dictation/DictationPreferences.h"
#include "QuilletCompanion/Dictation/HotkeyEvent.h"
#include "QuilletCompanion/Dictation/HotkeyMonitor.h"
#include "QuilletCompanion/Dictation/MacDictationCloud.h"
#include "QuilletCompanion/Dictation/MediaPauser.h"
#include "QuilletCompanion/Dictation/Microphone.h"
#include "QuilletCompanion/Dictation/ShortcutText.h"
#include "QuilletCompanion/Dictation/SystemAudioAccess.h"

namespace quillet {

/// What dictation needs of the platform.
struct DictationPlatform {
  Microphone& microphone;
  AudioDevices& audioDevices;
  SystemKeyboard& keyboard;
  SystemAudioAccess& systemAudio;
  MuffleRoutes& muffleRoutes;
  OtherSound& otherSound;
  MediaPlayers& mediaPlayers;
  /// Makes the recogniser that needs no service. May be empty: then the service transcribes, whatever was chosen.
  std::function<std::unique_ptr<DictationRecognizer>(const DictationPreferences&)> makeDeviceRecognizer;
};

/// What dictation is built from. References outlive the feature.
struct DictationParts {
  Executor mainThread;
  TimeSource time;
  TypedPreferenceStore& store;
  DictationPlatform platform;
  MacTranscriptionStream::MakeSocket makeSocket;
};

/// Dictation on this computer, as the rest of the application knows it: owns what it consists of, connects it, and
/// turns changes of phase into what is heard and which keys are ours. Main thread only.
class DictationFeature {
 public:
  explicit DictationFeature(const DictationParts& parts);
  ~DictationFeature();
  DictationFeature(const DictationFeature&) = delete;
  DictationFeature& operator=(const DictationFeature&) = delete;

  /// Once: begins to listen to the keyboard. `insert` puts texts into fields.
  void start(DictationController::Insert insert);
  /// What an event of the keyboard means in the present phase. Dropped while dictation is off.
  void handle(HotkeyEvent event);
  /// The button that begins and ends a dictation.
  void toggleFromPanel();

  void setEnabled(bool enabled);
  void setAudio(DictationAudio mode);
  /// Stores a shortcut, or its absence, and puts it in force.
  void setShortcut(HotkeyMonitor::Role role, std::optional<DictationShortcut> shortcut);
  /// While a new shortcut is recorded none is in force.
  void setShortcutsPaused(bool paused);
  /// Puts the stored shortcuts in force; also to be called when the accessibility trust has changed.
  void applyShortcuts();
  /// Asks the service what it offers. A failure changes nothing.
  void refreshConfiguration();
  /// This computer has no service any more.
  void forgetService();
  /// The application came to the front: permissions may have been changed elsewhere.
  void refreshStatus();
  /// The process ends: brings others' sound back before it returns.
  void willEnd();

  bool canDictate() const;
  /// What to press, for people; absent without a shortcut.
  std::optional<std::string> shortcutHint(const Translate& translate = {}) const;

  DictationPreferences preferences;
  MacDictationCloud cloud;
  std::function<Awaitable<ServiceConfig>()> fetchConfiguration;
  AudioInputs inputs;  ///< Known while dictation is on.

  DictationController& controller() { return controller_; }
  const DictationController& controller() const { return controller_; }
  SystemKeyboard& keyboard() { return keyboard_; }
  const SystemKeyboard& keyboard() const { return keyboard_; }
  const Observable<ServiceConfig>& configuration() const { return configuration_; }
  const Observable<Microphone::Access>& microphoneStatus() const { return microphoneStatus_; }
  const Observable<SystemAudioAccess::Status>& systemAudioStatus() const { return systemAudioStatus_; }
  /// The roles whose keys another program has.
  const Observable<std::set<HotkeyMonitor::Role>>& unavailableShortcuts() const { return unavailableShortcuts_; }

 private:
  bool usesDevice() const;
  void phaseChanged(const DictationPhase& phase);
  void changeAudio(const DictationPhase& phase);
  Awaitable<void> askForMicrophone(Task::Token token);
  Awaitable<void> askForSystemAudio(Task::Token token);
  void configured(const ServiceConfig& configuration);

  Microphone& microphone_;
  SystemAudioAccess& systemAudio_;
  SystemKeyboard& keyboard_;
  CloudDictationRecognizer cloudRecognizer_;
  std::unique_ptr<DictationRecognizer> deviceRecognizer_;
  ChosenRecognizer recognizer_;
  DictationController controller_;
  HotkeyMonitor hotkeys_;
  AudioMuffler muffler_;
  MediaPauser pauser_;
  Observable<ServiceConfig> configuration_;
  Observable<Microphone::Access> microphoneStatus_;
  Observable<SystemAudioAccess::Status> systemAudioStatus_;
  Observable<std::set<HotkeyMonitor::Role>> unavailableShortcuts_;
  bool started_ = false;
  bool shortcutsPaused_ = false;
  Task configurationTask_, accessTask_;
};

}  // namespace quillet
