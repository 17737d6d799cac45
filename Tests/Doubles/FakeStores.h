// SPDX-License-Identifier: MIT
#pragma once

#include <map>

#include "QuilletKit/Base/PreferenceStore.h"
#include "QuilletKit/Words/WordLedgerStorage.h"

namespace quillet::test {

/// A shared store in memory that can be signed out of, and written to by other devices.
class FakeLedgerStorage final : public WordLedgerStorage {
 public:
  std::optional<Bytes> read(const std::string& key) override {
    const auto found = values.find(key);
    if (found == values.end()) return std::nullopt;
    const ByteView bytes = bytesOf(found->second);
    return Bytes(bytes.begin(), bytes.end());
  }
  void write(const std::string& key, std::optional<ByteView> value) override {
    ++writes;
    values.erase(key);
    if (value) values.emplace(key, textOf(*value));
  }
  std::vector<std::string> allKeys() override {
    std::vector<std::string> keys;
    for (const auto& [key, value] : values) keys.push_back(key);
    return keys;
  }
  bool available() override { return signedIn; }

  std::map<std::string, std::string> values;
  bool signedIn = true;
  int writes = 0;
};

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
