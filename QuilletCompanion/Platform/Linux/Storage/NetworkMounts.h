// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quillet {

struct Mount {
  std::filesystem::path place;
  std::string type;  ///< As in the kernel's list: "ext4", "nfs4", "fuse.sshfs".
};

/// What is mounted now, in the order of mounting. Reads the kernel's list and touches none of it.
std::vector<Mount> mounts();
/// Whether the folder, which need not exist, lies on a file system that may hang and whose changes elsewhere the kernel
/// doesn't tell. Goes by the path's names alone.
bool isOnNetwork(const std::filesystem::path& folder, const std::vector<Mount>& mounts);

}  // namespace quillet
