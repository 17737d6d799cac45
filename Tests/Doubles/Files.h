// SPDX-License-Identifier: MIT
#pragma once

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace quillet::test {

/// A file of the repository that these tests were built from, by its path in there.
std::string sourceFile(const std::string& path);
/// A program that was built beside these tests, by its name.
std::string builtProgram(const std::string& name);

/// Empty for a file that isn't there.
inline std::string readText(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator(stream), {}};
}
inline void writeText(const std::filesystem::path& file, std::string_view text) {
  std::ofstream(file, std::ios::binary) << text;
}

/// A fresh folder, removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quillet-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category());
    path_ = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace quillet::test
