// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/Base/Bytes.h"

namespace quillet {

/// A key-value store that the user's devices share. No two devices write the same key. Nothing here throws; a write
/// that fails is lost, and repeated by whoever finds it missing. Main thread only.
class WordLedgerStorage {
 public:
  virtual ~WordLedgerStorage() = default;
  WordLedgerStorage() = default;
  WordLedgerStorage(const WordLedgerStorage&) = delete;
  WordLedgerStorage& operator=(const WordLedgerStorage&) = delete;

  virtual std::optional<Bytes> read(const std::string& key) = 0;
  /// Without bytes the key is removed.
  virtual void write(const std::string& key, std::optional<ByteView> value) = 0;
  virtual std::vector<std::string> allKeys() = 0;
  /// Whether what is written now gets to other devices, as far as this one can tell.
  virtual bool available() = 0;

  /// Called after a change from outside: other keys or values, or the store came or went.
  std::function<void()> onExternalChange;
};

}  // namespace quillet
