// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/BackgroundLedgerStorage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Words/WordStatsStore.h"
#include "Tests/Doubles/FakeLedgerStorage.h"
#include "Tests/Doubles/MemoryPreferences.h"
#include "Tests/Doubles/NetworkThread.h"

namespace quillet {
namespace {

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
