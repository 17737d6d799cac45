// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <queue>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "QuilletService/Storage/NonceFile.h"

namespace quillet {

/// Remembers the nonces of each device for as long as their requests could be repeated; with a file, over a restart
/// too.
class NonceGuard {
 public:
  using Key = NonceFile::Key;

  /// `capacity` bounds the nonces remembered for one device.
  explicit NonceGuard(std::size_t capacity) : capacity_(capacity) {}
  /// Takes up what `file` holds and isn't over at `now`. An empty path keeps nothing. Throws what NonceFile throws.
  NonceGuard(std::size_t capacity, const std::filesystem::path& file, std::int64_t now);

  /// What stands for a nonce of a device: 16 bytes that nobody can find another pair for.
  static Key key(std::string_view deviceId, std::string_view nonce);

  bool contains(const Key& key) const { return known_.contains(key); }
  /// Remembers until `expiry`. False when the device has no room left at `now`.
  bool add(std::string_view deviceId, const Key& key, std::int64_t expiry, std::int64_t now);
  /// Forgets what is over, for all devices, and now and then makes the file shorter.
  void sweep(std::int64_t now);
  std::size_t size() const { return known_.size(); }

 private:
  using Record = NonceFile::Record;
  struct Later {
    bool operator()(const Record& a, const Record& b) const { return a.expiry > b.expiry; }
  };
  struct Hash {
    std::size_t operator()(const Key& key) const;
  };
  void remember(const Record& record);
  void forget(std::int64_t now);
  void shortenFile();

  std::size_t capacity_;
  std::unordered_set<Key, Hash> known_;
  std::vector<Record> byExpiry_;  ///< A heap, the earliest first.
  std::unordered_map<std::uint64_t, std::size_t> counts_;
  NonceFile file_;
};

}  // namespace quillet
