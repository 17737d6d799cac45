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

/// Lasting values of more kinds. One of another kind than asked for counts as absent.
class TypedPreferenceStore : public PreferenceStore {
 public:
  virtual std::optional<bool> flag(std::string_view key) const = 0;
  virtual void setFlag(std::string_view key, bool value) = 0;
  /// A value of any kind as JSON text; "null" is a value, too.
  virtual std::optional<std::string> json(std::string_view key) const = 0;
  /// `text` is valid JSON.
  virtual void setJSON(std::string_view key, std::string_view text) = 0;
};

}  // namespace quillet
