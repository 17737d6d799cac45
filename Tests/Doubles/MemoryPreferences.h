// SPDX-License-Identifier: MIT
#pragma once

#include <map>

#include "QuilletKit/Base/PreferenceStore.h"

namespace quillet::test {

/// Preferences that end with the test; as a fake they also count the writes.
class MemoryPreferences final : public PreferenceStore {
 public:
  std::optional<std::string> string(std::string_view key) const override {
    const auto found = values.find(key);
    return found != values.end() ? std::optional(found->second) : std::nullopt;
  }
  void setString(std::string_view key, std::optional<std::string> value) override {
    ++writes;
    values.erase(std::string(key));
    if (value) values.emplace(key, *std::move(value));
  }

  std::map<std::string, std::string, std::less<>> values;
  int writes = 0;
};

}  // namespace quillet::test
