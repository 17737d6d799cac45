// SPDX-License-Identifier: MIT
#include <random>

#include "QuilletCompanion/Relay/InsertionJournal.h"
#include "QuilletCompanion/Relay/PeerStore.h"
#include "QuilletCompanion/Relay/PresenceBuilder.h"
#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/LogCapture.h"

namespace quillet {
namespace {

constexpr std::int64_t kNow = 1'760'000'000'000;
constexpr std::int64_t kWeek = 604'800'000;

std::string written(const std::string& entries) {
  return R"({"entries":[)" + entries + R"(],"version":1})";
}
std::string json(const std::string& utteranceId, std::int64_t createdAt, std::int64_t updatedAt,
                 const std::string& state) {
  return R"({"createdAt":)" + std::to_string(createdAt) + R"(,"peerId":"p","state":")" + state + R"(","updatedAt":)" +
         std::to_string(updatedAt) + R"(,"utteranceId":")" + utteranceId + R"("})";
}

class InsertionJournalTest : public testing::Test {
 protected:
  InsertionJournal open() {
    return InsertionJournal(file, [this] { return now; });
  }
  std::unique_ptr<InsertionJournal> openAtStandardPlace() {
    return InsertionJournal::openJournal(folder.path(), [this] { return now; });
  }
  std::string bytes() { return test::readText(file); }
  void fill(const std::string& text) { test::writeText(file, text); }
  JournalEntry entry(std::string utteranceId, std::int64_t createdAt = kNow) {
    return {.peerId = "p", .utteranceId = std::move(utteranceId), .createdAt = createdAt, .updatedAt = createdAt};
  }

