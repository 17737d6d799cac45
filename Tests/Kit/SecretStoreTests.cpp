// SPDX-License-Identifier: MIT
#include "QuilletKit/Identity/SecretStore.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <functional>

#include "Tests/Doubles/SecretStoreContract.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet::test {
namespace {

namespace fs = std::filesystem;

struct FileBackend {
  TemporaryFolder folder;
  std::unique_ptr<SecretStore> open(const std::string& service) {
    return std::make_unique<FileSecretStore>(folder.path(), service);
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(File, SecretStoreContract, FileBackend);

TEST(FileSecretStore, OnlyTheOwnerCanRead) {
  const TemporaryFolder folder;
  FileSecretStore store(folder.path() / "secrets", "service");
  store.save(Bytes{1}, "item");
  const auto modeOf = [](const fs::path& path) { return static_cast<unsigned>(fs::status(path).permissions()); };
  EXPECT_EQ(modeOf(folder.path() / "secrets"), 0700u);
  EXPECT_EQ(modeOf(folder.path() / "secrets" / "service"), 0700u);
  EXPECT_EQ(modeOf(folder.path() / "secrets" / "service" / "item"), 0600u);
}

TEST(FileSecretStore, NoNameLeavesTheFolder) {
  const TemporaryFolder folder;
  const fs::path inside = folder.path() / "secrets";
  for (const std::string name : {"..", "../../x", "/x", ".", ""}) {
    FileSecretStore store(inside, name);
    store.save(Bytes{1}, name);
    store.save(Bytes{1}, "../" + name);
  }
  std::size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(inside)) files += entry.is_regular_file();
  EXPECT_EQ(files, 10u);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

TEST(FileSecretStore, FailuresCarryErrno) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "file") << "x";
  FileSecretStore under(folder.path() / "file", "service");
  FileSecretStore store(folder.path(), "service");
  fs::create_directories(folder.path() / "service" / "folder");
  const std::pair<int, std::function<void()>> cases[] = {
      {ENOTDIR, [&] { under.load("item"); }},
      {EISDIR, [&] { store.load("folder"); }},
      {EISDIR, [&] { store.save(Bytes{1}, "folder"); }},
      {EISDIR, [&] { store.remove("folder"); }},
      {ENAMETOOLONG, [&] { store.save(Bytes{1}, std::string(300, 'a')); }},
  };
  for (const auto& [status, operation] : cases) {
    try {
      operation();
      ADD_FAILURE() << "expected " << status;
    } catch (const SecretStoreError& error) {
      EXPECT_EQ(error.status, status);
    }
  }
}

}  // namespace
}  // namespace quillet::test
