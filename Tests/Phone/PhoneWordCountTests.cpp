// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneWordCount.h"

#include <gtest/gtest.h>

#include <sstream>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
#include "QuilletKit/Words/WordStatsStore.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/MemoryPreferences.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet {
namespace {

/// What a desktop program that shares the folder shows.
WordStatsSummary summaryOf(const std::filesystem::path& shared) {
  FolderLedgerStorage storage(shared);
  test::MemoryPreferences local;
  return WordStatsStore(&storage, local, "Desk", "macmini", WordCalendar::current(), &Clock::now).summary();
}

/// A text of its own that went in.
void sendAndCount(const PhoneState& state, const std::filesystem::path& folder, std::string_view text,
                  std::ostream& notes) {
  static int last = 0;
  const std::string id = "u" + std::to_string(++last);
  noteSentWords(folder, id, text, notes);
  countSentWords(state, folder, id, notes);
}

TEST(PhoneWordCount, CountsAnUtteranceOnceHoweverOftenItIsSentAndTold) {
  const test::TemporaryFolder root;
  std::ostringstream notes;
  const PhoneState state{.name = "P", .service = "", .macs = {}};
  countSentWords(state, root.path(), "unknown", notes);
  for (int i = 0; i < 2; ++i) {
    noteSentWords(root.path(), "u", "two words", notes);
    noteSentWords(root.path(), "never told", "three more words", notes);
    EXPECT_EQ(wordSummary(state, root.path(), notes).total, i * 2);
    countSentWords(state, root.path(), "u", notes);
    countSentWords(state, root.path(), "u", notes);
  }
  EXPECT_EQ(wordSummary(state, root.path(), notes).total, 2);
  EXPECT_EQ(notes.str(), "");
  EXPECT_EQ(test::readText(root.path() / "words.json").find("more"), std::string::npos) << "no text is kept";
}

TEST(PhoneWordCount, ReachesTheDesktopThroughTheFolder) {
  const test::TemporaryFolder root;
  std::ostringstream notes;
  const auto phone = root.path() / "phone", shared = root.path() / "shared";
  PhoneState state{.name = "My phone", .service = "http://127.0.0.1:1", .macs = {}};
  sendAndCount(state, phone, "two words", notes);
  state.wordLedgerFolder = shared;
  state.save(phone);
  EXPECT_EQ(PhoneState::load(phone)->wordLedgerFolder, shared);
  sendAndCount(state, phone, "-", notes);
  EXPECT_EQ(summaryOf(shared).total, 0);

  std::filesystem::create_directory(shared);
  sendAndCount(state, phone, "and three more", notes);
  const auto summary = summaryOf(shared);
  EXPECT_EQ(summary.total, 5) << "what was counted before the folder was there comes along";
  ASSERT_EQ(summary.devices.size(), 1U);
  EXPECT_EQ(summary.devices[0].name, "My phone");
  EXPECT_FALSE(summary.devices[0].isThisDevice);
}

TEST(PhoneWordCount, LosesNoCountsThatItCannotRead) {
  const test::TemporaryFolder root;
  const auto file = root.path() / "words.json";
  const PhoneState state{.name = "My phone", .service = "", .macs = {}, .wordLedgerFolder = "relative"};
  for (const char* damaged : {"{", ""}) {
    test::writeText(file, damaged);
    std::ostringstream notes;
    sendAndCount(state, root.path(), "two words", notes);
    EXPECT_NE(notes.str().find("words.json.damaged"), std::string::npos);
    EXPECT_EQ(test::readText(root.path() / "words.json.damaged"), damaged);
    EXPECT_EQ(wordSummary(state, root.path(), notes).total, 2) << "counting goes on";
  }

  std::filesystem::remove(file);
  std::filesystem::create_directory(file);  // can't be read, not even by root
  std::ostringstream notes;
  sendAndCount(state, root.path(), "one", notes);
  EXPECT_NE(notes.str().find("not counted"), std::string::npos);
  EXPECT_NE(notes.str().find(file.string()), std::string::npos);
  EXPECT_THROW(wordSummary(state, root.path(), notes), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_directory(file));
}

TEST(PhoneWordCount, NeverFails) {
  const test::TemporaryFolder root;
  std::ostringstream notes;
  const PhoneState state{.name = "\xFF", .service = "", .macs = {}, .wordLedgerFolder = "relative"};
  sendAndCount(state, root.path(), "words that can't be encoded", notes);
  test::writeText(root.path() / "file", "");
  sendAndCount(state, root.path() / "file", "one", notes);
  EXPECT_FALSE(notes.str().empty());
}

}  // namespace
}  // namespace quillet
