// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>

namespace quillet {

/// One of the user's base folders: what the environment's `variable` names ("XDG_DATA_HOME"), else `underHome` in the
/// home folder (".local/share"). Relative paths count as not set. Absent without a home folder.
std::optional<std::filesystem::path> baseFolder(const char* variable, const char* underHome);

}  // namespace quillet
