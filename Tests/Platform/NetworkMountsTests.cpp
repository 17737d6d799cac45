// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/NetworkMounts.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quillet {
namespace {

TEST(NetworkMounts, TheNearestMountDecides) {
  const std::vector<Mount> mounts{{"/", "ext4"},
                                  {"/home", "nfs4"},
                                  {"/home/me/local", "btrfs"},
                                  {"/mnt/disk", "fuseblk"},
                                  {"/mnt/ssh", "fuse.sshfs"},
                                  {"/over", "ext4"},
                                  {"/over", "cifs"},
                                  {"/net", "autofs"}};
  const struct {
    const char* folder;
    bool network;
  } cases[] = {{"/srv/words", false},   {"/home/me/words", true},   {"/home/me/local/words", false},
               {"/homes/words", false}, {"/mnt/disk/words", false}, {"/mnt/ssh", true},
               {"/over/words", true},   {"/net/host/words", true}};
  for (const auto& each : cases) EXPECT_EQ(isOnNetwork(each.folder, mounts), each.network) << each.folder;
  EXPECT_FALSE(isOnNetwork("/srv", {}));
}

TEST(NetworkMounts, KnowsTheKernelsList) {
  const auto found = mounts();
  EXPECT_TRUE(std::any_of(found.begin(), found.end(),
                          [](const Mount& mount) { return mount.place == "/proc" && mount.type == "proc"; }));
}

}  // namespace
}  // namespace quillet
