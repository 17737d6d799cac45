// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/InstanceLock.h"

#include <fcntl.h>

#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {

InstanceLock::InstanceLock(const std::filesystem::path& folder) {
  try {
    AtomicFile::createFolders(folder);
  } catch (const std::filesystem::filesystem_error&) {
    // Then there is no file to lock, either.
  }
  file_ = File(folder / "running.lock", O_RDWR | O_CREAT);
  held_ = file_.tryLock() != File::Lock::elsewhere;
  if (held_) AtomicFile::removeLeftovers(folder);
}

}  // namespace quillet
