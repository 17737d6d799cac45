// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>

#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/UUID.h"

namespace quillet::AtomicFile {
namespace {

namespace fs = std::filesystem;
constexpr mode_t kFolderMode = 0700;
constexpr std::string_view kExtension = ".tmp";

std::string upperCaseUUID() {
  std::string text = randomUUID();
  std::transform(text.begin(), text.end(), text.begin(), [](char c) { return c >= 'a' && c <= 'f' ? c - 32 : c; });
  return text;
}

fs::path folderOf(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

/// As TemporaryFile makes them: a dot, the destination's name, a dot, a UUID, the extension.
bool isTemporaryName(std::string_view name) {
  constexpr std::size_t kUUID = 36;
  if (!name.starts_with('.') || !name.ends_with(kExtension)) return false;
  name.remove_suffix(kExtension.size());
  if (name.size() < kUUID + 3 || name[name.size() - kUUID - 1] != '.') return false;
  return name.substr(name.size() - kUUID).find_first_not_of("0123456789ABCDEF-") == name.npos;
}

/// The open temporary file, locked while it is being written; closed and unlinked unless it took the destination's
/// place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& destination) {
    constexpr int kAttempts = 3;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      path_ = folderOf(destination) /
              ("." + destination.filename().string() + "." + upperCaseUUID() + std::string(kExtension));
      file_ = File(path_, O_WRONLY | O_CREAT | O_EXCL);
      if (!file_) throw Failure("open", file_.error());
      // Whoever removes leftovers may have come before the lock.
      if (file_.tryLock() != File::Lock::elsewhere && file_.isLinked()) return;
    }
    throw Failure("open", EBUSY);
  }
  ~TemporaryFile() {
    if (!renamed_) ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void writeAll(ByteView data) const {
    while (!data.empty()) {
      const ssize_t count = ::write(file_.descriptor(), data.data(), data.size());
      if (count >= 0) {
        data = data.subspan(static_cast<std::size_t>(count));
      } else if (errno != EINTR) {
        throw Failure("write", errno);
      }
    }
  }

  /// One attempt only: after a failure the system counts the lost pages as written, and a second flush succeeds.
  void flush() const {
    if (::fdatasync(file_.descriptor()) != 0) throw Failure("fsync", errno);
  }

  void renameTo(const fs::path& destination) {
    file_.close();
    if (::rename(path_.c_str(), destination.c_str()) != 0) throw Failure("rename", errno);
    renamed_ = true;
  }

 private:
  fs::path path_;
  File file_;
  bool renamed_ = false;
};

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

void syncFolder(const fs::path& folder) {
  if (const File opened(folder, O_RDONLY | O_DIRECTORY); opened) ::fsync(opened.descriptor());
}

void write(ByteView data, const fs::path& path) {
  createFolders(folderOf(path));
  TemporaryFile file(path);
  file.writeAll(data);
  file.flush();
  file.renameTo(path);
  syncFolder(folderOf(path));
}

void removeLeftovers(const fs::path& folder, std::chrono::seconds age) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (!isTemporaryName(entry->path().filename().native())) continue;
    const File file(entry->path(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    std::error_code ignored;
    const bool old = fs::file_time_type::clock::now() - entry->last_write_time(ignored) >= age;
    if (old && file.isPlain() && file.tryLock() == File::Lock::held) fs::remove(entry->path(), ignored);
  }
}

}  // namespace quillet::AtomicFile
