// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Dictation/DictationFeature.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseDevices.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseMicrophone.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseMuffleRoutes.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseOtherSound.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseThread.h"
#include "QuilletCompanion/Platform/Linux/Hotkeys/X11SystemKeyboard.h"
#include "QuilletCompanion/Platform/Linux/Media/MprisPlayers.h"
#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletSpeech/SpeechEngine.h"

namespace quillet {

/// What this desktop gives to dictation: its sound, its keys, its players, and engines of its own. Main thread only.
class DictationAdapters {
 public:
  /// `http` outlives this.
  DictationAdapters(Executor mainThread, HTTPSession& http);

  /// Refers to this.
  DictationPlatform platform();
  /// Is told of the keys that we type ourselves; 0 without a display.
  unsigned long typingWitness() const { return keyboard_.typingWitness(); }

 private:
  std::unique_ptr<DictationRecognizer> makeDeviceRecognizer(const DictationPreferences& preferences);
  /// The engine of that name: the one before, if it was that, since a model takes a while to load.
  std::shared_ptr<SpeechEngine> engine(const std::string& name);

  Executor mainThread_;
  HTTPSession& http_;
  PulseThread sound_;
  PulseMicrophone microphone_;
  PulseDevices devices_;
  PulseMuffleRoutes muffleRoutes_;
  PulseOtherSound otherSound_;
  UnguardedSystemAudio systemAudio_;
  MprisPlayers players_;
  X11SystemKeyboard keyboard_;
  std::shared_ptr<SpeechEngine> engine_;
  std::string engineName_;
};

}  // namespace quillet
