// SPDX-License-Identifier: MIT
#include "Fuzz/ScratchFile.h"
#include "QuilletCompanion/Relay/InsertionJournal.h"

/// Whatever the journal's file holds, the journal opens, takes a record, and finds it again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  static const bool quiet = fuzz::silenceLog();
  constexpr std::int64_t kNow = 1'760'000'000'000;
  const auto now = [] { return kNow; };
  const fuzz::ScratchFile file("journal.json", data, size);
  JournalEntry entry{.peerId = "p", .utteranceId = "u", .state = JournalState::inserted};
  entry.createdAt = entry.updatedAt = kNow;

  InsertionJournal::openJournal(file.folder(), now)->record(entry);
  const std::string written = file.text();
  fuzz::require(InsertionJournal(file.path(), now).entry("p", "u") == entry);
  fuzz::require(quiet && file.text() == written);
  return 0;
}
