// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace quillet {

/// The whole contents of a file. Throws std::filesystem::filesystem_error or std::system_error.
inline std::string readFile(const std::filesystem::path& path) {
  std::string text(std::filesystem::file_size(path), '\0');
  std::ifstream stream(path, std::ios::binary);
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!stream) throw std::system_error(std::make_error_code(std::errc::io_error), "read");
  return text;
}

}  // namespace quillet
