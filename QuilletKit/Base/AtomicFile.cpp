// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "QuilletKit/Base/UUID.h"

namespace quillet::AtomicFile {
namespace {

namespace fs = std::filesystem;
constexpr mode_t kFileMode = 0600;
constexpr mode_t kFolderMode = 0700;

std::string upperCaseUUID() {
  std::string text = randomUUID();
  std::transform(text.begin(), text.end(), text.begin(), [](char c) { return c >= 'a' && c <= 'f' ? c - 32 : c; });
  return text;
}

fs::path folderOf(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

/// The open temporary file; closed and unlinked unless it took the destination's place.
class TemporaryFile {
 public:
  explicit TemporaryFile(fs::path path)
      : path_(std::move(path)), descriptor_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode)) {
    if (descriptor_ < 0) throw Failure("open", errno);
  }
  ~TemporaryFile() {
    close();
    if (!renamed_) ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void writeAll(ByteView data) const {
    while (!data.empty()) {
      const ssize_t count = ::write(descriptor_, data.data(), data.size());
      if (count >= 0) {
        data = data.subspan(static_cast<std::size_t>(count));
      } else if (errno != EINTR) {
        throw Failure("write", errno);
      }
    }
  }

  /// One attempt only: after a failure the system counts the lost pages as written, and a second flush succeeds.
  void flush() const {
    if (::fdatasync(descriptor_) != 0) throw Failure("fsync", errno);
  }

  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }

  void renameTo(const fs::path& destination) {
    if (::rename(path_.c_str(), destination.c_str()) != 0) throw Failure("rename", errno);
    renamed_ = true;
  }

 private:
  fs::path path_;
  int descriptor_;
  bool renamed_ = false;
};

/// Lets the rename itself survive a power cut. Some file systems can't, so a failure is no failure of the write.
void syncFolder(const fs::path& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

}  // namespace

Failure::Failure(std::string failedOperation, std::int32_t errorCode)
    : std::runtime_error(failedOperation + ": errno " + std::to_string(errorCode)),
      operation(std::move(failedOperation)),
      code(errorCode) {}

void createFolders(const fs::path& folder) {
  if (fs::is_directory(folder)) return;
  if (folder.has_parent_path() && folder.parent_path() != folder) createFolders(folder.parent_path());
  if (::mkdir(folder.c_str(), kFolderMode) == 0) return;
  const std::error_code code(errno == EEXIST ? ENOTDIR : errno, std::generic_category());
  if (!fs::is_directory(folder)) throw fs::filesystem_error("create folder", folder, code);
}

void write(ByteView data, const fs::path& path) {
  const fs::path folder = folderOf(path);
  createFolders(folder);
  TemporaryFile file(folder / ("." + path.filename().string() + "." + upperCaseUUID() + ".tmp"));
  file.writeAll(data);
  file.flush();
  file.close();
  file.renameTo(path);
  syncFolder(folder);
}

}  // namespace quillet::AtomicFile
