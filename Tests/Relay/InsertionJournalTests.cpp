// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/InsertionJournal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/TemporaryFolder.h"

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

TEST_F(InsertionJournalTest, RepairsWhatACrashLeftAndPrunesWhatIsOld) {
  const auto edge = json("edge", 1, kNow - kWeek, "inserted");
  fill(R"({"version":2,"entries":[)" + json("begun", 2, kNow - 2 * kWeek, "attempting") + "," +
       json("old", 3, kNow - kWeek - 1, "inserted") + "," + edge + "]}");
  auto journal = open();
  const auto begun = journal.entry("p", "begun");
  ASSERT_TRUE(begun);
  EXPECT_EQ(begun->state, JournalState::uncertain);
  EXPECT_EQ(begun->updatedAt, kNow);
  EXPECT_FALSE(begun->result);
  EXPECT_FALSE(journal.entry("p", "old"));
  EXPECT_EQ(bytes(), written(edge + "," + json("begun", 2, kNow, "uncertain")));
}

TEST_F(InsertionJournalTest, AFileThatNeedsNoRepairStaysAsItIs) {
  const auto untouched = R"({ "version": 1, "entries": [)" + json("u", kNow, kNow, "inserted") + "] }";
  fill(untouched);
  EXPECT_TRUE(openAtStandardPlace()->entry("p", "u"));
  EXPECT_EQ(bytes(), untouched);
  fill("");
  openAtStandardPlace();
  EXPECT_EQ(bytes(), "");
}

TEST_F(InsertionJournalTest, QuarantinesWhatCannotBeRead) {
  const auto good = json("u", kNow, kNow, "inserted");
  for (const auto& text :
       {std::string("{"), written(good + "," + json("v", kNow, kNow, "done")), std::string("{\"entries\":[]}")}) {
    SCOPED_TRACE(text);
    test::LogCapture::instance().expect("Journal unreadable; moving it aside");
    fill(text);
    auto journal = openAtStandardPlace();
    EXPECT_FALSE(journal->entry("p", "u"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(test::readText(folder.path() / ("journal.corrupt-" + std::to_string(now++) + ".json")), text);
  }
}

TEST_F(InsertionJournalTest, LivesInMemoryWhereThereIsNoFolder) {
  test::LogCapture::instance().expect("No Application Support directory; journal kept in memory");
  fill("");
  for (const auto& place : {std::optional<std::filesystem::path>(), std::optional(file / "below")}) {
    auto journal = InsertionJournal::openJournal(place, [this] { return now; });
    journal->record(entry("u"));
    EXPECT_EQ(journal->entry("p", "u"), entry("u"));
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

}  // namespace
}  // namespace quillet
