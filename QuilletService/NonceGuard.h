// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "QuilletKit/Async/Clock.h"
#include "QuilletService/Storage/NonceFile.h"

namespace quillet {

/// Remembers the nonces of each device for as long as their requests could be repeated; with a file, over a restart
/// too. A clock that was set ahead and back makes old requests look new. So nothing is forgotten before it has been
/// held for the longest time that a good clock allows a request, and what could have been forgotten is refused.
class NonceGuard {
 public:
  using Key = NonceFile::Key;
  enum class Outcome {
    taken,
    repeated,
    full,   ///< The device has no room left.
    unkept  ///< Taken, but the next start won't know of it.
  };
  struct Moment {
    std::int64_t wall = 0;  ///< Milliseconds since 1970.
    MonotonicTime monotonic{};
  };
  struct Bounds {
    std::size_t perDevice = 0;               ///< The nonces remembered for one device.
    std::chrono::milliseconds maximumAge{};  ///< How far a request's time may be off, in both directions.
  };

  /// Takes up what `file` holds. An empty path keeps nothing. Throws what NonceFile throws.
  NonceGuard(Bounds bounds, const std::filesystem::path& file, Moment now);

  /// 16 bytes that stand for a nonce of a device. Nobody can find another pair with the same.
  static Key key(std::string_view deviceId, std::string_view nonce);

  bool contains(const Key& key) const { return known_.contains(key); }
  /// Whether a request of that time may have been taken and forgotten since.
  bool mayHaveForgotten(std::int64_t timestamp) const { return forgotten_.covers(expiryOf(timestamp)); }
  Outcome add(std::string_view deviceId, const Key& key, std::int64_t timestamp, Moment now);
  /// Forgets what is over, for all devices, and now and then makes the file shorter.
  void sweep(Moment now);
  std::size_t size() const { return known_.size(); }
  /// False while the file can't be written.
  bool isKept() const { return file_.healthy(); }

 private:
  using Record = NonceFile::Record;
  struct Held {
    Record record;
    MonotonicTime until;
  };
  struct Later {
    bool operator()(const Held& a, const Held& b) const { return a.record.expiry > b.record.expiry; }
  };
  struct Hash {
    std::size_t operator()(const Key& key) const;
  };
  std::int64_t expiryOf(std::int64_t timestamp) const { return timestamp + bounds_.maximumAge.count(); }
  void remember(const Record& record, MonotonicTime now);
  void forget(Moment now);
  void shortenFile();

  Bounds bounds_;
  // Flat, as nodes would lie strewn among the connections' memory and keep it from going back to the system.
  boost::unordered_flat_set<Key, Hash> known_;
  std::vector<Held> byExpiry_;  ///< A heap, the earliest first.
  boost::unordered_flat_map<std::uint64_t, std::size_t> counts_;
  TimeSpans forgotten_;  ///< The expiry times of what was forgotten.
  NonceFile file_;
};

}  // namespace quillet
