// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/DeliveryStore.h"

#include "QuilletKit/Base/RawValue.h"

namespace quillet {

DeliveryStore::DeliveryStore(Database& database)
    : select_(database.prepare("SELECT envelope, state, sent, result FROM deliveries "
                               "WHERE mac_id=? AND phone_id=? AND utterance_id=?")),
      save_(database.prepare(
          "INSERT INTO deliveries(mac_id, phone_id, utterance_id, envelope, state, sent, updated_at, result) "
          "VALUES(?,?,?,?,?,?,?,?) ON CONFLICT(mac_id, phone_id, utterance_id) DO UPDATE SET "
          "envelope=excluded.envelope, state=excluded.state, sent=excluded.sent, updated_at=excluded.updated_at, "
          "result=excluded.result")),
      markSent_(database.prepare("UPDATE deliveries SET sent=1 WHERE mac_id=? AND phone_id=? AND utterance_id=?")),
      pending_(database.prepare("SELECT phone_id, utterance_id, envelope FROM deliveries "
                                "WHERE mac_id=? AND state IN ('queued', 'received') ORDER BY number")),
      backlog_(database.prepare("SELECT count(*), coalesce(sum(length(CAST(envelope AS BLOB))), 0) FROM deliveries "
                                "WHERE mac_id=? AND state IN ('queued', 'received')")),
      markReceived_(database.prepare("UPDATE deliveries SET state='received', updated_at=? "
                                     "WHERE mac_id=? AND utterance_id=? AND state='queued' RETURNING phone_id")),
      expire_(database.prepare("UPDATE deliveries SET state='expired', envelope='', updated_at=? WHERE updated_at<? "
                               "AND state IN ('queued', 'received') RETURNING mac_id, phone_id, utterance_id")),
      forget_(database.prepare("DELETE FROM deliveries WHERE updated_at<?")),
      pendingCount_(database.prepare("SELECT count(*) FROM deliveries WHERE state IN ('queued', 'received')")),
      savePresence_(database.prepare("INSERT OR REPLACE INTO presence VALUES(?,?,?,?)")),
      selectPresence_(database.prepare("SELECT envelope, at FROM presence WHERE mac_id=? AND phone_id=?")),
      removeDeliveries_(database.prepare("DELETE FROM deliveries WHERE mac_id=? AND phone_id=?")),
      removePresence_(database.prepare("DELETE FROM presence WHERE mac_id=? AND phone_id=?")) {}

std::optional<Delivery> DeliveryStore::delivery(const DeliveryKey& key) {
  auto row = select_.query(key.macId, key.phoneId, key.utteranceId);
  if (!row.next()) return std::nullopt;
  return Delivery{row.text(0), fromRaw<DeliveryTransportState>(row.text(1)).value(), row.integer(2) != 0,
                  row.optionalText(3)};
}

void DeliveryStore::save(const DeliveryKey& key, const Delivery& delivery, std::int64_t at) {
  save_.run(key.macId, key.phoneId, key.utteranceId, delivery.envelope, rawValue(delivery.state),
            std::int64_t{delivery.sent}, at, delivery.result);
}

void DeliveryStore::markSent(const DeliveryKey& key) {
  markSent_.run(key.macId, key.phoneId, key.utteranceId);
}

std::vector<PendingDelivery> DeliveryStore::pending(const std::string& macId) {
  std::vector<PendingDelivery> found;
  auto row = pending_.query(macId);
  while (row.next()) found.push_back({{macId, row.text(0), row.text(1)}, row.text(2)});
  return found;
}

Backlog DeliveryStore::backlog(const std::string& macId) {
  auto row = backlog_.query(macId);
  return row.next() ? Backlog{row.integer(0), row.integer(1)} : Backlog{};
}

std::int64_t DeliveryStore::pendingCount() {
  auto row = pendingCount_.query();
  return row.next() ? row.integer(0) : 0;
}

std::vector<DeliveryKey> DeliveryStore::markReceived(const std::string& macId, const std::string& utteranceId,
                                                     std::int64_t at) {
  std::vector<DeliveryKey> changed;
  auto row = markReceived_.query(at, macId, utteranceId);
  while (row.next()) changed.push_back({macId, row.text(0), utteranceId});
  return changed;
}

std::vector<DeliveryKey> DeliveryStore::expire(std::int64_t pendingSince, std::int64_t doneSince, std::int64_t now) {
  std::vector<DeliveryKey> expired;
  {
    auto row = expire_.query(now, pendingSince);
    while (row.next()) expired.push_back({row.text(0), row.text(1), row.text(2)});
  }
  forget_.run(doneSince);
  return expired;
}

void DeliveryStore::savePresence(const std::string& macId, const std::string& phoneId, const StoredPresence& presence) {
  savePresence_.run(macId, phoneId, presence.envelope, presence.at);
}

std::optional<StoredPresence> DeliveryStore::presence(const std::string& macId, const std::string& phoneId) {
  auto row = selectPresence_.query(macId, phoneId);
  if (!row.next()) return std::nullopt;
  return StoredPresence{row.text(0), row.integer(1)};
}

void DeliveryStore::removeOfPair(const std::string& macId, const std::string& phoneId) {
  removeDeliveries_.run(macId, phoneId);
  removePresence_.run(macId, phoneId);
}

}  // namespace quillet
