// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/JournalReading.h"

#include <string_view>

#include "QuilletKit/Base/File.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/WireCoding.h"

namespace quillet {
namespace {

using Condition = JournalReading::Condition;

constexpr int kAttempts = 3;
constexpr std::size_t kLongestEntry = 65'536;

struct FileFormat {
  std::int64_t version = 1;
  std::vector<JournalEntry> entries;
};

constexpr auto jsonFields(std::type_identity<FileFormat>) {
  using namespace JSONCoding;
  return fields(field("entries", &FileFormat::entries), field("version", &FileFormat::version));
}

/// What the journal's promise needs of an entry.
struct EntryIds {
  std::string peerId, utteranceId;
};

constexpr auto jsonFields(std::type_identity<EntryIds>) {
  using namespace JSONCoding;
  return fields(field("peerId", &EntryIds::peerId), field("utteranceId", &EntryIds::utteranceId));
}

template <typename T>
std::optional<T> decoded(std::string_view json) {
  try {
    return JSONCoding::decode<T>(json);
  } catch (const JSONCoding::DecodingError&) {
    return std::nullopt;
  }
}

/// The object that begins here, up to its closing brace; empty if there is none in sight.
std::string_view objectAt(std::string_view text) {
  int depth = 0;
  bool inString = false;
  for (std::size_t at = 0; at < text.size() && at < kLongestEntry; ++at) {
    const char c = text[at];
    if (inString) {
      if (c == '\\') ++at;
      if (c == '"') inString = false;
    } else if (c == '"') {
      inString = true;
    } else if (c == '{') {
      ++depth;
    } else if (c == '}' && --depth == 0) {
      return text.substr(0, at + 1);
    }
  }
  return {};
}

std::optional<JournalEntry> entryFrom(std::string_view object, std::int64_t modifiedAt) {
  if (auto entry = decoded<JournalEntry>(object)) return entry;
  auto ids = decoded<EntryIds>(object);
  if (!ids) return std::nullopt;
  return JournalEntry{.peerId = std::move(ids->peerId),
                      .utteranceId = std::move(ids->utteranceId),
                      .state = JournalState::uncertain,
                      .createdAt = modifiedAt,
                      .updatedAt = modifiedAt};
}

/// Every object in the text that is an entry, wherever it stands.
std::vector<JournalEntry> salvage(std::string_view text, std::int64_t modifiedAt) {
  std::vector<JournalEntry> entries;
  std::string_view rest = text;
  for (auto brace = rest.find('{'); brace != rest.npos; brace = rest.find('{')) {
    rest.remove_prefix(brace);
    const auto object = objectAt(rest);
    auto entry = object.empty() ? std::nullopt : entryFrom(object, modifiedAt);
    rest.remove_prefix(entry ? object.size() : 1);
    if (entry) entries.push_back(std::move(*entry));
  }
  return entries;
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

JournalReading readJournal(const std::filesystem::path& path) {
  auto file = File::read(path);
  for (int attempt = 1; attempt < kAttempts && file.condition == File::Condition::unreadable; ++attempt) {
    file = File::read(path);
  }
  if (file.condition == File::Condition::absent) return {};
  if (!file.value) return {Condition::unreadable, {}};
  if (file.value->empty()) return {Condition::intact, {}};
  if (auto journal = decoded<FileFormat>(*file.value)) return {Condition::intact, std::move(journal->entries)};
  return {Condition::damaged, salvage(*file.value, file.modifiedAt)};
}

}  // namespace quillet

JSONCODING_INSTANTIATE(JournalEntry);
