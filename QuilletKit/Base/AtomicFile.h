// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "QuilletKit/Base/Bytes.h"

/// Replaces files atomically and durably: temporary file, flush, rename, directory sync.
namespace quillet::AtomicFile {

/// One failed system call: "open", "write", "fsync" or "rename", and its errno.
struct Failure : std::runtime_error {
  Failure(std::string operation, std::int32_t code);
  std::string operation;
  std::int32_t code;
};

/// Creates the parent folders (0700) and replaces `path` (0600). On failure the old contents stand, complete.
/// Throws Failure or std::filesystem::filesystem_error.
void write(ByteView data, const std::filesystem::path& path);

/// Creates the folder (0700) and those above it, where they are missing. Throws std::filesystem::filesystem_error.
void createFolders(const std::filesystem::path& folder);

/// Lets what was renamed or removed in a folder survive a power cut. Some file systems can't, so a failure isn't told.
void syncFolder(const std::filesystem::path& folder);

/// Removes the temporary files that a crash has left in `folder`, at least `age` old: what a write that is under way
/// has locked stays, whichever program it belongs to. Where files can't be locked nothing is removed.
void removeLeftovers(const std::filesystem::path& folder, std::chrono::seconds age = std::chrono::seconds(0));

}  // namespace quillet::AtomicFile
