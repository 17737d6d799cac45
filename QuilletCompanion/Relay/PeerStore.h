// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/Base/Observable.h"
#include "QuilletKit/Identity/DeviceIdentity.h"

namespace quillet {

struct StoredPeer {
  PeerIdentity identity;
  std::int64_t pairedAt = 0;  ///< Milliseconds since 1970.
  bool operator==(const StoredPeer&) const = default;
};

/// The paired phones: the root of trust of the delivery path. One JSON file; what can't be read stays as it is on disk
/// until the next write. Main thread only.
class PeerStore {
 public:
  /// Without a path the store lives in memory. Never fails.
  explicit PeerStore(std::optional<std::filesystem::path> fileURL);

  const Observable<std::vector<StoredPeer>>& peers() const { return peers_; }
  std::optional<StoredPeer> peer(const std::string& deviceId) const;
  /// Whether these are all peers that were ever stored: there is a file, and all of it could be read.
  bool isComplete() const { return isComplete_; }
  /// Memory first, then the file. Throws std::invalid_argument for an inconsistent identity, or the write's error.
  void upsert(const PeerIdentity& identity, std::int64_t pairedAt);
  /// Throws the write's error. An unknown id writes nothing.
  void remove(const std::string& deviceId);
  /// Throws when the file can't be removed; memory is empty all the same.
  void removeAll();

 private:
  void load();
  void store(std::vector<StoredPeer> peers);

  std::optional<std::filesystem::path> fileURL_;
  bool isComplete_ = false;
  Observable<std::vector<StoredPeer>> peers_;
};

}  // namespace quillet
