// SPDX-License-Identifier: MIT
#include "QuilletKit/Identity/SecretStore.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {
namespace {

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
}

/// A file name that stands for exactly one text: never empty, never hidden, never a path.
std::string safeFileName(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  if (text.empty()) return "%";
  std::string name;
  for (const char c : text) {
    if (isPlain(c) && !(c == '.' && name.empty())) {
      name += c;
    } else {
      const auto byte = static_cast<std::uint8_t>(c);
      name.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
  }
  return name;
}

class Descriptor {
 public:
  Descriptor(const std::filesystem::path& path, int flags) : value_(::open(path.c_str(), flags | O_CLOEXEC)) {}
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return value_; }

 private:
  int value_;
};

Bytes readAll(int descriptor) {
  Bytes bytes;
  std::array<std::uint8_t, 4096> block;
  while (true) {
    const ssize_t count = ::read(descriptor, block.data(), block.size());
    if (count == 0) return bytes;
    if (count > 0) {
      bytes.insert(bytes.end(), block.begin(), block.begin() + count);
    } else if (errno != EINTR) {
      throw SecretStoreError(errno);
    }
  }
}

}  // namespace

SecretStoreError::SecretStoreError(std::int32_t statusCode)
    : std::runtime_error("secret store: status " + std::to_string(statusCode)), status(statusCode) {}

std::optional<Bytes> MemorySecretStore::load(const std::string& key) {
  const std::lock_guard guard(lock_);
  const auto item = items_.find(key);
  if (item == items_.end()) return std::nullopt;
  return item->second;
}

void MemorySecretStore::save(ByteView value, const std::string& key) {
  const std::lock_guard guard(lock_);
  items_[key].assign(value.begin(), value.end());
}

void MemorySecretStore::remove(const std::string& key) {
  const std::lock_guard guard(lock_);
  items_.erase(key);
}

FileSecretStore::FileSecretStore(std::filesystem::path folder, const std::string& service)
    : folder_(std::move(folder) / safeFileName(service)) {}

std::filesystem::path FileSecretStore::pathOf(const std::string& key) const {
  return folder_ / safeFileName(key);
}

std::optional<Bytes> FileSecretStore::load(const std::string& key) {
  const Descriptor file(pathOf(key), O_RDONLY);
  if (file.get() >= 0) return readAll(file.get());
  if (errno == ENOENT) return std::nullopt;
  throw SecretStoreError(errno);
}

void FileSecretStore::save(ByteView value, const std::string& key) {
  try {
    AtomicFile::write(value, pathOf(key));
  } catch (const AtomicFile::Failure& failure) {
    throw SecretStoreError(failure.code);
  } catch (const std::filesystem::filesystem_error& error) {
    throw SecretStoreError(error.code().value());
  }
}

void FileSecretStore::remove(const std::string& key) {
  if (::unlink(pathOf(key).c_str()) != 0) {
    if (errno == ENOENT) return;
    throw SecretStoreError(errno);
  }
  const Descriptor folder(folder_, O_RDONLY | O_DIRECTORY);
  if (folder.get() >= 0) ::fsync(folder.get());
}

}  // namespace quillet