  std::int64_t now = kNow;
  test::TemporaryFolder folder;
  std::filesystem::path file = folder.path() / "journal.json";
};

TEST_F(InsertionJournalTest, WritesEveryFieldInSortedOrder) {
  auto full = entry("u/1");
  full.state = JournalState::refused;
  full.reason = RefusalReason::busy;
  full.method = InsertionMethod::typing;
  full.appName = "Éditeur";
  full.result = ResultPayload{.utteranceId = "u/1", .at = 5, .signature = "s"};
  open().record(full);
  EXPECT_EQ(bytes(), written(R"({"appName":"Éditeur","createdAt":1760000000000,"method":"typing","peerId":"p",)"
                             R"("reason":"busy","result":{"at":5,"outcome":"refused","signature":"s",)"
                             R"("utteranceId":"u/1"},"state":"refused","updatedAt":1760000000000,)"
                             R"("utteranceId":"u/1"})"));
  EXPECT_EQ(open().entry("p", "u/1"), full);
}

TEST_F(InsertionJournalTest, RandomWritesGiveTheSameBytesAsSortingAfresh) {
  auto journal = open();
  std::mt19937 random(7);
  std::map<std::string, JournalEntry> model;
  for (int step = 0; step < 200; ++step) {
    auto changed = entry("u" + std::to_string(random() % 12), kNow + random() % 5);
    changed.peerId = random() % 2 != 0 ? "p" : "q";
    changed.state = JournalState::inserted;
    if (random() % 2 != 0) changed.appName = std::string(random() % 30, 'a');
    journal.record(changed);
    model[changed.peerId + "|" + changed.utteranceId] = changed;
    std::vector<std::pair<std::int64_t, std::string>> order;
    for (const auto& [key, known] : model) order.emplace_back(known.createdAt, key);
    std::sort(order.begin(), order.end());
    std::string expected;
    for (const auto& [createdAt, key] : order) {
      expected += (expected.empty() ? "" : ",") + JSONCoding::encode(model.at(key));
    }
    ASSERT_EQ(bytes(), written(expected)) << "step " << step;
  }
}

TEST_F(InsertionJournalTest, RepairsWhatACrashLeft) {
  const auto ended = json("ended", 1, kNow, "inserted");
  fill(R"({"version":2,"entries":[)" + json("later", 3, kNow + 9, "attempting") + "," +
       json("begun", 2, kNow - 2 * kWeek, "attempting") + "," + ended + "]}");
  auto journal = open();
  const auto begun = journal.entry("p", "begun");
  ASSERT_TRUE(begun);
  EXPECT_EQ(begun->state, JournalState::uncertain);
  EXPECT_EQ(begun->updatedAt, kNow);
  EXPECT_FALSE(begun->result);
  // The clock may be behind until the network sets it, which must not make an entry old.
  EXPECT_EQ(journal.entry("p", "later")->updatedAt, kNow + 9);
  EXPECT_EQ(bytes(),
            written(ended + "," + json("begun", 2, kNow, "uncertain") + "," + json("later", 3, kNow + 9, "uncertain")));
}

TEST_F(InsertionJournalTest, ForgetsWhatIsOldOnceTheClockIsKnownToBeRight) {
  const auto edge = json("edge", 1, kNow - kWeek, "inserted");
  fill(written(edge + "," + json("old", 3, kNow - kWeek - 1, "inserted")));
  const auto aside = [&](std::int64_t time) {
    return folder.path() / ("journal.corrupt-" + std::to_string(time) + ".json");
  };
  for (const auto time : {kNow - kWeek, kNow - kWeek - 1}) test::writeText(aside(time), "");
  now = kNow + 2 * kWeek;
  auto journal = open();
  EXPECT_TRUE(journal.entry("p", "old") && journal.entry("p", "edge"));
  now = kNow;
  journal.prune();
  EXPECT_FALSE(journal.entry("p", "old"));
  EXPECT_EQ(bytes(), written(edge));
  EXPECT_TRUE(std::filesystem::exists(aside(kNow - kWeek)));
  EXPECT_FALSE(std::filesystem::exists(aside(kNow - kWeek - 1)));
}

TEST_F(InsertionJournalTest, KeepsOfADamagedFileEachEntryThatCanBeMadeOut) {
  const auto good = json("u", kNow, kNow, "inserted"), other = json("w", kNow, kNow, "refused");
  const auto known = [&](const std::string& text, std::vector<std::string> uncertain) {
    SCOPED_TRACE(text);
    test::LogCapture::instance().expect("Journal unreadable; moving it aside");
    fill(text);
    const auto check = [&](const InsertionJournal& journal) {
      EXPECT_EQ(journal.entry("p", "u")->state, JournalState::inserted);
      EXPECT_EQ(journal.entry("p", "w")->state, JournalState::refused);
      for (const auto& id : uncertain) EXPECT_EQ(journal.entry("p", id)->state, JournalState::uncertain);
      EXPECT_FALSE(journal.knowsThePast());
    };
    check(*openAtStandardPlace());
    EXPECT_EQ(test::readText(folder.path() / ("journal.corrupt-" + std::to_string(now++) + ".json")), text);
    EXPECT_NE(bytes(), text);
    // Where the new file got lost, the one aside still tells.
    std::filesystem::remove(file);
    check(*openAtStandardPlace());
    EXPECT_TRUE(InsertionJournal::forget(folder.path()));
    EXPECT_FALSE(openAtStandardPlace()->entry("p", "u"));
  };
  known(written(good + "," + json("v", kNow, kNow, "done") + "," + other), {"v"});
  known(written(good + "," + R"({"peerId":"p","utteranceId":"v","state":3})" + "," + other), {"v"});
  known(R"({"entries":[)" + good + "," + other + "," + json("v", kNow, kNow, "inserted").substr(0, 50), {});
  known("\0\xff{" + good + R"({"peerId":"p","utt{)" + json("v", kNow, kNow, "attempting") + other + "}]", {"v"});
}

TEST_F(InsertionJournalTest, WritesNothingOverAFileThatCannotBeRead) {
  test::LogCapture::instance().expect("Journal unreadable; inserting nothing until it can be read");
  std::filesystem::create_directory(file);  // opens, and reads as an error
  auto journal = openAtStandardPlace();
  EXPECT_EQ(journal->trouble().get(), JournalTrouble::unreadable);
  EXPECT_THROW(journal->record(entry("v")), InsertionJournal::Unread);
  journal->catchUp();
  EXPECT_TRUE(journal->isUnread() && !journal->entry("p", "v") && std::filesystem::is_directory(file));
  std::filesystem::remove(file);
  fill(written(json("u", kNow, kNow, "attempting")));
  journal->catchUp();
  EXPECT_EQ(journal->entry("p", "u")->state, JournalState::uncertain);
  journal->record(entry("v"));
  EXPECT_TRUE(journal->trouble().get() == JournalTrouble::none && journal->knowsThePast());
  EXPECT_TRUE(open().entry("p", "u") && open().entry("p", "v"));
}

TEST_F(InsertionJournalTest, LivesInMemoryWhereThereIsNoFolder) {
  test::LogCapture::instance().expect("No Application Support directory; journal kept in memory");
  fill("");
  for (const auto& place : {std::optional<std::filesystem::path>(), std::optional(file / "below")}) {
    auto journal = InsertionJournal::openJournal(place, [this] { return now; });
    journal->record(entry("u"));
    EXPECT_EQ(journal->entry("p", "u"), entry("u"));
    EXPECT_FALSE(journal->isDurable());
    EXPECT_EQ(journal->trouble().get(), JournalTrouble::noFolder);
  }
}

TEST_F(InsertionJournalTest, AFailedWriteLeavesMemoryAndFileAsTheyWere) {
  auto journal = open();
  auto first = entry("a");
  first.state = JournalState::inserted;
  journal.record(first);
  const auto before = bytes();
  const auto aside = folder.path() / "aside";
  std::filesystem::rename(file, aside);
  std::filesystem::create_directory(file);  // what no file can be renamed over
  auto changed = first;
  changed.createdAt = 7;
  changed.appName = "Longer";
  EXPECT_THROW(journal.record(changed), AtomicFile::Failure);
  EXPECT_THROW(journal.record(entry("b")), AtomicFile::Failure);
  auto notText = entry("b");
  notText.appName = "\xff";
  EXPECT_THROW(journal.record(notText), JSONCoding::EncodingError);
  EXPECT_EQ(journal.entry("p", "a"), first);
  EXPECT_FALSE(journal.entry("p", "b"));
  std::filesystem::remove(file);
  journal.record(first);
  EXPECT_EQ(bytes(), before);
}

class PeerStoreTest : public testing::Test {
 protected:
  PeerIdentity identity(const std::string& name) {
    return DeviceIdentity::generate().peerIdentity(name, DevicePlatform::ios);
  }
  std::string json(const PeerIdentity& peer) {
    return R"({"identity":)" + JSONCoding::encode(peer) + R"(,"pairedAt":1})";
  }
  std::string bytes() { return test::readText(file); }
  void fill(const std::string& text) { test::writeText(file, text); }

