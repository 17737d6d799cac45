// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/JournalReading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

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

struct Contents {
  std::string text;
  std::int64_t modifiedAt = 0;  ///< Milliseconds since 1970.
};

class Descriptor {
 public:
  explicit Descriptor(const std::filesystem::path& path) : number_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return number_; }

 private:
  int number_;
};

/// 0, or the errno of what failed.
int readInto(Contents& contents, const std::filesystem::path& path) {
  const Descriptor file(path);
  struct stat status {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) return errno;
  contents = {{}, static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1000};
  contents.text.reserve(static_cast<std::size_t>(status.st_size));
  std::array<char, 65'536> piece;
  for (;;) {
    const ssize_t count = ::read(file.get(), piece.data(), piece.size());
    if (count == 0) return 0;
    if (count > 0) {
      contents.text.append(piece.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return errno;
    }
  }
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
std::vector<JournalEntry> salvage(const Contents& contents) {
  std::vector<JournalEntry> entries;
  std::string_view rest = contents.text;
  for (auto brace = rest.find('{'); brace != rest.npos; brace = rest.find('{')) {
    rest.remove_prefix(brace);
    const auto object = objectAt(rest);
    auto entry = object.empty() ? std::nullopt : entryFrom(object, contents.modifiedAt);
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
  Contents contents;
  int error = 0;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    error = readInto(contents, path);
    if (error == 0 || error == ENOENT || error == ENOTDIR) break;
  }
  if (error == ENOENT || error == ENOTDIR) return {};
  if (error != 0) return {Condition::unreadable, {}};
  if (contents.text.empty()) return {Condition::intact, {}};
  if (auto file = decoded<FileFormat>(contents.text)) return {Condition::intact, std::move(file->entries)};
  return {Condition::damaged, salvage(contents)};
}

}  // namespace quillet

JSONCODING_INSTANTIATE(JournalEntry);
