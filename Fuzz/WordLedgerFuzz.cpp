// SPDX-License-Identifier: MIT
#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
#include "QuilletKit/Words/WordStatsSummary.h"

/// What a shared folder may hold: a ledger of another device, and its file's name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  static const WordCalendar calendar("Europe/Berlin", "de_DE");
  constexpr std::int64_t now = 1'785'880'800'000;
  const std::string_view text = fuzz::textOf(data, size);
  fuzz::checkRoundTrip<WordLedger>(text);
  if (auto ledger = fuzz::decoded<WordLedger>(text)) {
    const auto summary = WordStatsSummary::of({{"a", *ledger}, {"b", *ledger}}, "a", calendar, now);
    fuzz::require(summary.lastWeek.size() == 7 && summary.streak >= 0 && summary.devices.size() % 2 == 0);
    ledger->add(WordCounter::count(text), calendar.dayKey(now), "2025-07-01");
  }
  if (const auto name = FolderLedgerStorage::fileName(text)) {
    fuzz::require(FolderLedgerStorage::keyOf(*name) == text && name->find('/') == name->npos);
  }
  if (const auto key = FolderLedgerStorage::keyOf(text)) fuzz::require(FolderLedgerStorage::fileName(*key) == text);
  return 0;
}
