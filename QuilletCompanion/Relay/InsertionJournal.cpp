// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/InsertionJournal.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "QuilletCompanion/Relay/StoredFile.h"
#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/JSON/JSONCoding.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;
using Condition = JournalReading::Condition;

constexpr std::int64_t kRetentionMs = 604'800'000;
constexpr const char* kFileName = "journal.json";
constexpr std::string_view kAsideBegin = "journal.corrupt-", kAsideEnd = ".json";

/// When a file of this name was set aside, in milliseconds since 1970; absent for other names.
std::optional<std::int64_t> setAsideAt(const std::string& name) {
  if (name.size() <= kAsideBegin.size() + kAsideEnd.size()) return std::nullopt;
  if (!name.starts_with(kAsideBegin) || !name.ends_with(kAsideEnd)) return std::nullopt;
  std::int64_t time = 0;
  const char* const end = name.data() + name.size() - kAsideEnd.size();
  const auto [stop, error] = std::from_chars(name.data() + kAsideBegin.size(), end, time);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return time;
}

/// Absent if the folder can't be listed.
std::optional<std::vector<fs::path>> setAsideIn(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    if (setAsideAt(at->path().filename())) files.push_back(at->path());
  }
  if (error) return std::nullopt;
  std::sort(files.begin(), files.end());
  return files;
}

bool isGone(const fs::path& path) {
  std::error_code ignored;
  fs::remove(path, ignored);
  return fs::symlink_status(path, ignored).type() == fs::file_type::not_found;
}

}  // namespace

InsertionJournal::InsertionJournal(std::optional<fs::path> fileURL, Now now)
    : fileURL_(std::move(fileURL)), now_(std::move(now)) {
  if (fileURL_) {
    load();
  } else {
    trouble_.set(JournalTrouble::noFolder);
  }
}

InsertionJournal::~InsertionJournal() = default;

std::unique_ptr<InsertionJournal> InsertionJournal::openJournal(const std::optional<fs::path>& supportFolder, Now now) {
  auto path = supportFile(supportFolder, kFileName);
  if (!path) Log::error("insertion", "No Application Support directory; journal kept in memory");
  return std::make_unique<InsertionJournal>(std::move(path), std::move(now));
}

bool InsertionJournal::forget(const fs::path& supportFolder) {
  bool gone = isGone(supportFolder / kFileName);
  for (const auto& file : setAsideIn(supportFolder).value_or(std::vector<fs::path>())) gone = isGone(file) && gone;
  return gone;
}

std::optional<JournalEntry> InsertionJournal::entry(const std::string& peerId, const std::string& utteranceId) const {
  const auto found = entries_.find(JournalEntry::key(peerId, utteranceId));
  if (found == entries_.end()) return std::nullopt;
  return found->second;
}

void InsertionJournal::record(const JournalEntry& entry) {
  if (unread_) throw Unread();
  const std::string key = entry.key();
  const auto previous = this->entry(entry.peerId, entry.utteranceId);
  put(key, entry);
  try {
    save();
  } catch (...) {
    restore(key, entry, previous);
    throw;
  }
}

void InsertionJournal::catchUp() {
  if (unread_) load();
}

void InsertionJournal::prune() {
  if (!fileURL_ || unread_) return;
  const std::int64_t cutoff = now_() - kRetentionMs;
  if (std::erase_if(entries_, [&](const auto& item) { return item.second.updatedAt < cutoff; }) > 0) {
    compose();
    trySave();
  }
  for (const auto& file : setAsideIn(fileURL_->parent_path()).value_or(std::vector<fs::path>())) {
    if (setAsideAt(file.filename()) < cutoff) isGone(file);
  }
}

void InsertionJournal::load() {
  entries_.clear();
  lossy_ = damaged_ = false;
  const auto aside = setAsideIn(fileURL_->parent_path());
  unread_ = !aside;
  auto reading = readJournal(*fileURL_);
  damaged_ = reading.condition == Condition::damaged;
  if (damaged_) Log::error("insertion", "Journal unreadable; moving it aside");
  take(std::move(reading));
  for (const auto& file : aside.value_or(std::vector<fs::path>())) take(readJournal(file));
  const bool repaired = repair();
  compose();
  if (unread_) return tellUnread();
  trouble_.set(JournalTrouble::none);
  if (damaged_ || repaired) trySave();
}

void InsertionJournal::tellUnread() {
  if (trouble_.get() != JournalTrouble::unreadable) {
    Log::error("insertion", "Journal unreadable; inserting nothing until it can be read");
  }
  trouble_.set(JournalTrouble::unreadable);
}

/// What is known already stays.
void InsertionJournal::take(JournalReading reading) {
  unread_ = unread_ || reading.condition == Condition::unreadable;
  lossy_ = lossy_ || reading.condition == Condition::damaged;
  for (auto entry = reading.entries.rbegin(); entry != reading.entries.rend(); ++entry) {
    auto key = entry->key();
    entries_.try_emplace(std::move(key), std::move(*entry));
  }
}

/// An attempt whose end isn't known, by a run that has ended. It is never dated back: the clock may be wrong so early.
bool InsertionJournal::repair() {
  const std::int64_t now = now_();
  bool repaired = false;
  for (auto& [key, entry] : entries_) {
    if (entry.state != JournalState::attempting) continue;
    entry.state = JournalState::uncertain;
    entry.result.reset();
    entry.updatedAt = std::max(entry.updatedAt, now);
    repaired = true;
  }
  return repaired;
}

void InsertionJournal::compose() {
  std::vector<std::pair<std::int64_t, const std::string*>> order;
  order.reserve(entries_.size());
  for (const auto& [key, entry] : entries_) order.emplace_back(entry.createdAt, &key);
  std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
    return a.first != b.first ? a.first < b.first : *a.second < *b.second;
  });
  document_ = {};
  for (const auto& [createdAt, key] : order) document_.put(createdAt, *key, JSONCoding::encode(entries_.at(*key)));
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

/// Memory holds what the file lacks; the next write brings it there.
void InsertionJournal::trySave() {
  try {
    save();
  } catch (const std::exception&) {
    Log::error("insertion", "Journal can't be written; inserting nothing until it can");
  }
}

void InsertionJournal::save() {
  if (!fileURL_) return;
  try {
    if (damaged_) moveAside();
    AtomicFile::write(bytesOf(document_.text()), *fileURL_);
    trouble_.set(JournalTrouble::none);
  } catch (...) {
    trouble_.set(JournalTrouble::unwritable);
    throw;
  }
}

/// A damaged file may hold more than could be made out of it, and so nothing replaces it.
void InsertionJournal::moveAside() {
  const std::string name = std::string(kAsideBegin) + std::to_string(now_()) + std::string(kAsideEnd);
  fs::rename(*fileURL_, fileURL_->parent_path() / name);
  damaged_ = false;
}

}  // namespace quillet
