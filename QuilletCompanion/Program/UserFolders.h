// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>

namespace quillet::UserFolders {

/// The user's base folders by the XDG rules; absent for a user without a home.
std::optional<std::filesystem::path> config();
/// Ours in them, which need not exist yet.
std::optional<std::filesystem::path> ownConfig();
std::optional<std::filesystem::path> ownData();

}  // namespace quillet::UserFolders
