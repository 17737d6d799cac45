// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/StatusRows.h"

namespace quillet {
namespace {

using Tint = StatusRow::Tint;

Tint tintOf(ConnectionStatus connection) {
  switch (connection) {
    case ConnectionStatus::connected:
      return Tint::green;
    case ConnectionStatus::reconnecting:
      return Tint::yellow;
    case ConnectionStatus::offline:
      break;
  }
  return Tint::red;
}

StatusRow dictationRow(const DictationStatus& dictation) {
  const std::string title = "Dictation on this Mac";
  if (!dictation.isEnabled) return {title, "Off"};
  const Tint tint = dictation.canDictate ? Tint::green : Tint::orange;
  if (isInProgress(dictation.phase)) return {title, "Listening", tint};
  return {title, dictation.canDictate ? "On" : "Needs setup", tint};
}

}  // namespace

std::vector<StatusRow> statusRows(ConnectionStatus connection, bool axTrusted, std::size_t peers,
                                  const DictationStatus& dictation) {
  return {{"Connection", statusWord(connection), tintOf(connection)},
          {"Accessibility", axTrusted ? "Allowed" : "Not allowed", axTrusted ? Tint::green : Tint::orange},
          {"Paired iPhones", std::to_string(peers)},
          dictationRow(dictation)};
}

MenuIcon menuIcon(ConnectionStatus connection, bool dictating) {
  if (dictating) return {"waveform", "Quillet, dictating"};
  switch (connection) {
    case ConnectionStatus::connected:
      return {"mic.fill", "Quillet, connected"};
    case ConnectionStatus::reconnecting:
      return {"mic", "Quillet, reconnecting"};
    case ConnectionStatus::offline:
      break;
  }
  return {"mic.slash", "Quillet, offline"};
}

}  // namespace quillet
