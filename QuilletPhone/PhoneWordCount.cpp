// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneWordCount.h"

#include <map>
#include <ostream>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
#include "QuilletKit/Words/WordStatsStore.h"
#include "QuilletPhone/PhoneFolder.h"

namespace quillet {
namespace {

constexpr std::string_view kSymbol = "iphone";

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

void withStats(const PhoneState& state, const std::filesystem::path& folder, std::ostream& notes, const auto& use) {
  const File turn = takeTurn(folder);
  FilePreferences local(folder / "words.json", notes);
  std::optional<FolderLedgerStorage> shared;
  if (auto found = FolderLedgerStorage::folderFrom(state.wordLedgerFolder)) shared.emplace(*std::move(found));
  WordStatsStore stats(shared ? &*shared : nullptr, local, state.name, std::string(kSymbol), WordCalendar::current(),
                       &Clock::now);
  use(stats);
}

}  // namespace

void recordInsertedWords(const PhoneState& state, const std::filesystem::path& folder, std::string_view text,
                         std::ostream& notes) {
  try {
    withStats(state, folder, notes, [&](WordStatsStore& stats) { stats.record(text); });
  } catch (const std::exception& error) {
    notes << "quillet-phone: The words were not counted: " << error.what() << std::endl;
  }
}

WordStatsSummary wordSummary(const PhoneState& state, const std::filesystem::path& folder, std::ostream& notes) {
  WordStatsSummary summary;
  withStats(state, folder, notes, [&](WordStatsStore& stats) { summary = stats.summary(); });
  return summary;
}

}  // namespace quillet
