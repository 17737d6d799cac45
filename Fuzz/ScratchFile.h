// SPDX-License-Identifier: MIT
#pragma once

#include "Fuzz/FuzzInput.h"
#include "Tests/Doubles/Files.h"

namespace quillet::fuzz {

/// The input as a file in a folder of its own, for what reads a path.
class ScratchFile {
 public:
  ScratchFile(const char* name, const std::uint8_t* data, std::size_t size) : path_(folder_.path() / name) {
    test::writeText(path_, textOf(data, size));
  }

  const std::filesystem::path& path() const { return path_; }
  const std::filesystem::path& folder() const { return folder_.path(); }
  std::string text() const { return test::readText(path_); }

 private:
  test::TemporaryFolder folder_;
  std::filesystem::path path_;
};

}  // namespace quillet::fuzz
