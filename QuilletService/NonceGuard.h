// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace quillet {

/// Remembers the nonces of each device for as long as their requests could be repeated. Not kept over a restart.
class NonceGuard {
 public:
  /// `capacity` bounds the nonces remembered for one device.
  explicit NonceGuard(std::size_t capacity) : capacity_(capacity) {}

  bool contains(const std::string& deviceId, const std::string& nonce) const;
  /// Remembers until `expiry`. False when the device has no room left at `now`.
  bool add(const std::string& deviceId, const std::string& nonce, std::int64_t expiry, std::int64_t now);
  /// Forgets what is over, for all devices.
  void sweep(std::int64_t now);
  std::size_t devices() const { return devices_.size(); }

 private:
  struct Seen {
    std::unordered_set<std::string> nonces;
    std::multimap<std::int64_t, std::string> byExpiry;
    void sweep(std::int64_t now);
  };

  std::size_t capacity_;
  std::unordered_map<std::string, Seen> devices_;
};

}  // namespace quillet
