// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletCompanion/Dictation/AudioDevices.h"
#include "QuilletCompanion/Dictation/AudioInput.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// The microphones and the default one, as settings show them, and what a stored choice comes to. A failing sound
/// system has no microphones; no error comes from here. Main thread only.
class AudioInputs {
 public:
  /// What the names of the muffler's own devices begin with; they are never listed.
  static constexpr std::string_view ownDevices = "quillet_muffle";

  explicit AudioInputs(AudioDevices& devices) : devices_(devices) {}

  /// Lists the microphones, a moment later, and follows their changes from now on.
  void start();
  /// Asks the sound system nothing any more, and knows no microphones.
  void stop();

  Observable<std::vector<AudioInput>> all;  ///< By name; numbers within names count as numbers.
  Observable<std::optional<AudioInput>> systemDefault;

  /// The device to record from: the chosen one while it is present, else the default one. A choice that is unplugged
  /// is no error.
  std::optional<std::uint32_t> deviceID(const std::optional<std::string>& uid) const { return deviceID(list_, uid); }
  bool isAvailable(std::uint32_t device) const;

  static std::optional<std::uint32_t> deviceID(const AudioDevices::List& list, const std::optional<std::string>& uid);

 private:
  void refresh(const AudioDevices::List& list);

  AudioDevices& devices_;
  AudioDevices::List list_;
  std::unique_ptr<AudioDevices::Watch> watch_;
};

}  // namespace quillet
