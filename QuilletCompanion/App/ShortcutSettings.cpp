// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/ShortcutSettings.h"

namespace quillet {
namespace {

constexpr std::uint16_t functionKey = 63;

std::string inWords(std::string_view text, const Translate& translate) {
  return translate ? translate(text) : std::string(text);
}

}  // namespace

ShortcutSettings::ShortcutSettings(DictationFeature& feature)
    : feature_(feature),
      hold_(feature.keyboard(), [this](bool paused) { feature_.setShortcutsPaused(paused); }),
      toggle_(feature.keyboard(), [this](bool paused) { feature_.setShortcutsPaused(paused); }) {
  hold_.onChange = [this](DictationShortcut pressed) { feature_.setShortcut(Role::hold, pressed); };
  toggle_.onChange = [this](DictationShortcut pressed) { feature_.setShortcut(Role::toggle, pressed); };
}

const std::optional<DictationShortcut>& ShortcutSettings::shortcut(Role role) const {
  const auto& preferences = feature_.preferences;
  return role == Role::hold ? preferences.holdShortcut.get() : preferences.toggleShortcut.get();
}

std::string ShortcutSettings::text(Role role, const Translate& translate) const {
  if (recorder(role).recording().get()) return inWords("Press keys…", translate);
  const auto& chosen = shortcut(role);
  return chosen ? displayText(*chosen, feature_.keyboard(), translate) : inWords("Off", translate);
}

std::string ShortcutSettings::problem(Role role, const Translate& translate) const {
  if (const auto& refused = recorder(role).problem().get()) {
    return quillet::text(*refused, feature_.keyboard(), translate);
  }
  if (feature_.unavailableShortcuts().get().contains(role)) {
    return inWords("Another app is using this shortcut. Choose a different one.", translate);
  }
  const auto& chosen = shortcut(role);
  if (!chosen || chosen->keyCode != functionKey) return {};
  return inWords(
      "If pressing fn opens the emoji picker, set “Press 🌐 key to” to “Do Nothing” in System Settings → Keyboard.",
      translate);
}

void ShortcutSettings::record(Role role) {
  auto& wanted = recorderOf(role);
  const bool wasRecording = wanted.recording().get();
  stop();
  if (!wasRecording) wanted.begin();
}

void ShortcutSettings::clear(Role role) {
  stop();
  feature_.setShortcut(role, std::nullopt);
}

void ShortcutSettings::stop() {
  hold_.end();
  toggle_.end();
}

}  // namespace quillet
