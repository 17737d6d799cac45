// SPDX-License-Identifier: MIT
#include "QuilletService/NonceGuard.h"

namespace quillet {

bool NonceGuard::contains(const std::string& deviceId, const std::string& nonce) const {
  const auto found = devices_.find(deviceId);
  return found != devices_.end() && found->second.nonces.contains(nonce);
}

bool NonceGuard::add(const std::string& deviceId, const std::string& nonce, std::int64_t expiry, std::int64_t now) {
  Seen& seen = devices_[deviceId];
  seen.sweep(now);
  if (seen.nonces.size() >= capacity_) return false;
  if (seen.nonces.insert(nonce).second) seen.byExpiry.emplace(expiry, nonce);
  return true;
}

void NonceGuard::sweep(std::int64_t now) {
  for (auto& [deviceId, seen] : devices_) seen.sweep(now);
  std::erase_if(devices_, [](const auto& entry) { return entry.second.nonces.empty(); });
}

void NonceGuard::Seen::sweep(std::int64_t now) {
  while (!byExpiry.empty() && byExpiry.begin()->first < now) {
    nonces.erase(byExpiry.begin()->second);
    byExpiry.erase(byExpiry.begin());
  }
}

}  // namespace quillet
