// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>

#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {

/// Where a file of the application lives: in `folder`, which is made if need be. Absent where there is no such folder.
inline std::optional<std::filesystem::path> supportFile(const std::optional<std::filesystem::path>& folder,
                                                        const char* name) {
  if (!folder) return std::nullopt;
  try {
    AtomicFile::createFolders(*folder);
  } catch (const std::filesystem::filesystem_error&) {
    return std::nullopt;
  }
  return *folder / name;
}

}  // namespace quillet
