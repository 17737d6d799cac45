// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/NetworkMounts.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

TEST(NetworkMounts, TheNearestMountDecides) {
  std::vector<Mount> mounts;
  for (const auto& [place, type] : test::rows<std::tuple<std::string, std::string>>("mounts", "mounted")) {
    mounts.push_back({place, type});
  }
  for (const auto& [folder, network] : test::rows<std::tuple<std::string, bool>>("mounts", "folders")) {
    EXPECT_EQ(isOnNetwork(folder, mounts), network) << folder;
  }
  EXPECT_FALSE(isOnNetwork("/srv", {}));
}

TEST(NetworkMounts, KnowsTheKernelsList) {
  const auto found = mounts();
  EXPECT_TRUE(std::any_of(found.begin(), found.end(),
                          [](const Mount& mount) { return mount.place == "/proc" && mount.type == "proc"; }));
}

}  // namespace
}  // namespace quillet
