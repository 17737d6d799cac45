// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "QuilletCompanion/Relay/JournalDocument.h"
#include "QuilletCompanion/Relay/JournalEntry.h"
#include "QuilletCompanion/Relay/JournalReading.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// Why nothing can be inserted: what would be inserted could be inserted again.
enum class JournalTrouble {
  none,
  noFolder,    ///< There is no place for its file; it lives in memory.
  unreadable,  ///< What earlier runs inserted can't be read.
  unwritable,  ///< The last write failed.
};

/// The crash-safe record of what became of each utterance; holds no text. What was read stays known whatever fails
/// later: only writing fails then. Main thread only.
class InsertionJournal {
 public:
  using Now = std::function<std::int64_t()>;

  /// Nothing may be written over a file that could not be read.
  struct Unread : std::runtime_error {
    Unread() : std::runtime_error("the journal could not be read") {}
  };

  /// Loads and repairs. A damaged file is set aside, and each entry that can be made out is kept; files that were set
  /// aside earlier are looked through as well. Without a path the journal lives in memory.
  InsertionJournal(std::optional<std::filesystem::path> fileURL, Now now);
  ~InsertionJournal();

  /// "journal.json" in `supportFolder`; in memory where there can be no such folder.
  static std::unique_ptr<InsertionJournal> openJournal(const std::optional<std::filesystem::path>& supportFolder,
                                                       Now now);
  /// Removes a folder's journal and those that were set aside. False if one is left.
  static bool forget(const std::filesystem::path& supportFolder);

  std::optional<JournalEntry> entry(const std::string& peerId, const std::string& utteranceId) const;
  /// Durable when it returns, where there is a file. Throws Unread, the writer's error, or JSONCoding::EncodingError
  /// for text that isn't UTF-8; memory is then as it was.
  void record(const JournalEntry& entry);

  /// A journal in memory can't tell the next run what was inserted.
  bool isDurable() const { return fileURL_.has_value(); }
  /// What earlier runs inserted can't be read: any utterance may have been.
  bool isUnread() const { return unread_; }
  /// False if an utterance that it doesn't know may have been inserted by an earlier run.
  bool knowsThePast() const { return isDurable() && !unread_ && !lossy_; }
  /// Reads again what could not be read, if anything.
  void catchUp();
  /// Forgets entries that are older than seven days. To be called once the clock is known to be right.
  void prune();
  const Observable<JournalTrouble>& trouble() const { return trouble_; }

 private:
  void load();
  void tellUnread();
  void take(JournalReading reading);
  void moveAside();
  bool repair();
  void compose();
  void trySave();
  void put(const std::string& key, const JournalEntry& entry);
  void restore(const std::string& key, const JournalEntry& failed, const std::optional<JournalEntry>& previous);
  void save();

  std::optional<std::filesystem::path> fileURL_;
  Now now_;
  std::unordered_map<std::string, JournalEntry> entries_;
  JournalDocument document_;  ///< Empty while there is no file.
  bool damaged_ = false;      ///< The file is damaged and still in its place.
  bool unread_ = false;
  bool lossy_ = false;
  Observable<JournalTrouble> trouble_{JournalTrouble::none};
};

}  // namespace quillet
