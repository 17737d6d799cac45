// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace quillet {

/// The nonces of the requests that were accepted lately, one record after the other in a file of this machine's byte
/// order. A record survives the end of the process at once, and a power failure as soon as the system has written it
/// (a restart of the machine takes longer than that). Holds a lock for as long as it is open, so that two services
/// can't serve one database. Failing to write is logged once, and never fails a request.
class NonceFile {
 public:
  using Key = std::array<std::uint8_t, 16>;
  struct Record {
    Key key{};
    std::int64_t expiry = 0;  ///< Milliseconds since 1970.
    std::uint64_t device = 0;
  };
  struct InUse : std::runtime_error {
    using std::runtime_error::runtime_error;
  };

  NonceFile() = default;
  /// Opens or creates; an empty path keeps nothing. Throws InUse or std::filesystem::filesystem_error.
  explicit NonceFile(std::filesystem::path path);
  ~NonceFile();
  NonceFile(const NonceFile&) = delete;
  NonceFile& operator=(const NonceFile&) = delete;

  /// All whole records; a torn last one is left out.
  std::vector<Record> load();
  void append(const Record& record);
  /// Makes these the file's only records.
  void replace(const std::vector<Record>& records);
  std::size_t records() const { return records_; }

 private:
  static int openLocked(const std::filesystem::path& path, int flags);
  static bool write(int file, const std::vector<Record>& records);
  void noteOutcome(bool written);

  std::filesystem::path path_;
  int file_ = -1;
  std::size_t records_ = 0;
  bool failed_ = false;
};

}  // namespace quillet
