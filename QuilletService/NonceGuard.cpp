// SPDX-License-Identifier: MIT
#include "QuilletService/NonceGuard.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "QuilletKit/Base/Crypto.h"

namespace quillet {
namespace {

constexpr std::size_t kSpareRecords = 4096;

std::uint64_t deviceNumber(std::string_view deviceId) {
  return std::hash<std::string_view>{}(deviceId);
}

}  // namespace

NonceGuard::NonceGuard(std::size_t capacity, const std::filesystem::path& file, std::int64_t now)
    : capacity_(capacity), file_(file) {
  for (const Record& record : file_.load()) {
    if (record.expiry >= now) remember(record);
  }
  shortenFile();
}

NonceGuard::Key NonceGuard::key(std::string_view deviceId, std::string_view nonce) {
  std::string both;
  both.reserve(deviceId.size() + 1 + nonce.size());
  both.append(deviceId).append("|").append(nonce);
  const Crypto::Digest digest = Crypto::sha256(bytesOf(both));
  Key key;
  std::copy_n(digest.begin(), key.size(), key.begin());
  return key;
}

std::size_t NonceGuard::Hash::operator()(const Key& key) const {
  std::size_t value = 0;
  std::memcpy(&value, key.data(), sizeof value);
  return value;
}

bool NonceGuard::add(std::string_view deviceId, const Key& key, std::int64_t expiry, std::int64_t now) {
  forget(now);
  const Record record{key, expiry, deviceNumber(deviceId)};
  const auto count = counts_.find(record.device);
  if (count != counts_.end() && count->second >= capacity_) return false;
  remember(record);
  file_.append(record);
  return true;
}

void NonceGuard::remember(const Record& record) {
  if (!known_.insert(record.key).second) return;
  ++counts_[record.device];
  byExpiry_.push_back(record);
  std::push_heap(byExpiry_.begin(), byExpiry_.end(), Later{});
}

void NonceGuard::forget(std::int64_t now) {
  while (!byExpiry_.empty() && byExpiry_.front().expiry < now) {
    std::pop_heap(byExpiry_.begin(), byExpiry_.end(), Later{});
    const Record over = byExpiry_.back();
    byExpiry_.pop_back();
    known_.erase(over.key);
    if (const auto count = counts_.find(over.device); --count->second == 0) counts_.erase(count);
  }
}

void NonceGuard::sweep(std::int64_t now) {
  forget(now);
  if (file_.records() > 2 * byExpiry_.size() + kSpareRecords) shortenFile();
}

void NonceGuard::shortenFile() {
  file_.replace(byExpiry_);
}

}  // namespace quillet
