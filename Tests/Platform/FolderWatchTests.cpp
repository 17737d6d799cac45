// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/FolderWatch.h"
#include "QuilletCompanion/Platform/Linux/Storage/NetworkMounts.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Platform/PrivateBus.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

class FolderWatchTest : public testing::Test {
 protected:
  /// Makes a change and waits until it was told; a burst may be told twice on a slow machine.
  testing::AssertionResult toldOf(const std::function<void()>& change) {
    quiet();
    const int before = told;
    change();
    if (!test::eventually([&] { return told > before; })) return testing::AssertionFailure() << "not told";
    return testing::AssertionSuccess();
  }
  /// Makes changes that must not be told, then one that is, so that nothing needs to be waited for.
  testing::AssertionResult notToldOf(const std::function<void()>& change) {
    quiet();
    const int before = told;
    change();
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
    if (told != before || settling()) return testing::AssertionFailure() << "told";
    return testing::AssertionSuccess();
  }

  const test::TemporaryFolder root;
  const fs::path folder = root.path() / "sync" / "words";
  int told = 0;

 private:
  /// A change that was taken in is told by a timer, which stands in the main context.
  static bool settling() {
    g_main_context_acquire(g_main_context_default());
    gint priority = 0, timeout = -1;
    GPollFD fds[16];
    g_main_context_prepare(g_main_context_default(), &priority);
    g_main_context_query(g_main_context_default(), G_MAXINT, &timeout, fds, 16);
    g_main_context_release(g_main_context_default());
    return timeout >= 0;
  }
  void quiet() {
    EXPECT_TRUE(test::eventually([] { return !settling(); }));
  }
};

TEST_F(FolderWatchTest, TellsWhatHappensToFiles) {
  fs::create_directories(folder);
  const FolderWatch watch(folder, [&] { ++told; });
  const auto file = folder / "words.a.json";
  EXPECT_TRUE(toldOf([&] { test::writeText(file, "1"); }));
  EXPECT_TRUE(toldOf([&] { test::writeText(file, "2"); })) << "written in place";
  EXPECT_TRUE(notToldOf([&] { test::writeText(folder / ".words.a.json.tmp", "3"); }));
  EXPECT_TRUE(toldOf([&] { fs::rename(folder / ".words.a.json.tmp", file); })) << "renamed into place";
  EXPECT_TRUE(toldOf([&] { fs::create_hard_link(file, folder / "words.b.json"); }));
  EXPECT_TRUE(toldOf([&] { fs::remove(file); }));
  EXPECT_TRUE(toldOf([&] { fs::rename(folder / "words.b.json", root.path() / "away"); }));
  EXPECT_TRUE(toldOf([&] { fs::rename(root.path() / "away", folder / "words.b.json"); }));
}

TEST_F(FolderWatchTest, TellsABurstOnce) {
  fs::create_directories(folder);
  const FolderWatch watch(folder, [&] { ++told; });
  EXPECT_TRUE(toldOf([&] {
    for (int i = 0; i < 200; ++i) test::writeText(folder / ("words." + std::to_string(i) + ".json"), "x");
  }));
  EXPECT_TRUE(notToldOf([] {}));
  EXPECT_EQ(told, 1);
}

TEST_F(FolderWatchTest, FollowsAFolderThatComesAndGoes) {
  const FolderWatch watch(folder / "", [&] { ++told; });
  EXPECT_TRUE(notToldOf([&] { test::writeText(root.path() / "other", "x"); }));
  EXPECT_TRUE(toldOf([&] { fs::create_directory(folder.parent_path()); }));
  EXPECT_TRUE(notToldOf([&] { fs::create_directory(folder.parent_path() / "other"); }));
  EXPECT_TRUE(toldOf([&] { fs::create_directory(folder); }));
  EXPECT_TRUE(notToldOf([&] { fs::create_directory(folder.parent_path() / "another"); }));
  EXPECT_TRUE(toldOf([&] { test::writeText(folder / "words.a.json", "1"); }));
  EXPECT_TRUE(toldOf([&] { fs::remove_all(folder); }));
  EXPECT_TRUE(toldOf([&] { fs::create_directory(folder); }));
  EXPECT_TRUE(toldOf([&] { test::writeText(folder / "words.a.json", "1"); }));
  // Moved away with what is above it, and another put in its place.
  EXPECT_TRUE(toldOf([&] { fs::rename(root.path() / "sync", root.path() / "moved"); }));
  EXPECT_TRUE(notToldOf([&] { test::writeText(root.path() / "moved" / "words" / "words.b.json", "1"); }));
  EXPECT_TRUE(toldOf([&] { fs::rename(root.path() / "moved", root.path() / "sync"); }));
  EXPECT_TRUE(toldOf([&] { test::writeText(folder / "words.c.json", "1"); }));
}

TEST_F(FolderWatchTest, AFileInThePlaceOfTheFolderIsNoFolder) {
  fs::create_directories(folder.parent_path());
  test::writeText(folder, "not a folder");
  const FolderWatch watch(folder, [&] { ++told; });
  EXPECT_TRUE(toldOf([&] {
    fs::remove(folder);
    fs::create_directory(folder);
  }));
  EXPECT_TRUE(toldOf([&] { test::writeText(folder / "words.a.json", "1"); }));
}

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
