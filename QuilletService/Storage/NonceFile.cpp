// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/NonceFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <type_traits>
#include <utility>

#include "QuilletKit/Base/Log.h"

namespace quillet {

static_assert(std::is_trivially_copyable_v<NonceFile::Record> && sizeof(NonceFile::Record) == 32);

NonceFile::NonceFile(std::filesystem::path path) : path_(std::move(path)) {
  if (!path_.empty()) file_ = openLocked(path_, 0);
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

std::vector<NonceFile::Record> NonceFile::load() {
  if (file_ < 0) return {};
  std::vector<Record> found(std::filesystem::file_size(path_) / sizeof(Record));
  const auto wanted = found.size() * sizeof(Record);
  std::size_t got = 0;
  while (got < wanted) {
    const auto count =
        ::pread(file_, reinterpret_cast<char*>(found.data()) + got, wanted - got, static_cast<off_t>(got));
    if (count <= 0) break;
    got += static_cast<std::size_t>(count);
  }
  found.resize(got / sizeof(Record));
  records_ = found.size();
  return found;
}

void NonceFile::append(const Record& record) {
  if (file_ < 0) return;
  const auto offset = static_cast<off_t>(records_ * sizeof(Record));
  noteOutcome(::pwrite(file_, &record, sizeof record, offset) == static_cast<ssize_t>(sizeof record));
  ++records_;
}

void NonceFile::replace(const std::vector<Record>& records) {
  if (file_ < 0) return;
  // Both are locked while one takes the other's name, so that no other service slips in.
  const std::filesystem::path fresh = path_.string() + ".new";
  try {
    const int file = openLocked(fresh, O_TRUNC);
    const bool done = write(file, records) && ::rename(fresh.c_str(), path_.c_str()) == 0;
    noteOutcome(done);
    ::close(done ? std::exchange(file_, file) : file);
    if (done) records_ = records.size();
  } catch (const std::exception&) {
    noteOutcome(false);
  }
}

bool NonceFile::write(int file, const std::vector<Record>& records) {
  const auto size = static_cast<ssize_t>(records.size() * sizeof(Record));
  return ::pwrite(file, records.data(), static_cast<std::size_t>(size), 0) == size;
}

void NonceFile::noteOutcome(bool written) {
  if (!written && !failed_) Log::error("service", "Cannot write the file of nonces: {}", errno);
  failed_ = !written;
}

}  // namespace quillet
