// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/DeviceStore.h"

#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {
namespace {

constexpr std::size_t kRecentDevices = 10'000;
constexpr std::size_t kRecentPairs = 10'000;

std::string pairKey(const std::string& macId, const std::string& phoneId) {
  std::string key;
  key.reserve(macId.size() + 1 + phoneId.size());
  key.append(macId).append(1, '|').append(phoneId);
  return key;
}

Device readDevice(const Query& row, const std::string& id) {
  return {
      .id = id,
      .signingKey = Crypto::keyFrom(row.blob(0)),
      .agreementKey = Crypto::keyFrom(row.blob(1)),
      .platform = fromRaw<DevicePlatform>(row.text(2)).value(),
      .name = row.text(3),
      .appVersion = row.text(4),
      .registeredAt = row.integer(5),
      .lastSeenAt = row.optionalInteger(6),
      .revoked = !row.isNull(7),
  };
}

}  // namespace

DeviceStore::DeviceStore(Database& database)
    : database_(database),
      selectDevice_(database.prepare("SELECT signing_key, agreement_key, platform, name, app_version, registered_at, "
                                     "last_seen_at, revoked_at FROM devices WHERE id=?")),
      saveDevice_(database.prepare(
          "INSERT INTO devices(id, signing_key, agreement_key, platform, name, app_version, registered_at) "
          "VALUES(?,?,?,?,?,?,?) ON CONFLICT(id) DO UPDATE SET signing_key=excluded.signing_key, "
          "agreement_key=excluded.agreement_key, platform=excluded.platform, name=excluded.name, "
          "app_version=excluded.app_version")),
      renameDevice_(database.prepare("UPDATE devices SET name=? WHERE id=?")),
      seeDevice_(database.prepare("UPDATE devices SET last_seen_at=? WHERE id=? AND revoked_at IS NULL")),
      revokeDevice_(
          database.prepare("UPDATE devices SET revoked_at=?, name='', app_version='', last_seen_at=NULL WHERE id=?")),
      insertPair_(database.prepare("INSERT INTO pairs VALUES(?,?,?) ON CONFLICT DO UPDATE SET "
                                   "paired_at=excluded.paired_at")),
      deletePair_(database.prepare("DELETE FROM pairs WHERE mac_id=? AND phone_id=?")),
      selectPair_(database.prepare("SELECT 1 FROM pairs WHERE mac_id=? AND phone_id=?")),
      selectPairs_(database.prepare("SELECT mac_id, phone_id, paired_at FROM pairs WHERE mac_id=?1 OR phone_id=?1 "
                                    "ORDER BY paired_at, mac_id, phone_id")),
      insertFeedback_(database.prepare("INSERT INTO feedback(device_id, at, body) VALUES(?,?,?)")),
      deleteFeedback_(database.prepare("DELETE FROM feedback WHERE device_id=?")),
      countDevices_(database.prepare("SELECT count(*) FROM devices WHERE revoked_at IS NULL")),
      countPairs_(database.prepare("SELECT count(*) FROM pairs")) {}

std::optional<Device> DeviceStore::device(const std::string& id) {
  if (const auto found = recent_.find(id); found != recent_.end()) return found->second;
  auto row = selectDevice_.query(id);
  if (!row.next()) return std::nullopt;
  if (recent_.size() >= kRecentDevices) recent_.clear();
  return recent_.emplace(id, readDevice(row, id)).first->second;
}

void DeviceStore::forgetRecent() {
  recent_.clear();
  recentPairs_.clear();
}

void DeviceStore::save(const Device& device) {
  recent_.erase(device.id);
  saveDevice_.run(device.id, ByteView(device.signingKey), ByteView(device.agreementKey), rawValue(device.platform),
                  device.name, device.appVersion, device.registeredAt);
}

void DeviceStore::rename(const std::string& id, const std::string& name) {
  recent_.erase(id);
  renameDevice_.run(name, id);
}

void DeviceStore::markSeen(const std::string& id, std::int64_t at) {
  seeDevice_.run(at, id);
  if (const auto found = recent_.find(id); found != recent_.end()) found->second.lastSeenAt = at;
}

void DeviceStore::revoke(const std::string& id, std::int64_t at) {
  recent_.erase(id);
  revokeDevice_.run(at, id);
}

void DeviceStore::addPair(const Pair& pair) {
  insertPair_.run(pair.macId, pair.phoneId, pair.pairedAt);
}

bool DeviceStore::removePair(const std::string& macId, const std::string& phoneId) {
  recentPairs_.erase(pairKey(macId, phoneId));
  deletePair_.run(macId, phoneId);
  return database_.changes() > 0;
}

bool DeviceStore::arePaired(const std::string& macId, const std::string& phoneId) {
  std::string key = pairKey(macId, phoneId);
  if (recentPairs_.contains(key)) return true;
  if (!selectPair_.query(macId, phoneId).next()) return false;
  if (recentPairs_.size() >= kRecentPairs) recentPairs_.clear();
  recentPairs_.insert(std::move(key));
  return true;
}

std::vector<Pair> DeviceStore::pairsOf(const std::string& deviceId) {
  std::vector<Pair> pairs;
  auto row = selectPairs_.query(deviceId);
  while (row.next()) pairs.push_back({row.text(0), row.text(1), row.integer(2)});
  return pairs;
}

void DeviceStore::removeFeedbackOf(const std::string& deviceId) {
  deleteFeedback_.run(deviceId);
}

void DeviceStore::addFeedback(const std::string& deviceId, std::int64_t at, const std::string& body) {
  insertFeedback_.run(deviceId, at, body);
}

std::int64_t DeviceStore::number(Statement& count) {
  auto row = count.query();
  return row.next() ? row.integer(0) : 0;
}

}  // namespace quillet
