// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "QuilletCompanion/App/ConnectionStatus.h"
#include "QuilletCompanion/Dictation/DictationPhase.h"

namespace quillet {

/// A line of the menu's summary.
struct StatusRow {
  enum class Tint { none, green, yellow, orange, red };
  std::string title, value;
  Tint tint = Tint::none;
  bool operator==(const StatusRow&) const = default;
};

constexpr auto rawNames(std::type_identity<StatusRow::Tint>) {
  return rawTable<5>({"none", "green", "yellow", "orange", "red"});
}

/// How it stands with dictation on this computer.
struct DictationStatus {
  bool isEnabled = false;
  bool canDictate = false;
  DictationPhase phase;
};

std::vector<StatusRow> statusRows(ConnectionStatus connection, bool axTrusted, std::size_t peers,
                                  const DictationStatus& dictation);

/// The icon in the tray: a dictation in progress goes before everything else.
struct MenuIcon {
  std::string symbol, label;
  bool operator==(const MenuIcon&) const = default;
};
MenuIcon menuIcon(ConnectionStatus connection, bool dictating);

}  // namespace quillet
