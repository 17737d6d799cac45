// SPDX-License-Identifier: MIT
// Preloaded into a program: keeps an image of what a power cut would leave of its files, and makes the disk full.
//   QUILLET_DISK_IMAGE  a folder that gets each file's contents as of its last sync
//   QUILLET_DISK_FULL   while this file exists, no file grows
//   QUILLET_DISK_FAULT  holds a number while it exists: so manieth from now on, a write or a sync fails; 0 afterwards
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

template <typename Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

std::string pathOf(int descriptor) {
  char path[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = ::readlink(link.c_str(), path, sizeof path);
  return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : std::string();
}

using Write = ssize_t (*)(int, const void*, size_t, off_t);

/// Files that were removed before a folder's sync begins are gone after it.
void removeWhatIsGone(const std::string& folder, const std::filesystem::path& image) {
  for (const auto& file : std::filesystem::directory_iterator(image)) {
    if (!std::filesystem::exists(folder / file.path().filename())) std::filesystem::remove(file.path());
  }
}

/// What is written before a sync begins is on the disk after it.
void takeImage(int descriptor) {
  const char* const folder = std::getenv("QUILLET_DISK_IMAGE");
  const std::string path = pathOf(descriptor);
  struct stat status {};
  if (folder == nullptr || ::fstat(descriptor, &status) != 0) return;
  if (S_ISDIR(status.st_mode)) return removeWhatIsGone(path, folder);
  const std::string copy = folder + path.substr(path.rfind('/'));
  const int in = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const int out = ::open((copy + ".part").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  char block[1 << 16];
  for (ssize_t size = ::read(in, block, sizeof block); size > 0; size = ::read(in, block, sizeof block)) {
    if (real<ssize_t (*)(int, const void*, size_t)>("write")(out, block, static_cast<std::size_t>(size)) != size) {
      std::abort();
    }
  }
  ::close(in);
  ::close(out);
  ::rename((copy + ".part").c_str(), copy.c_str());
}

bool isFull(int descriptor, off_t end) {
  const char* const sign = std::getenv("QUILLET_DISK_FULL");
  struct stat status {};
  const bool grows = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && end > status.st_size;
  if (sign == nullptr || !grows || ::access(sign, F_OK) != 0) return false;
  errno = ENOSPC;
  return true;
}

bool fails() {
  const char* const sign = std::getenv("QUILLET_DISK_FAULT");
  if (sign == nullptr || ::access(sign, F_OK) != 0) return false;
  int left = 0;
  std::ifstream(sign) >> left;
  if (left > 0) std::ofstream(sign) << left - 1;
  errno = EIO;
  return left == 1;
}

}  // namespace

extern "C" {

int fsync(int descriptor) {
  if (fails()) return -1;
  takeImage(descriptor);
  return real<int (*)(int)>("fsync")(descriptor);
}
int fdatasync(int descriptor) {
  if (fails()) return -1;
  takeImage(descriptor);
  return real<int (*)(int)>("fdatasync")(descriptor);
}
ssize_t pwrite64(int descriptor, const void* data, size_t size, off64_t offset) {
  if (isFull(descriptor, offset + static_cast<off_t>(size)) || fails()) return -1;
  return real<Write>("pwrite64")(descriptor, data, size, offset);
}
ssize_t pwrite(int descriptor, const void* data, size_t size, off_t offset) {
  if (isFull(descriptor, offset + static_cast<off_t>(size)) || fails()) return -1;
  return real<Write>("pwrite")(descriptor, data, size, offset);
}

}  // extern "C"
