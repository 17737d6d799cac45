// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <vector>

#include "QuilletCompanion/Relay/JournalEntry.h"

namespace quillet {

/// What a journal's file says.
struct JournalReading {
  enum class Condition {
    absent,
    intact,
    damaged,     ///< Something in it is no entry, and more may be lost.
    unreadable,  ///< It is there, and several attempts at reading it failed.
  };
  Condition condition = Condition::absent;
  /// In the order of the file. Of a damaged file each entry that can be made out; one of which only the ids are left
  /// counts as `uncertain`.
  std::vector<JournalEntry> entries;
};

JournalReading readJournal(const std::filesystem::path& path);

}  // namespace quillet
