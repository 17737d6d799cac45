// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneWordCount.h"

#include <gtest/gtest.h>

#include "QuilletKit/Clock.h"
#include "QuilletKit/FolderLedgerStorage.h"
#include "QuilletKit/JSONCoding.h"
#include "QuilletKit/WordStatsStore.h"
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

TEST(PhoneWordCount, ReachesTheDesktopThroughTheFolder) {
  const test::TemporaryFolder root;
  const auto phone = root.path() / "phone", shared = root.path() / "shared";
  PhoneState state{.name = "My phone", .service = "http://127.0.0.1:1", .macs = {}};
  recordInsertedWords(state, phone, "two words");
  state.wordLedgerFolder = shared;
  state.save(phone);
  EXPECT_EQ(PhoneState::load(phone)->wordLedgerFolder, shared);
  recordInsertedWords(state, phone, "-");
  EXPECT_EQ(summaryOf(shared).total, 0);

  std::filesystem::create_directory(shared);
  recordInsertedWords(state, phone, "and three more");
  const auto summary = summaryOf(shared);
  EXPECT_EQ(summary.total, 5) << "what was counted before the folder was there comes along";
  ASSERT_EQ(summary.devices.size(), 1U);
  EXPECT_EQ(summary.devices[0].name, "My phone");
  EXPECT_FALSE(summary.devices[0].isThisDevice);
}

TEST(PhoneWordCount, NeverFails) {
  const test::TemporaryFolder root;
  const PhoneState state{.name = "\xFF", .service = "", .macs = {}, .wordLedgerFolder = "relative"};
  recordInsertedWords(state, root.path(), "words that can't be encoded");
  test::writeText(root.path() / "words.json", "{");
  recordInsertedWords(state, root.path(), "one");
  test::writeText(root.path() / "file", "");
  recordInsertedWords(state, root.path() / "file", "one");
  EXPECT_NE(test::readText(root.path() / "words.json"), "{");
}

}  // namespace
}  // namespace quillet
