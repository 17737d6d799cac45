// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/NonceFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
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
  std::string id = File::read("/proc/sys/kernel/random/boot_id").value.value_or("");
  id.resize(std::min(id.size(), id.find('\n')));
  NonceFile::Key boot{};
  const Crypto::Digest digest = Crypto::sha256(bytesOf(id));
  if (!id.empty()) std::copy_n(digest.begin(), boot.size(), boot.begin());
  return boot;
}

off_t offsetOf(std::size_t record) {
  return static_cast<off_t>((record + 1) * sizeof(NonceFile::Record));
}

template <typename Value>
bool writeAt(const File& file, const Value* values, std::size_t count, off_t offset) {
  const auto size = static_cast<ssize_t>(count * sizeof(Value));
  return ::pwrite(file.descriptor(), values, static_cast<std::size_t>(size), offset) == size;
}

std::size_t readAt(const File& file, void* data, std::size_t size, off_t offset) {
  std::size_t got = 0;
  while (got < size) {
    const auto count =
        ::pread(file.descriptor(), static_cast<char*>(data) + got, size - got, offset + static_cast<off_t>(got));
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

File NonceFile::openLocked(const std::filesystem::path& path, int flags) {
  File file(path, O_RDWR | O_CREAT | flags);
  if (!file) {
    throw std::filesystem::filesystem_error("cannot open", path,
                                            std::error_code(file.error(), std::generic_category()));
  }
  if (file.tryLock() != File::Lock::held) throw InUse("Another service is using this database.");
  return file;
}

NonceFile::Contents NonceFile::load() {
  if (!file_ || new_) return {};
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
  if (!file_) return true;
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
  if (!file_) return;
  std::vector<Record> records = contents.records;
  for (const auto& [first, last] : contents.forgotten) {
    records.push_back({kNoKey, last, static_cast<std::uint64_t>(first)});
  }
  // Both are locked while one takes the other's name, so that no other service slips in.
  const std::filesystem::path fresh = path_.string() + ".new";
  try {
    File file = openLocked(fresh, O_TRUNC);
    const bool done = write(file, records) && ::rename(fresh.c_str(), path_.c_str()) == 0;
    noteOutcome(done);
    if (!done) return;
    file_ = std::move(file);
    records_ = records.size();
    markedIncomplete_ = false;
  } catch (const std::exception&) {
    noteOutcome(false);
  }
}

bool NonceFile::write(const File& file, const std::vector<Record>& records) {
  const Head head{currentBoot(), 0, kComplete};
  return writeAt(file, &head, 1, 0) && writeAt(file, records.data(), records.size(), offsetOf(0));
}

void NonceFile::noteOutcome(bool written) {
  if (!written && !failed_) Log::error("service", "Cannot write the file of nonces: {}", errno);
  failed_ = !written;
}

}  // namespace quillet
