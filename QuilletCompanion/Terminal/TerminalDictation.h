// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/Terminal/TerminalOutput.h"

namespace quillet {

/// Dictation on this computer, in lines: its commands and its events. Main thread only.
class TerminalDictation {
 public:
  TerminalDictation(AppModel& model, const TerminalOutput& output);

  /// Whether there is a dictation that `cancel` would end.
  bool isInProgress() const;
  void cancel();

  void enable(const std::string& choice);
  void dictate();
  void microphones();
  void microphone(const std::string& wanted);
  /// "hold KEYS", "toggle KEYS" or either with "off"; without words tells both.
  void shortcut(const std::string& words);
  void language(const std::string& choice);
  void style(const std::string& choice);
  void streaming(const std::string& choice);
  void music(const std::string& choice);
  /// "cloud", "device" or "device ENGINE".
  void recognizer(const std::string& words);
  /// The last text that was recognised, for copying.
  void last();

 private:
  /// Refuses and is true while dictation is off.
  bool isOff() const;
  void showPhase(const DictationPhase& phase);
  void setShortcut(HotkeyMonitor::Role role, const std::string& keys);
  std::string shortcutText(const std::optional<DictationShortcut>& shortcut) const;
  void answerShortcuts();
  template <typename T>
  void choose(std::string_view name, Preference<T>& preference, const std::string& choice);

  AppModel& model_;
  DictationFeature& dictation_;
  const TerminalOutput& output_;
  Observable<DictationPhase>::Subscription phase_;
  Observable<float>::Subscription level_;
  Observable<std::set<HotkeyMonitor::Role>>::Subscription unavailable_;
};

}  // namespace quillet
