// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "QuilletKit/Protocol/WireModels.h"
#include "QuilletService/Storage/Database.h"

namespace quillet {

/// One attempt to introduce a phone to a desktop. The sealed identities are ciphertext to the service.
struct PairingSession {
  std::string id, code;
  PairingState state = PairingState::open;
  std::int64_t expiresAt = 0;
  std::string macId, macName, macKey;
  std::optional<std::string> phoneId, phoneName, phoneKey, macSealed, phoneSealed;
};

class PairingStore {
 public:
  explicit PairingStore(Database& database);

  void save(const PairingSession& session);
  std::optional<PairingSession> session(const std::string& id);
  /// The session that a code names: of several with one code over time, the one that expires last.
  std::optional<PairingSession> sessionWithCode(const std::string& code);
  void removeOfDevice(const std::string& deviceId);
  void removeExpiredBefore(std::int64_t time);

 private:
  Statement save_, byId_, byCode_, removeOfDevice_, removeExpired_;
};

}  // namespace quillet
