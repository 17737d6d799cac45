// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneWordCount.h"

#include <map>
#include <ostream>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
#include "QuilletKit/Words/WordLedger.h"
#include "QuilletKit/Words/WordStatsStore.h"
#include "QuilletPhone/PhoneFolder.h"

namespace quillet {
namespace {

constexpr std::string_view kSymbol = "iphone";
constexpr const char* kFile = "words.json";
constexpr std::string_view kSentKey = "sent";
constexpr std::int64_t kKeptMilliseconds = std::int64_t{7} * 24 * 60 * 60 * 1000;

/// A delivery whose end may still be told.
struct Sent {
  std::int64_t at = 0;     ///< Milliseconds since 1970.
  std::int64_t words = 0;  ///< 0 once they were counted.
};

constexpr auto jsonFields(std::type_identity<Sent>) {
  using namespace JSONCoding;
  return fields(field("at", &Sent::at), field("words", &Sent::words));
}

/// By the utterance's id.
using SentTexts = std::map<std::string, Sent>;

/// Texts in one JSON file. What can't be made out is set aside, never written over.
class FilePreferences final : public PreferenceStore {
 public:
  FilePreferences(std::filesystem::path file, std::ostream& notes) : file_(std::move(file)) {
    const auto text = readIfThere(file_);
    try {
      if (text) values_ = JSONCoding::decode<Values>(*text);
    } catch (const JSONCoding::DecodingError&) {
      auto aside = file_;
      aside += ".damaged";
      std::filesystem::rename(file_, aside);
      notes << "quillet-phone: The word counts were damaged and begin anew; the old ones are in " << aside << std::endl;
    }
  }

  std::optional<std::string> string(std::string_view key) const override {
    const auto found = values_.find(std::string(key));
    return found != values_.end() ? std::optional(found->second) : std::nullopt;
  }
  void setString(std::string_view key, std::optional<std::string> value) override {
    values_.erase(std::string(key));
    if (value) values_.emplace(key, *std::move(value));
    writeDurably(file_, JSONCoding::encode(values_));
  }

 private:
  using Values = std::map<std::string, std::string>;
  std::filesystem::path file_;
  Values values_;
};

SentTexts sentIn(const FilePreferences& file) {
  const auto text = file.string(kSentKey);
  try {
    return text ? JSONCoding::decode<SentTexts>(*text) : SentTexts();
  } catch (const JSONCoding::DecodingError&) {
    return {};
  }
}

void keep(FilePreferences& file, SentTexts& sent) {
  std::erase_if(sent,
                [oldest = Clock::now() - kKeptMilliseconds](const auto& each) { return each.second.at < oldest; });
  file.setString(kSentKey, JSONCoding::encode(sent));
}

void unlessItFails(std::ostream& notes, const auto& step) {
  try {
    step();
  } catch (const std::exception& error) {
    notes << "quillet-phone: The words were not counted: " << error.what() << std::endl;
  }
}

void withStats(const PhoneState& state, const std::filesystem::path& folder, std::ostream& notes, const auto& use) {
  const File turn = takeTurn(folder);
  FilePreferences local(folder / kFile, notes);
  std::optional<FolderLedgerStorage> shared;
  if (auto found = FolderLedgerStorage::folderFrom(state.wordLedgerFolder)) shared.emplace(*std::move(found));
  WordStatsStore stats(shared ? &*shared : nullptr, local, state.name, std::string(kSymbol), WordCalendar::current(),
                       &Clock::now);
  use(stats, local);
}

}  // namespace

void noteSentWords(const std::filesystem::path& folder, const std::string& utteranceId, std::string_view text,
                   std::ostream& notes) {
  unlessItFails(notes, [&] {
    const File turn = takeTurn(folder);
    FilePreferences file(folder / kFile, notes);
    auto sent = sentIn(file);
    sent.try_emplace(utteranceId, Sent{Clock::now(), WordCounter::count(text)});
    keep(file, sent);
  });
}

void countSentWords(const PhoneState& state, const std::filesystem::path& folder, const std::string& utteranceId,
                    std::ostream& notes) {
  unlessItFails(notes, [&] {
    withStats(state, folder, notes, [&](WordStatsStore& stats, FilePreferences& file) {
      auto sent = sentIn(file);
      const auto found = sent.find(utteranceId);
      if (found == sent.end()) return;
      const std::int64_t words = std::exchange(found->second.words, 0);
      keep(file, sent);
      stats.record(words);
    });
  });
}

WordStatsSummary wordSummary(const PhoneState& state, const std::filesystem::path& folder, std::ostream& notes) {
  WordStatsSummary summary;
  withStats(state, folder, notes, [&](WordStatsStore& stats, FilePreferences&) { summary = stats.summary(); });
  return summary;
}

}  // namespace quillet
