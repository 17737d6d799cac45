// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletKit/Words/WordLedgerStorage.h"

namespace quillet {

/// A folder that people keep in step between their devices by a tool of their choice: one file a key, replaced
/// atomically. Files that this class would not have named itself (temporary ones, copies that a tool made of a
/// conflict, whatever else lies there), links, and files beyond 256 KiB don't exist for it. It never makes the folder,
/// which may be a mount point: without it there are no keys, and writes are lost. Every operation may wait for the file
/// system.
class FolderLedgerStorage final : public WordLedgerStorage {
 public:
  explicit FolderLedgerStorage(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// The folder that a setting names: an absolute path, or one that begins with "~/". Absent for anything else.
  static std::optional<std::filesystem::path> folderFrom(const std::optional<std::string>& setting);

  std::optional<Bytes> read(const std::string& key) override;
  void write(const std::string& key, std::optional<ByteView> value) override;
  /// In ascending order.
  std::vector<std::string> allKeys() override;
  bool available() override;

  /// Letters a to z, digits, "-" and a key's first dot stand for themselves, all else is escaped, so that names are
  /// safe on every file system and never those of copies. Absent for an empty key and one too long for a file's name.
  static std::optional<std::string> fileName(std::string_view key);
  /// The key of a name that `fileName` gives; absent for any other.
  static std::optional<std::string> keyOf(std::string_view fileName);

 private:
  std::filesystem::path folder_;
};

}  // namespace quillet
