// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuilletCompanion/Dictation/AudioInput.h"
#include "QuilletCompanion/Dictation/DictationPreferences.h"
#include "QuilletKit/Protocol/ServiceModels.h"

/// What the dictation's settings say.
namespace quillet::DictationTexts {

/// What turns speech into text by these choices: the service's model, or the address of an engine. Absent for the
/// engine in this program.
std::optional<std::string> transcription(const DictationPreferences& preferences, const ServiceConfig& configuration);

/// Whether that names an engine of this computer's own, as `deviceEngine` does.
bool isEngine(const std::string& name);

/// Where the user's voice goes. `place` stands where the text has "%1"; it may be empty.
struct PrivacyNote {
  std::string text, place;
};
/// Names nobody until the service has told whom it uses, nor where it uses nobody.
PrivacyNote privacyNote(const DictationPreferences& preferences, const ServiceConfig& configuration);

/// A line of the list of microphones.
struct MicrophoneChoice {
  std::optional<AudioInput> input;  ///< Absent for the system's default.
  bool isConnected = true;
  bool operator==(const MicrophoneChoice&) const = default;
};
/// The system's default first; one that was chosen and isn't there last.
std::vector<MicrophoneChoice> microphoneChoices(const std::vector<AudioInput>& connected,
                                                const std::optional<AudioInput>& chosen);
/// The line that stands for `chosen`.
std::size_t placeOf(const std::optional<AudioInput>& chosen, const std::vector<MicrophoneChoice>& choices);

}  // namespace quillet::DictationTexts
