// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {
namespace {

std::runtime_error failed(const std::filesystem::path& file, const char* what, int code) {
  return std::runtime_error("\"" + file.string() + "\" can't be " + what + ": " +
                            std::generic_category().message(code) + ".");
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) {
  AtomicFile::createFolders(folder);
  const auto path = folder / "phone.lock";
  file_ = ::open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
  if (file_ < 0 && errno != EACCES && errno != EROFS) throw failed(path, "opened", errno);
  while (file_ >= 0 && ::flock(file_, LOCK_EX) != 0 && errno == EINTR) continue;
}

FolderLock::~FolderLock() {
  if (file_ >= 0) ::close(file_);
}

std::optional<std::string> readIfThere(const std::filesystem::path& file) {
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  if (!stream.is_open()) {
    if (errno == ENOENT) return std::nullopt;
    throw failed(file, "read", errno);
  }
  try {
    return std::string{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  } catch (const std::ios_base::failure& failure) {
    throw failed(file, "read", failure.code().value());
  }
}

void writeDurably(const std::filesystem::path& file, const std::string& text) {
  try {
    AtomicFile::write(bytesOf(text), file);
  } catch (const AtomicFile::Failure& failure) {
    throw failed(file, "written", failure.code);
  } catch (const std::filesystem::filesystem_error& error) {
    throw failed(file, "written", error.code().value());
  }
}

}  // namespace quillet
