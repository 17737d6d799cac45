// SPDX-License-Identifier: MIT
#pragma once

#include <map>

#include "QuilletKit/Base/PreferenceStore.h"

namespace quillet::test {

/// Preferences that end with the test; as a fake they also count the writes.
class MemoryPreferences final : public TypedPreferenceStore {
 public:
  std::optional<std::string> string(std::string_view key) const override {
    const auto found = values.find(key);
    return found != values.end() ? std::optional(found->second) : std::nullopt;
  }
  void setString(std::string_view key, std::optional<std::string> value) override {
    ++writes;
    values.erase(std::string(key));
    others.erase(std::string(key));
    if (value) values.emplace(key, *std::move(value));
  }
  std::optional<bool> flag(std::string_view key) const override {
    const auto found = json(key);
    return found == "true" || found == "false" ? std::optional(found == "true") : std::nullopt;
  }
  void setFlag(std::string_view key, bool value) override { setJSON(key, value ? "true" : "false"); }
  std::optional<std::string> json(std::string_view key) const override {
    const auto found = others.find(key);
    return found != others.end() ? std::optional(found->second) : std::nullopt;
  }
  void setJSON(std::string_view key, std::string_view text) override {
    ++writes;
    others.insert_or_assign(std::string(key), std::string(text));
  }

  std::map<std::string, std::string, std::less<>> values;
  std::map<std::string, std::string, std::less<>> others;  ///< What is no string, as JSON.
  int writes = 0;
};

}  // namespace quillet::test
