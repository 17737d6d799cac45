// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace quillet {

InstanceLock::InstanceLock(const std::filesystem::path& folder) {
  constexpr mode_t kOnlyOurs = 0600;
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  file_ = ::open((folder / "running.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kOnlyOurs);
  if (file_ >= 0) held_ = ::flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

InstanceLock::~InstanceLock() {
  if (file_ >= 0) ::close(file_);
}

}  // namespace quillet
