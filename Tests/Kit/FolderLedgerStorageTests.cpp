// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/FolderLedgerStorage.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

class FolderLedgerStorageTest : public testing::Test {
 protected:
  void place(const std::string& name, std::string_view text) const { test::writeText(folder.path() / name, text); }
  std::string text(const std::string& key) {
    const auto bytes = storage.read(key);
    return bytes ? std::string(textOf(*bytes)) : "absent";
  }

  const test::TemporaryFolder folder;
  FolderLedgerStorage storage{folder.path()};
};

TEST_F(FolderLedgerStorageTest, EveryKeyHasASafeNameOfItsOwn) {
  const std::vector<std::string> keys{"words.../../etc/passwd", ".hidden", "..",  "/",      "words.A", "words.a",
                                      "words.a.json",           "a%2Eb",   "a b", "\xFF\n", "words.ä"};
  for (const auto& key : keys) {
    const auto name = FolderLedgerStorage::fileName(key);
    ASSERT_TRUE(name) << key;
    EXPECT_EQ(name->find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-.%ABCDEF"), std::string::npos) << *name;
    EXPECT_NE(name->front(), '.') << *name;
    EXPECT_EQ(FolderLedgerStorage::keyOf(*name), key) << *name;
    storage.write(key, bytesOf(key));
    EXPECT_EQ(text(key), key);
  }
  EXPECT_EQ(storage.allKeys().size(), keys.size());
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), std::ssize(keys)) << "a temporary file stays";
  for (const auto& key : keys) storage.write(key, std::nullopt);
  EXPECT_TRUE(storage.allKeys().empty());
  for (const auto& key : {std::string(), std::string(500, 'a'), std::string(100, '/')}) {
    EXPECT_FALSE(FolderLedgerStorage::fileName(key));
    storage.write(key, bytesOf("x"));
    EXPECT_FALSE(storage.read(key));
  }
}

TEST_F(FolderLedgerStorageTest, SeesNoFilesThatItWouldNotHaveNamed) {
  for (const auto& name : test::rows<std::string>("words", "files of others")) place(name, "x");
  EXPECT_EQ(storage.allKeys(), std::vector<std::string>{});
}

TEST_F(FolderLedgerStorageTest, ReadsPlainFilesOfFittingSizeOnly) {
  place("outside", "secret");
  place("words.full.json", std::string(256 * 1024, ' '));
  place("words.over.json", std::string(256 * 1024 + 1, ' '));
  fs::create_symlink(folder.path() / "outside", folder.path() / "words.link.json");
  fs::create_directory(folder.path() / "words.folder.json");
  ASSERT_EQ(::mkfifo((folder.path() / "words.pipe.json").c_str(), 0600), 0);
  EXPECT_EQ(text("words.full").size(), 256U * 1024);
  for (const char* const key : {"words.over", "words.link", "words.folder", "words.pipe"}) {
    EXPECT_EQ(text(key), "absent") << key;
  }
}

TEST_F(FolderLedgerStorageTest, NeverMakesTheFolder) {
  FolderLedgerStorage missing(folder.path() / "not" / "mounted");
  EXPECT_FALSE(missing.available());
  missing.write("words.a", bytesOf("x"));
  EXPECT_FALSE(missing.read("words.a"));
  EXPECT_TRUE(missing.allKeys().empty());
  EXPECT_TRUE(fs::is_empty(folder.path()));
  EXPECT_TRUE(storage.available());

  place("file", "x");
  FolderLedgerStorage notAFolder(folder.path() / "file");
  EXPECT_FALSE(notAFolder.available());
  notAFolder.write("words.a", bytesOf("x"));
  EXPECT_EQ(test::readText(folder.path() / "file"), "x");
}

TEST_F(FolderLedgerStorageTest, AWriteThatFailsIsLostQuietly) {
  storage.write("words.a", bytesOf("old"));
  fs::create_directories(folder.path() / "words.b.json" / "full");
  storage.write("words.b", bytesOf("x"));
  storage.write("words.b", std::nullopt);
  EXPECT_TRUE(fs::is_directory(folder.path() / "words.b.json"));
  EXPECT_EQ(text("words.a"), "old");
}

TEST(FolderLedgerStorageSetting, NamesAnAbsoluteFolder) {
  const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
  setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(FolderLedgerStorage::folderFrom("/srv/words"), "/srv/words");
  EXPECT_EQ(FolderLedgerStorage::folderFrom("~/Sync/words"), "/home/someone/Sync/words");
  for (const char* const text : {"", "words", "./words", "~", "~else/words"}) {
    EXPECT_FALSE(FolderLedgerStorage::folderFrom(text)) << text;
  }
  EXPECT_FALSE(FolderLedgerStorage::folderFrom(std::nullopt));
  unsetenv("HOME");
  EXPECT_FALSE(FolderLedgerStorage::folderFrom("~/words"));
  if (!home.empty()) setenv("HOME", home.c_str(), 1);
}

}  // namespace
}  // namespace quillet
