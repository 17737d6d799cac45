// SPDX-License-Identifier: MIT
#include "QuilletKit/Identity/SecretStore.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/PercentCoding.h"

namespace quillet {
namespace {

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
}

/// A file name that stands for exactly one text: never empty, never hidden, never a path.
std::string safeFileName(std::string_view text) {
  if (text.empty()) return "%";
  std::string name;
  for (const char c : text) {
    if (isPlain(c) && !(c == '.' && name.empty())) {
      name += c;
    } else {
      PercentCoding::append(name, c);
    }
  }
  return name;
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
    : folder_(std::move(folder) / safeFileName(service)) {
  AtomicFile::removeLeftovers(folder_);
}

std::filesystem::path FileSecretStore::pathOf(const std::string& key) const {
  return folder_ / safeFileName(key);
}

std::optional<Bytes> FileSecretStore::load(const std::string& key) {
  const auto reading = File::read(pathOf(key));
  if (reading.error == ENOENT) return std::nullopt;
  if (!reading.value) throw SecretStoreError(reading.error);
  const ByteView bytes = bytesOf(*reading.value);
  return Bytes(bytes.begin(), bytes.end());
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
  AtomicFile::syncFolder(folder_);
}

}  // namespace quillet