  test::TemporaryFolder folder;
  std::filesystem::path file = folder.path() / "peers.json";
};

TEST_F(PeerStoreTest, KeepsPeersInOrderOfPairingAcrossLaunches) {
  const auto a = identity("a");
  auto b = identity("b");
  {
    PeerStore store(file);
    store.upsert(b, 1);
    store.upsert(a, 2);
    b.name = "renamed";
    store.upsert(b, 3);
  }
  EXPECT_EQ(PeerStore(file).peers().get(), (std::vector<StoredPeer>{{a, 2}, {b, 3}}));
  EXPECT_EQ(bytes().substr(0, 11), R"({"peers":[{)");
}

TEST_F(PeerStoreTest, AnUnreadableFileStaysUntouched) {
  for (const char* text : {"no json", "[]", R"({"peers":[]})", R"({"version":1,"peers":[{"pairedAt":1}]})"}) {
    SCOPED_TRACE(text);
    test::LogCapture::instance().expect("Could not read paired devices; keeping the file untouched");
    fill(text);
    EXPECT_TRUE(PeerStore(file).peers().get().empty());
    EXPECT_EQ(bytes(), text);
  }
  EXPECT_TRUE(test::LogCapture::instance().contains("Could not read paired devices; keeping the file untouched"));
}

TEST_F(PeerStoreTest, SaysNothingAboutAnEmptyFileOrNone) {
  EXPECT_TRUE(PeerStore(file).peers().get().empty());
  fill("");
  EXPECT_TRUE(PeerStore(file).peers().get().empty());
}

TEST_F(PeerStoreTest, DropsInconsistentPeersFromMemoryFirst) {
  auto forged = identity("forged");
  forged.deviceId[0] = forged.deviceId[0] == '0' ? '1' : '0';
  const auto good = identity("good");
  fill(R"({"version":7,"peers":[)" + json(forged) + "," + json(good) + "]}");
  const auto before = bytes();
  PeerStore store(file);
  EXPECT_EQ(store.peers().get(), (std::vector<StoredPeer>{{good, 1}}));
  EXPECT_EQ(bytes(), before);
  EXPECT_THROW(store.upsert(forged, 2), std::invalid_argument);
  EXPECT_EQ(bytes(), before);
  store.upsert(identity("new"), 2);
  EXPECT_EQ(bytes().find(forged.deviceId), std::string::npos);
}

TEST(PresenceBuilder, SealsForEachPeerInOrderAndLeavesOutBrokenOnes) {
  const auto mac = DeviceIdentity::generate();
  const DeviceIdentity phones[] = {DeviceIdentity::generate(), DeviceIdentity::generate()};
  const auto macPeer = mac.peerIdentity("Mac", DevicePlatform::macos);
  std::vector<PeerIdentity> peers{
      phones[0].peerIdentity("one", DevicePlatform::ios), phones[0].peerIdentity("broken", DevicePlatform::ios),
      phones[0].peerIdentity("short", DevicePlatform::ios), phones[1].peerIdentity("two", DevicePlatform::ios)};
  peers[1].agreementPublicKey = "no key!";
  peers[2].agreementPublicKey = "AAAA";
  const ReadinessPayload payload{.macName = "Mac", .state = ReadinessState::ready, .appName = "Editor", .at = 5};
  const auto updates = PresenceBuilder::seal(payload, mac, peers);
  ASSERT_EQ(updates.size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(updates[i].to, phones[i].deviceId());
    EXPECT_EQ(updates[i].envelope.open<ReadinessPayload>(EnvelopePurpose::readiness, phones[i], macPeer), payload);
  }
  EXPECT_TRUE(PresenceBuilder::seal(payload, mac, {}).empty());
}

}  // namespace
}  // namespace quillet
