// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/PairingStore.h"

#include "QuilletKit/Base/RawValue.h"

namespace quillet {
namespace {

constexpr std::string_view kById =
    "SELECT id, code, state, expires_at, mac_id, mac_name, mac_key, phone_id, phone_name, phone_key, mac_sealed, "
    "phone_sealed FROM pairing_sessions WHERE id=?";
constexpr std::string_view kByCode =
    "SELECT id, code, state, expires_at, mac_id, mac_name, mac_key, phone_id, phone_name, phone_key, mac_sealed, "
    "phone_sealed FROM pairing_sessions WHERE code=? ORDER BY expires_at DESC LIMIT 1";

std::optional<PairingSession> readOne(Query row) {
  if (!row.next()) return std::nullopt;
  return PairingSession{
      .id = row.text(0),
      .code = row.text(1),
      .state = fromRaw<PairingState>(row.text(2)).value(),
      .expiresAt = row.integer(3),
      .macId = row.text(4),
      .macName = row.text(5),
      .macKey = row.text(6),
      .phoneId = row.optionalText(7),
      .phoneName = row.optionalText(8),
      .phoneKey = row.optionalText(9),
      .macSealed = row.optionalText(10),
      .phoneSealed = row.optionalText(11),
  };
}

}  // namespace

PairingStore::PairingStore(Database& database)
    : save_(database.prepare("INSERT OR REPLACE INTO pairing_sessions VALUES(?,?,?,?,?,?,?,?,?,?,?,?)")),
      byId_(database.prepare(kById)),
      byCode_(database.prepare(kByCode)),
      removeOfDevice_(database.prepare("DELETE FROM pairing_sessions WHERE mac_id=?1 OR phone_id=?1")),
      removeExpired_(database.prepare("DELETE FROM pairing_sessions WHERE expires_at<?")) {}

void PairingStore::save(const PairingSession& s) {
  save_.run(s.id, s.code, rawValue(s.state), s.expiresAt, s.macId, s.macName, s.macKey, s.phoneId, s.phoneName,
            s.phoneKey, s.macSealed, s.phoneSealed);
}

std::optional<PairingSession> PairingStore::session(const std::string& id) {
  return readOne(byId_.query(id));
}

std::optional<PairingSession> PairingStore::sessionWithCode(const std::string& code) {
  return readOne(byCode_.query(code));
}

void PairingStore::removeOfDevice(const std::string& deviceId) {
  removeOfDevice_.run(deviceId);
}

void PairingStore::removeExpiredBefore(std::int64_t time) {
  removeExpired_.run(time);
}

}  // namespace quillet
