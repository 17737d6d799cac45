// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "QuilletKit/Base/File.h"

namespace quillet {

/// The turn of one run of the program to change what is in a phone's folder, until its destruction; others wait, so
/// that nobody holds it while waiting for anything but files. Makes the folder. A folder that can't be written, or a
/// file system without locks, is as if it were nobody else's. Throws std::runtime_error (or what it derives) with the
/// path.
File takeTurn(const std::filesystem::path& folder);

/// Absent when there is no such file. Throws std::runtime_error, with the path and the reason, for one that can't be
/// read.
std::optional<std::string> readIfThere(const std::filesystem::path& file);
/// Durable when it returns. Throws std::runtime_error with the path and the reason.
void writeDurably(const std::filesystem::path& file, const std::string& text);

}  // namespace quillet
