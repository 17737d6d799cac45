// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <type_traits>

#include "QuilletCompanion/Dictation/AudioInput.h"
#include "QuilletCompanion/Dictation/DictationShortcut.h"
#include "QuilletCompanion/Dictation/Preference.h"
#include "QuilletKit/Base/PreferenceStore.h"
#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

/// What happens to other audio while the user speaks.
enum class DictationAudio {
  muffle,  ///< Music goes on behind a low-pass filter.
  pause,
  keep,
};
constexpr auto rawNames(std::type_identity<DictationAudio>) {
  return rawTable<3>({"muffle", "pause", "keep"});
}

/// Who turns speech into text.
enum class RecognizerChoice {
  cloud,   ///< The service that this computer is registered with.
  device,  ///< An engine of this computer's own; see `deviceEngine`.
};
constexpr auto rawNames(std::type_identity<RecognizerChoice>) {
  return rawTable<2>({"cloud", "device"});
}

/// The user's choices about dictation, read once and written through. Main thread only.
class DictationPreferences {
 public:
  /// Control and Option with Space.
  static constexpr DictationShortcut kDefaultToggle{49, DictationShortcut::kControl | DictationShortcut::kOption};
  /// The right Option key.
  static constexpr DictationShortcut kDefaultHold{61, 0};

  /// `store` outlives this.
  explicit DictationPreferences(TypedPreferenceStore& store);

  Preference<bool> isEnabled;
  Preference<bool> showsFloatingButton;
  /// Absent when the user turned it off.
  Preference<std::optional<DictationShortcut>> toggleShortcut, holdShortcut;
  Preference<RecognitionLanguage> language;
  Preference<TranscriptStyle> style;
  Preference<bool> streamingEnabled;
  Preference<DictationAudio> audioWhileDictating;
  /// Absent for the system's default.
  Preference<std::optional<AudioInput>> microphone;
  Preference<RecognizerChoice> recognizer;
  /// "embedded", or the address of a server that speaks for an engine.
  Preference<std::string> deviceEngine;
};

}  // namespace quillet
