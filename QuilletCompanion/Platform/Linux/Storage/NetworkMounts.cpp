// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/NetworkMounts.h"

#include <gio/gunixmounts.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace quillet {
namespace {

namespace fs = std::filesystem;

/// A fuse file system is mostly one of these too, but for disks of other systems ("fuseblk").
constexpr std::array<std::string_view, 11> kNetworkTypes{"nfs", "nfs4", "cifs", "smb3",      "smbfs", "ceph",
                                                         "afs", "9p",   "coda", "glusterfs", "autofs"};

bool isOfNetwork(std::string_view type) {
  return std::find(kNetworkTypes.begin(), kNetworkTypes.end(), type) != kNetworkTypes.end() || type == "fuse" ||
         type.starts_with("fuse.");
}

bool holds(const fs::path& place, const fs::path& folder) {
  return std::mismatch(place.begin(), place.end(), folder.begin(), folder.end()).first == place.end();
}

}  // namespace

std::vector<Mount> mounts() {
  std::vector<Mount> found;
  GList* const entries = g_unix_mounts_get(nullptr);
  for (const GList* entry = entries; entry != nullptr; entry = entry->next) {
    auto* const mount = static_cast<GUnixMountEntry*>(entry->data);
    found.push_back({g_unix_mount_get_mount_path(mount), g_unix_mount_get_fs_type(mount)});
  }
  g_list_free_full(entries, [](void* mount) { g_unix_mount_free(static_cast<GUnixMountEntry*>(mount)); });
  return found;
}

bool isOnNetwork(const fs::path& folder, const std::vector<Mount>& mounts) {
  const Mount* nearest = nullptr;
  for (const auto& mount : mounts) {
    if (!holds(mount.place, folder)) continue;
    if (nearest == nullptr || holds(nearest->place, mount.place)) nearest = &mount;  // of equal places the last
  }
  return nearest != nullptr && isOfNetwork(nearest->type);
}

}  // namespace quillet
