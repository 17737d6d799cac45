// SPDX-License-Identifier: MIT
#pragma once

#include <map>

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

}  // namespace quillet::test
