// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "QuilletKit/Base/Crypto.h"
#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletService/Storage/Database.h"

namespace quillet {

/// A registered device, or the memory of a deleted one.
struct Device {
  std::string id;
  Crypto::Key signingKey{}, agreementKey{};
  DevicePlatform platform = DevicePlatform::ios;
  std::string name, appVersion;
  std::int64_t registeredAt = 0;
  std::optional<std::int64_t> lastSeenAt;
  bool revoked = false;

  bool isDesktop() const { return platform != DevicePlatform::ios; }
  /// The start of the id, for logs.
  std::string_view shortId() const { return std::string_view(id).substr(0, 8); }
};

struct Pair {
  std::string macId, phoneId;
  std::int64_t pairedAt = 0;
};

/// Devices and pairs on disk, with what was asked for lately in memory. Times in milliseconds since 1970.
class DeviceStore {
 public:
  explicit DeviceStore(Database& database);

  /// Also finds revoked devices.
  std::optional<Device> device(const std::string& id);
  /// Inserts, or replaces all but `registeredAt` and `lastSeenAt`.
  void save(const Device& device);
  void rename(const std::string& id, const std::string& name);
  /// Does nothing for a revoked device.
  void markSeen(const std::string& id, std::int64_t at);
  /// Keeps only the id and the keys, so that the identity stays refused.
  void revoke(const std::string& id, std::int64_t at);

  void addPair(const Pair& pair);
  /// False if there was none.
  bool removePair(const std::string& macId, const std::string& phoneId);
  bool arePaired(const std::string& macId, const std::string& phoneId);
  /// Those of a device of either kind, the oldest first.
  std::vector<Pair> pairsOf(const std::string& deviceId);

  /// Removes all feedback of the device.
  void removeFeedbackOf(const std::string& deviceId);
  void addFeedback(const std::string& deviceId, std::int64_t at, const std::string& body);
  /// Those that aren't revoked.
  std::int64_t count() { return number(countDevices_); }
  std::int64_t pairCount() { return number(countPairs_); }
  /// What was asked for lately is on disk only, until it is asked for again.
  void forgetRecent();

 private:
  static std::int64_t number(Statement& count);

  Database& database_;
  std::unordered_map<std::string, Device> recent_;
  std::unordered_set<std::string> recentPairs_;
  Statement selectDevice_, saveDevice_, renameDevice_, seeDevice_, revokeDevice_;
  Statement insertPair_, deletePair_, selectPair_, selectPairs_, insertFeedback_, deleteFeedback_, countDevices_,
      countPairs_;
};

}  // namespace quillet
