// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/FolderLedgerStorage.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdlib>
#include <system_error>

#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/PercentCoding.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;
constexpr std::string_view kExtension = ".json";
constexpr std::size_t kLongestName = 200;  // leaves room for what AtomicFile adds
constexpr std::size_t kLargestFile = std::size_t{256} * 1024;

bool standsForItself(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

}  // namespace

std::optional<fs::path> FolderLedgerStorage::folderFrom(const std::optional<std::string>& setting) {
  if (!setting) return std::nullopt;
  fs::path folder = *setting;
  const char* const home = std::getenv("HOME");
  if (setting->starts_with("~/") && home != nullptr) folder = fs::path(home) / setting->substr(2);
  if (!folder.is_absolute()) return std::nullopt;
  return folder;
}

std::optional<std::string> FolderLedgerStorage::fileName(std::string_view key) {
  std::string name;
  bool dotSeen = false;
  for (const char c : key) {
    const bool firstDot = c == '.' && !dotSeen && !name.empty();
    dotSeen = dotSeen || c == '.';
    if (standsForItself(c) || firstDot) {
      name += c;
    } else {
      PercentCoding::append(name, c);
    }
  }
  if (name.empty() || name.size() + kExtension.size() > kLongestName) return std::nullopt;
  return name.append(kExtension);
}

std::optional<std::string> FolderLedgerStorage::keyOf(std::string_view fileName) {
  if (!fileName.ends_with(kExtension)) return std::nullopt;
  auto key = PercentCoding::decode(fileName.substr(0, fileName.size() - kExtension.size()));
  if (!key || FolderLedgerStorage::fileName(*key) != fileName) return std::nullopt;
  return key;
}

std::optional<Bytes> FolderLedgerStorage::read(const std::string& key) {
  const auto name = fileName(key);
  if (!name) return std::nullopt;
  // Never waits for a writer, as opening a pipe would.
  const File file(folder_ / *name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file.isPlain()) return std::nullopt;
  const auto reading = file.read(kLargestFile);
  if (!reading.value) return std::nullopt;
  const ByteView bytes = bytesOf(*reading.value);
  return Bytes(bytes.begin(), bytes.end());
}

void FolderLedgerStorage::write(const std::string& key, std::optional<ByteView> value) {
  const auto name = fileName(key);
  if (!name || !available()) return;
  std::error_code error;
  if (!value) {
    fs::remove(folder_ / *name, error);
    return;
  }
  try {
    AtomicFile::write(*value, folder_ / *name);
  } catch (const std::exception&) {
    Log::info("relay", "Could not write to the folder of the word counts");
  }
}

std::vector<std::string> FolderLedgerStorage::allKeys() {
  // Other machines' may be under way: a folder that is synchronised shows them here, too.
  AtomicFile::removeLeftovers(folder_, std::chrono::hours(24));
  std::vector<std::string> keys;
  std::error_code error;
  for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error)) {
    if (auto key = keyOf(entry->path().filename().native())) keys.push_back(*std::move(key));
  }
  std::sort(keys.begin(), keys.end());
  return keys;
}

bool FolderLedgerStorage::available() {
  std::error_code error;
  return fs::is_directory(folder_, error);
}

}  // namespace quillet
