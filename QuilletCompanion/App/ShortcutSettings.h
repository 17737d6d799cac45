// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "QuilletCompanion/Dictation/DictationFeature.h"
#include "QuilletCompanion/Dictation/ShortcutRecorder.h"

namespace quillet {

/// The two shortcuts as the settings show and record them. Main thread only.
class ShortcutSettings {
 public:
  using Role = HotkeyMonitor::Role;

  /// `feature` outlives it.
  explicit ShortcutSettings(DictationFeature& feature);

  /// For `hold` or `toggle`.
  const ShortcutRecorder& recorder(Role role) const { return role == Role::hold ? hold_ : toggle_; }
  /// Absent when the user turned it off.
  const std::optional<DictationShortcut>& shortcut(Role role) const;
  /// What the recorder's button says.
  std::string text(Role role, const Translate& translate = {}) const;
  /// What is wrong, or to be known; empty if nothing is.
  std::string problem(Role role, const Translate& translate = {}) const;

  /// Begins to record a shortcut, or ends that. Only one is recorded at a time.
  void record(Role role);
  void clear(Role role);
  void stop();

 private:
  ShortcutRecorder& recorderOf(Role role) { return role == Role::hold ? hold_ : toggle_; }

  DictationFeature& feature_;
  ShortcutRecorder hold_, toggle_;
};

}  // namespace quillet
