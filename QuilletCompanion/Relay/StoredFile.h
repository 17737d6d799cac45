// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>

#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {

/// The whole contents of a file. Throws std::filesystem::filesystem_error or std::system_error.
inline std::string readFile(const std::filesystem::path& path) {
  std::string text(std::filesystem::file_size(path), '\0');
  std::ifstream stream(path, std::ios::binary);
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!stream) throw std::system_error(std::make_error_code(std::errc::io_error), "read");
  return text;
}

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
