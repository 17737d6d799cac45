// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "QuilletKit/Base/File.h"
#include "QuilletService/Storage/TimeSpans.h"

namespace quillet {

/// The nonces of the requests that were accepted lately, one record after the other in a file of this machine's byte
/// order. A record survives the end of the process at once, but not always that of the machine; so a head of a record's
/// size says under which boot it was written, and whether a write has failed since. Holds a lock for as long as it is
/// open, so that two services can't serve one database. A span of time is a record, too: one without a key.
class NonceFile {
 public:
  using Key = std::array<std::uint8_t, 16>;
  struct Record {
    Key key{};
    std::int64_t expiry = 0;  ///< Milliseconds since 1970.
    std::uint64_t device = 0;
  };
  struct Contents {
    std::vector<Record> records;
    std::vector<TimeSpans::Span> forgotten;  ///< The expiry times of what is left out.
    bool complete = true;                    ///< Nothing else can be missing.
  };
  struct InUse : std::runtime_error {
    using std::runtime_error::runtime_error;
  };

  NonceFile() = default;
  /// Opens or creates; an empty path keeps nothing. Throws InUse or std::filesystem::filesystem_error.
  explicit NonceFile(std::filesystem::path path);
  NonceFile(const NonceFile&) = delete;
  NonceFile& operator=(const NonceFile&) = delete;

  /// All whole records; a torn last one is left out. A file that is new is complete.
  Contents load();
  /// False when the next start won't know of the record.
  bool append(const Record& record);
  /// Makes these the file's only records, which are all there are. On failure the file stays as it is.
  void replace(const Contents& contents);
  std::size_t records() const { return records_; }
  /// The last write worked.
  bool healthy() const { return !failed_; }

 private:
  struct Head;
  static File openLocked(const std::filesystem::path& path, int flags);
  static bool write(const File& file, const std::vector<Record>& records);
  bool markIncomplete();
  void noteOutcome(bool written);

  std::filesystem::path path_;
  File file_;
  bool new_ = false;
  std::size_t records_ = 0;
  bool failed_ = false;
  bool markedIncomplete_ = false;
};

}  // namespace quillet
