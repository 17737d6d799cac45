// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/InsertionJournal.h"

#include <utility>
#include <vector>

#include "QuilletCompanion/Relay/StoredFile.h"
#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/WireCoding.h"

namespace quillet {
namespace {

constexpr std::int64_t kRetentionMs = 604'800'000;

struct FileFormat {
  std::int64_t version = 1;
  std::vector<JournalEntry> entries;
};

constexpr auto jsonFields(std::type_identity<FileFormat>) {
  using namespace JSONCoding;
  return fields(field("entries", &FileFormat::entries), field("version", &FileFormat::version));
}

std::string keyOf(const std::string& peerId, const std::string& utteranceId) {
  return peerId + "|" + utteranceId;
}

}  // namespace

constexpr auto rawNames(std::type_identity<JournalState>) {
  return rawTable<4>({"attempting", "inserted", "refused", "uncertain"});
}

std::string_view rawValue(JournalState value) {
  return rawValue<JournalState>(value);
}

constexpr auto jsonFields(std::type_identity<JournalEntry>) {
  using namespace JSONCoding;
  return fields(field("appName", &JournalEntry::appName), field("createdAt", &JournalEntry::createdAt),
                field("method", &JournalEntry::method), field("peerId", &JournalEntry::peerId),
                field("reason", &JournalEntry::reason), field("result", &JournalEntry::result),
                field("state", &JournalEntry::state), field("updatedAt", &JournalEntry::updatedAt),
                field("utteranceId", &JournalEntry::utteranceId));
}

InsertionJournal::InsertionJournal(std::optional<std::filesystem::path> fileURL, Now now)
    : fileURL_(std::move(fileURL)), now_(std::move(now)) {
  if (fileURL_) load();
}

InsertionJournal::~InsertionJournal() = default;

std::unique_ptr<InsertionJournal> InsertionJournal::openJournal(
    const std::optional<std::filesystem::path>& supportFolder, Now now) {
  const auto path = supportFile(supportFolder, "journal.json");
  if (!path) {
    Log::error("insertion", "No Application Support directory; journal kept in memory");
    return std::make_unique<InsertionJournal>(std::nullopt, std::move(now));
  }
  try {
    return std::make_unique<InsertionJournal>(path, now);
  } catch (const std::exception&) {
    Log::error("insertion", "Journal unreadable; moving it aside");
  }
  std::error_code ignored;
  std::filesystem::rename(*path, *supportFolder / ("journal.corrupt-" + std::to_string(now()) + ".json"), ignored);
  try {
    return std::make_unique<InsertionJournal>(path, now);
  } catch (const std::exception&) {
    return std::make_unique<InsertionJournal>(std::nullopt, std::move(now));
  }
}

std::optional<JournalEntry> InsertionJournal::entry(const std::string& peerId, const std::string& utteranceId) const {
  const auto found = entries_.find(keyOf(peerId, utteranceId));
  if (found == entries_.end()) return std::nullopt;
  return found->second;
}

void InsertionJournal::record(const JournalEntry& entry) {
  const std::string key = keyOf(entry.peerId, entry.utteranceId);
  const auto previous = this->entry(entry.peerId, entry.utteranceId);
  put(key, entry);
  try {
    save();
  } catch (...) {
    restore(key, entry, previous);
    throw;
  }
}

void InsertionJournal::load() {
  if (!std::filesystem::exists(*fileURL_)) return;
  const std::string text = readFile(*fileURL_);
  if (text.empty()) return;
  for (auto& entry : JSONCoding::decode<FileFormat>(text).entries) {
    auto key = keyOf(entry.peerId, entry.utteranceId);
    entries_.insert_or_assign(std::move(key), std::move(entry));
  }
  const bool changed = repairAndPrune();
  for (const auto& [key, entry] : entries_) document_.put(entry.createdAt, key, JSONCoding::encode(entry));
  if (changed) save();
}

bool InsertionJournal::repairAndPrune() {
  const std::int64_t now = now_();
  bool repaired = false;
  for (auto& [key, entry] : entries_) {
    if (entry.state != JournalState::attempting) continue;
    entry.state = JournalState::uncertain;
    entry.result.reset();
    entry.updatedAt = now;
    repaired = true;
  }
  const auto removed =
      std::erase_if(entries_, [&](const auto& item) { return item.second.updatedAt < now - kRetentionMs; });
  return repaired || removed > 0;
}

void InsertionJournal::put(const std::string& key, const JournalEntry& entry) {
  if (fileURL_) {
    const std::string json = JSONCoding::encode(entry);
    const auto known = entries_.find(key);
    if (known != entries_.end() && known->second.createdAt != entry.createdAt) {
      document_.remove(known->second.createdAt, key);
    }
    document_.put(entry.createdAt, key, json);
  }
  entries_.insert_or_assign(key, entry);
}

void InsertionJournal::restore(const std::string& key, const JournalEntry& failed,
                               const std::optional<JournalEntry>& previous) {
  if (previous) return put(key, *previous);
  document_.remove(failed.createdAt, key);
  entries_.erase(key);
}

void InsertionJournal::save() const {
  if (fileURL_) AtomicFile::write(bytesOf(document_.text()), *fileURL_);
}

}  // namespace quillet

JSONCODING_INSTANTIATE(JournalEntry);
