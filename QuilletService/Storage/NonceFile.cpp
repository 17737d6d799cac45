// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/NonceFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include "QuilletKit/Base/Crypto.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {

/// Stands where the first record would.
struct NonceFile::Head {
  Key boot{};
  std::uint64_t spare = 0;
  std::uint64_t mark = 0;
};

static_assert(std::is_trivially_copyable_v<NonceFile::Record> && sizeof(NonceFile::Record) == 32);

namespace {

constexpr std::uint64_t kComplete = 0x31'54'4c'51'65'63'6e'6f;
constexpr std::uint64_t kIncomplete = kComplete + 1;
constexpr NonceFile::Key kNoKey{};

/// What the system calls this run of itself; all zero where it doesn't say.
NonceFile::Key currentBoot() {
  std::string id;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> id;
  NonceFile::Key boot{};
  const Crypto::Digest digest = Crypto::sha256(bytesOf(id));
  if (!id.empty()) std::copy_n(digest.begin(), boot.size(), boot.begin());
  return boot;
}

off_t offsetOf(std::size_t record) {
  return static_cast<off_t>((record + 1) * sizeof(NonceFile::Record));
}

template <typename Value>
bool writeAt(int file, const Value* values, std::size_t count, off_t offset) {
  const auto size = static_cast<ssize_t>(count * sizeof(Value));
  return ::pwrite(file, values, static_cast<std::size_t>(size), offset) == size;
}

std::size_t readAt(int file, void* data, std::size_t size, off_t offset) {
  std::size_t got = 0;
  while (got < size) {
    const auto count = ::pread(file, static_cast<char*>(data) + got, size - got, offset + static_cast<off_t>(got));
    if (count <= 0) break;
    got += static_cast<std::size_t>(count);
  }
  return got;
}

}  // namespace

NonceFile::NonceFile(std::filesystem::path path) : path_(std::move(path)) {
  if (path_.empty()) return;
  new_ = !std::filesystem::exists(path_);
  file_ = openLocked(path_, 0);
}

int NonceFile::openLocked(const std::filesystem::path& path, int flags) {
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | flags, 0600);
  if (file < 0) {
    throw std::filesystem::filesystem_error("cannot open", path, std::error_code(errno, std::generic_category()));
  }
  if (::flock(file, LOCK_EX | LOCK_NB) == 0) return file;
  ::close(file);
  throw InUse("Another service is using this database.");
}

NonceFile::~NonceFile() {
  if (file_ >= 0) ::close(file_);
}

NonceFile::Contents NonceFile::load() {
  if (file_ < 0 || new_) return {};
  Head head;
  const bool headed = readAt(file_, &head, sizeof head, 0) == sizeof head;
  Contents found;
  found.complete = headed && head.mark == kComplete && head.boot == currentBoot();
  if (!headed || (head.mark != kComplete && head.mark != kIncomplete)) return found;
  found.records.resize(std::filesystem::file_size(path_) / sizeof(Record) - 1);
  const std::size_t got = readAt(file_, found.records.data(), found.records.size() * sizeof(Record), offsetOf(0));
  if (got < found.records.size() * sizeof(Record)) found.complete = false;
  found.records.resize(got / sizeof(Record));
  records_ = found.records.size();
  std::erase_if(found.records, [&](const Record& record) {
    if (record.key != kNoKey) return false;
    found.forgotten.push_back({static_cast<std::int64_t>(record.device), record.expiry});
    return true;
  });
  return found;
}

bool NonceFile::append(const Record& record) {
  if (file_ < 0) return true;
  const bool written = writeAt(file_, &record, 1, offsetOf(records_));
  noteOutcome(written);
  if (written) ++records_;
  return written || markIncomplete();
}

/// Takes no room on a full disk, since the head stands there already.
bool NonceFile::markIncomplete() {
  if (markedIncomplete_) return true;
  const Head head{currentBoot(), 0, kIncomplete};
  return markedIncomplete_ = writeAt(file_, &head, 1, 0);
}

void NonceFile::replace(const Contents& contents) {
  if (file_ < 0) return;
  std::vector<Record> records = contents.records;
  for (const auto& [first, last] : contents.forgotten) {
    records.push_back({kNoKey, last, static_cast<std::uint64_t>(first)});
  }
  // Both are locked while one takes the other's name, so that no other service slips in.
  const std::filesystem::path fresh = path_.string() + ".new";
  try {
    const int file = openLocked(fresh, O_TRUNC);
    const bool done = write(file, records) && ::rename(fresh.c_str(), path_.c_str()) == 0;
    noteOutcome(done);
    ::close(done ? std::exchange(file_, file) : file);
    if (!done) return;
    records_ = records.size();
    markedIncomplete_ = false;
  } catch (const std::exception&) {
    noteOutcome(false);
  }
}

bool NonceFile::write(int file, const std::vector<Record>& records) {
  const Head head{currentBoot(), 0, kComplete};
  return writeAt(file, &head, 1, 0) && writeAt(file, records.data(), records.size(), offsetOf(0));
}

void NonceFile::noteOutcome(bool written) {
  if (!written && !failed_) Log::error("service", "Cannot write the file of nonces: {}", errno);
  failed_ = !written;
}

}  // namespace quillet
