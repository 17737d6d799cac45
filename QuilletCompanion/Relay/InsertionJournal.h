// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "QuilletCompanion/Relay/JournalDocument.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

enum class JournalState { attempting, inserted, refused, uncertain };
std::string_view rawValue(JournalState value);

struct JournalEntry {
  std::string peerId, utteranceId;
  JournalState state = JournalState::attempting;
  std::optional<RefusalReason> reason;
  std::optional<InsertionMethod> method;
  std::optional<std::string> appName;
  std::int64_t createdAt = 0;  ///< Milliseconds since 1970, as `updatedAt`.
  std::int64_t updatedAt = 0;
  std::optional<ResultPayload> result;
  bool operator==(const JournalEntry&) const = default;
};

/// The crash-safe record of what became of each utterance; holds no text. Main thread only.
class InsertionJournal {
 public:
  using Now = std::function<std::int64_t()>;

  /// Loads and repairs; without a path the journal lives in memory and never fails. Throws when the file can't be read,
  /// decoded or saved.
  InsertionJournal(std::optional<std::filesystem::path> fileURL, Now now);
  ~InsertionJournal();

  /// "journal.json" in `supportFolder`; an unreadable file is moved aside; in memory where nothing else works.
  static std::unique_ptr<InsertionJournal> openJournal(const std::optional<std::filesystem::path>& supportFolder,
                                                       Now now);

  std::optional<JournalEntry> entry(const std::string& peerId, const std::string& utteranceId) const;
  /// Durable when it returns. Throws the writer's error, or JSONCoding::EncodingError for text that isn't UTF-8; memory
  /// is then as it was.
  void record(const JournalEntry& entry);

 private:
  void load();
  bool repairAndPrune();
  void put(const std::string& key, const JournalEntry& entry);
  void restore(const std::string& key, const JournalEntry& failed, const std::optional<JournalEntry>& previous);
  void save() const;

  std::optional<std::filesystem::path> fileURL_;
  Now now_;
  std::unordered_map<std::string, JournalEntry> entries_;
  JournalDocument document_;  ///< Empty while there is no file.
};

}  // namespace quillet
