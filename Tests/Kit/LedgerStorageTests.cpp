// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <condition_variable>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Words/BackgroundLedgerStorage.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
#include "QuilletKit/Words/WordStatsStore.h"
#include "Tests/Doubles/FakeStores.h"
#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Doubles/Rows.h"

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

/// A store on another machine: shared by several storages, and it hangs on demand.
struct RemoteStore {
  std::mutex lock;
  std::condition_variable changed;
  test::FakeLedgerStorage contents;
  bool hangs = false;
  std::atomic<bool> full = false;
  std::atomic<int> looks = 0, refusedWrites = 0;

  void hang(bool value) {
    const std::lock_guard guard(lock);
    hangs = value;
    changed.notify_all();
  }
  void set(const std::string& key, const std::string& value) {
    const std::lock_guard guard(lock);
    contents.values[key] = value;
  }
  std::string value(const std::string& key) {
    const std::lock_guard guard(lock);
    return contents.values[key];
  }
};

class RemoteLedgerStorage final : public WordLedgerStorage {
 public:
  explicit RemoteLedgerStorage(std::shared_ptr<RemoteStore> store) : store_(std::move(store)) {}
  std::optional<Bytes> read(const std::string& key) override {
    const auto guard = reached();
    return store_->contents.read(key);
  }
  void write(const std::string& key, std::optional<ByteView> value) override {
    const auto guard = reached();
    if (store_->full) {
      ++store_->refusedWrites;
    } else {
      store_->contents.write(key, value);
    }
  }
  std::vector<std::string> allKeys() override {
    const auto guard = reached();
    ++store_->looks;
    return store_->contents.allKeys();
  }
  bool available() override {
    const auto guard = reached();
    return store_->contents.signedIn;
  }

 private:
  std::unique_lock<std::mutex> reached() {
    std::unique_lock guard(store_->lock);
    store_->changed.wait(guard, [this] { return !store_->hangs; });
    return guard;
  }
  std::shared_ptr<RemoteStore> store_;
};

class BackgroundLedgerStorageTest : public testing::Test {
 protected:
  ~BackgroundLedgerStorageTest() override { remote->hang(false); }

  std::unique_ptr<BackgroundLedgerStorage> open() {
    return std::make_unique<BackgroundLedgerStorage>(std::make_unique<RemoteLedgerStorage>(remote),
                                                     mainThread.executor());
  }
  bool eventually(const std::function<bool()>& condition) { return mainThread.runUntil(condition); }
  static std::string json(std::int64_t words) {
    return JSONCoding::encode(WordLedger{{{"2026-08-05", words}}, 0, "Phone", "iphone"});
  }

  std::shared_ptr<RemoteStore> remote = std::make_shared<RemoteStore>();
  test::MainThread mainThread;
};

TEST_F(BackgroundLedgerStorageTest, TellsWhatChangedOutsideAndOnlyThat) {
  remote->contents.values = {{"words.z", "0"}, {"other", "2"}};
  const auto storage = open();
  ASSERT_TRUE(eventually([&] { return storage->available(); }));
  EXPECT_EQ(storage->allKeys(), std::vector<std::string>{"words.z"});
  EXPECT_FALSE(storage->read("other"));
  int told = 0;
  storage->onExternalChange = [&] {
    ++told;
    storage->allKeys();  // as a reader does
  };
  remote->set("words.a", "1");
  storage->refresh();
  ASSERT_TRUE(eventually([&] { return told == 1; }));
  EXPECT_EQ(storage->read("words.a"), (Bytes{'1'}));
  storage->write("words.b", bytesOf("2"));
  EXPECT_EQ(storage->read("words.b"), (Bytes{'2'})) << "at once";
  ASSERT_TRUE(eventually([&] { return remote->value("words.b") == "2"; }));
  storage->write("words.a", std::nullopt);
  EXPECT_FALSE(storage->read("words.a"));
  remote->set("words.c", "3");
  storage->allKeys();
  ASSERT_TRUE(eventually([&] { return told == 2; }));
  EXPECT_EQ(storage->allKeys(), (std::vector<std::string>{"words.b", "words.c", "words.z"}));
}

TEST_F(BackgroundLedgerStorageTest, AStoreThatHangsHoldsNobodyUp) {
  remote->set("words.a", json(5));
  remote->hang(true);
  test::MemoryPreferences local;
  local.values = {{"qlt.wordLedgerDevice", "a"}, {"qlt.wordLedger", json(3)}};
  const auto storage = open();
  WordStatsStore stats(storage.get(), local, "Phone", "iphone", WordCalendar("UTC", "en_GB"),
                       [] { return 1'785'880'800'000; });
  EXPECT_FALSE(stats.isSynchronised().get());
  EXPECT_EQ(stats.summary().total, 3);
  remote->hang(false);
  ASSERT_TRUE(eventually([&] { return stats.isSynchronised().get(); }));
  EXPECT_EQ(stats.summary().total, 5) << "what was shared before is not lost to a smaller copy";
  remote->hang(true);
  stats.record(2);
  EXPECT_EQ(stats.summary().total, 7);
  remote->hang(false);
  ASSERT_TRUE(eventually([&] { return JSONCoding::decode<WordLedger>(remote->value("words.a")).total() == 7; }));
}

TEST_F(BackgroundLedgerStorageTest, AStoreThatKeepsNothingIsNotAskedWithoutEnd) {
  remote->full = true;
  test::MemoryPreferences local;
  local.values = {{"qlt.wordLedgerDevice", "a"}, {"qlt.wordLedger", json(3)}};
  const auto storage = open();
  WordStatsStore stats(storage.get(), local, "Phone", "iphone", WordCalendar("UTC", "en_GB"),
                       [] { return 1'785'880'800'000; });
  const auto lookTwice = [&](int refused) {
    ASSERT_TRUE(eventually([&] { return remote->refusedWrites >= refused; }));
    for (int round = 0; round < 2; ++round) {
      const int before = remote->looks;
      storage->refresh();
      ASSERT_TRUE(eventually([&] { return remote->looks > before; }));
    }
    EXPECT_EQ(remote->refusedWrites, refused);
  };
  lookTwice(1);
  stats.record(2);
  lookTwice(2);
  remote->full = false;
  stats.record(1);
  ASSERT_TRUE(eventually([&] { return !remote->value("words.a").empty(); }));
  EXPECT_EQ(JSONCoding::decode<WordLedger>(remote->value("words.a")).total(), 6);
}

TEST_F(BackgroundLedgerStorageTest, EndsWithItsWritesDoneOrAloneIfTheStoreHangs) {
  auto storage = open();
  ASSERT_TRUE(eventually([&] { return storage->available(); }));
  storage->write("words.a", bytesOf("1"));
  storage.reset();
  EXPECT_TRUE(eventually([&] { return remote->value("words.a") == "1"; }));
  storage = open();
  ASSERT_TRUE(eventually([&] { return storage->available(); }));
  remote->hang(true);
  storage->refresh();
  storage.reset();
  const std::weak_ptr<RemoteStore> left = remote;
  remote->hang(false);
  remote.reset();
  EXPECT_TRUE(eventually([&] { return left.expired(); })) << "the thread that was left behind has ended";
  remote = std::make_shared<RemoteStore>();
}

}  // namespace
}  // namespace quillet
