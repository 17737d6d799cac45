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

NonceGuard::NonceGuard(Bounds bounds, const std::filesystem::path& file, Moment now)
    : bounds_(bounds), forgotten_(2 * bounds.maximumAge.count()), file_(file) {
  const NonceFile::Contents found = file_.load();
  for (const Record& record : found.records) remember(record, now.monotonic);
  for (const auto& span : found.forgotten) forgotten_.add(span);
  // Of what was lost nothing is known but that it was signed before now.
  if (!found.complete) forgotten_.add({0, expiryOf(now.wall) - 1});
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

NonceGuard::Outcome NonceGuard::add(std::string_view deviceId, const Key& key, std::int64_t timestamp, Moment now) {
  forget(now);
  if (known_.contains(key)) return Outcome::repeated;
  const Record record{key, expiryOf(timestamp), deviceNumber(deviceId)};
  const auto count = counts_.find(record.device);
  if (count != counts_.end() && count->second >= bounds_.perDevice) return Outcome::full;
  remember(record, now.monotonic);
  return file_.append(record) ? Outcome::taken : Outcome::unkept;
}

void NonceGuard::remember(const Record& record, MonotonicTime now) {
  if (!known_.insert(record.key).second) return;
  ++counts_[record.device];
  byExpiry_.push_back({record, now + 2 * bounds_.maximumAge});
  std::push_heap(byExpiry_.begin(), byExpiry_.end(), Later{});
}

void NonceGuard::forget(Moment now) {
  while (!byExpiry_.empty() && byExpiry_.front().record.expiry < now.wall && byExpiry_.front().until < now.monotonic) {
    std::pop_heap(byExpiry_.begin(), byExpiry_.end(), Later{});
    const Record over = byExpiry_.back().record;
    byExpiry_.pop_back();
    known_.erase(over.key);
    forgotten_.add({over.expiry, over.expiry});
    if (const auto count = counts_.find(over.device); --count->second == 0) counts_.erase(count);
  }
}

void NonceGuard::sweep(Moment now) {
  forget(now);
  if (!file_.healthy() || file_.records() > 2 * byExpiry_.size() + kSpareRecords) shortenFile();
}

void NonceGuard::shortenFile() {
  std::vector<Record> records;
  records.reserve(byExpiry_.size());
  for (const Held& held : byExpiry_) records.push_back(held.record);
  file_.replace({std::move(records), forgotten_.all()});
}

}  // namespace quillet
