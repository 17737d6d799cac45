// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "QuilletCompanion/App/LoginItem.h"

namespace quillet {

/// Launch at login by a desktop entry in the user's autostart folder, as the desktops agree on it.
class AutostartItem final : public LoginItem {
 public:
  /// `configFolder` is the user's configuration folder ("~/.config"), without which this is always off; `command` the
  /// program and its arguments.
  AutostartItem(const std::optional<std::filesystem::path>& configFolder, const std::string& name,
                std::vector<std::string> command);

  /// The entry is there and no desktop's settings have switched it off.
  bool isEnabled() override;
  void setEnabled(bool enabled) override;

 private:
  std::string entry() const;

  std::optional<std::filesystem::path> file_;
  std::vector<std::string> command_;
};

}  // namespace quillet
