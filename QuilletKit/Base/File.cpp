// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/File.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace quillet {
namespace {

constexpr mode_t kOwnerAlone = 0600;

bool isAbsent(int error) {
  return error == ENOENT || error == ENOTDIR;
}

File::Reading<std::string> failed(int error) {
  return {isAbsent(error) ? File::Condition::absent : File::Condition::unreadable, {}, error};
}

}  // namespace

File::File(const std::filesystem::path& path, int flags)
    : descriptor_(::open(path.c_str(), flags | O_CLOEXEC, kOwnerAlone)), error_(descriptor_ < 0 ? errno : 0) {}

File::File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)), error_(other.error_) {}

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
    error_ = other.error_;
  }
  return *this;
}

void File::close() {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

bool File::isPlain() const {
  struct stat status {};
  return descriptor_ >= 0 && ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
}

bool File::isLinked() const {
  struct stat status {};
  return descriptor_ >= 0 && ::fstat(descriptor_, &status) == 0 && status.st_nlink > 0;
}

File::Reading<std::string> File::read(std::size_t most) const {
  struct stat status {};
  if (descriptor_ < 0) return failed(error_);
  if (::fstat(descriptor_, &status) != 0) return failed(errno);
  Reading<std::string> reading{
      Condition::good, "", 0,
      static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1000 + status.st_mtim.tv_nsec / 1'000'000};
  if (std::cmp_less(status.st_size, most)) reading.value->reserve(static_cast<std::size_t>(status.st_size));
  std::array<char, 65'536> piece;
  for (;;) {
    const ssize_t count = ::read(descriptor_, piece.data(), piece.size());
    if (count == 0) return reading;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return failed(errno);
    reading.value->append(piece.data(), static_cast<std::size_t>(count));
    if (reading.value->size() > most) return failed(EFBIG);
  }
}

bool File::lock() const {
  while (::flock(descriptor_, LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

File::Lock File::tryLock() const {
  if (::flock(descriptor_, LOCK_EX | LOCK_NB) == 0) return Lock::held;
  return errno == EWOULDBLOCK ? Lock::elsewhere : Lock::impossible;
}

File::Reading<std::string> File::read(const std::filesystem::path& path) {
  return File(path, O_RDONLY).read();
}

}  // namespace quillet
