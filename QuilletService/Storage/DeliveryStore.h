// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/Protocol/WireModels.h"
#include "QuilletService/Storage/Database.h"

namespace quillet {

/// What names a delivery: the desktop, the phone and the phone's utterance.
struct DeliveryKey {
  std::string macId, phoneId, utteranceId;
};

/// A delivery on its way or done. Envelopes stay in their JSON form, which the service never opens.
struct Delivery {
  std::string envelope;
  DeliveryTransportState state = DeliveryTransportState::queued;
  bool sent = false;  ///< Has been written to a socket of the desktop at least once.
  std::optional<std::string> result;
};

struct PendingDelivery {
  DeliveryKey key;
  std::string envelope;
};

struct StoredPresence {
  std::string envelope;
  std::int64_t at = 0;
};

/// How much waits for one desktop.
struct Backlog {
  std::int64_t count = 0, bytes = 0;
};

/// Deliveries, and the last readiness that each desktop sealed for each phone.
class DeliveryStore {
 public:
  explicit DeliveryStore(Database& database);

  std::optional<Delivery> delivery(const DeliveryKey& key);
  /// Inserts or replaces; `at` in milliseconds since 1970.
  void save(const DeliveryKey& key, const Delivery& delivery, std::int64_t at);
  void markSent(const DeliveryKey& key);
  /// Without a result yet, in the order in which they came.
  std::vector<PendingDelivery> pending(const std::string& macId);
  Backlog backlog(const std::string& macId);
  /// What waits for any desktop.
  std::int64_t pendingCount();
  /// Every delivery of that utterance to this desktop that waits to be received; gives the keys.
  std::vector<DeliveryKey> markReceived(const std::string& macId, const std::string& utteranceId, std::int64_t at);
  /// What waits since before `pendingSince` becomes "expired" (gives the keys); what is done since before `doneSince`
  /// is forgotten.
  std::vector<DeliveryKey> expire(std::int64_t pendingSince, std::int64_t doneSince, std::int64_t now);

  void savePresence(const std::string& macId, const std::string& phoneId, const StoredPresence& presence);
  std::optional<StoredPresence> presence(const std::string& macId, const std::string& phoneId);

  void removeOfPair(const std::string& macId, const std::string& phoneId);

 private:
  Statement select_, save_, markSent_, pending_, backlog_, markReceived_, expire_, forget_, pendingCount_;
  Statement savePresence_, selectPresence_, removeDeliveries_, removePresence_;
};

}  // namespace quillet
