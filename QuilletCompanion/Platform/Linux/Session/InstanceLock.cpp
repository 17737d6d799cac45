// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {

InstanceLock::InstanceLock(const std::filesystem::path& folder) {
  constexpr mode_t kOnlyOurs = 0600;
  try {
    AtomicFile::createFolders(folder);
  } catch (const std::filesystem::filesystem_error&) {
    // Then there is no file to lock, either.
  }
  file_ = ::open((folder / "running.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kOnlyOurs);
  if (file_ >= 0) held_ = ::flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

InstanceLock::~InstanceLock() {
  if (file_ >= 0) ::close(file_);
}

}  // namespace quillet
