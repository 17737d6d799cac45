// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

/// Lasting texts of this installation, by name. Main thread only.
class PreferenceStore {
 public:
  virtual ~PreferenceStore() = default;
  virtual std::optional<std::string> string(std::string_view key) const = 0;
  /// Durable when it returns, where that is possible. Without a value the key is removed.
  virtual void setString(std::string_view key, std::optional<std::string> value) = 0;
};

}  // namespace quillet
