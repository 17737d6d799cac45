// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneWordCount.h"

#include <fstream>
#include <iterator>
#include <map>

#include "QuilletKit/AtomicFile.h"
#include "QuilletKit/Clock.h"
#include "QuilletKit/FolderLedgerStorage.h"
#include "QuilletKit/JSONFields.h"
#include "QuilletKit/Log.h"
#include "QuilletKit/WordStatsStore.h"

namespace quillet {
namespace {

constexpr std::string_view kSymbol = "iphone";

/// Texts in one JSON file.
class FilePreferences final : public PreferenceStore {
 public:
  explicit FilePreferences(std::filesystem::path file) : file_(std::move(file)) {
    std::ifstream stream(file_, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    try {
      if (!text.empty()) values_ = JSONCoding::decode<Values>(text);
    } catch (const JSONCoding::DecodingError&) {
      Log::standard("relay", "The phone's word counts can't be read; starting anew");
    }
  }

  std::optional<std::string> string(std::string_view key) const override {
    const auto found = values_.find(std::string(key));
    return found != values_.end() ? std::optional(found->second) : std::nullopt;
  }
  void setString(std::string_view key, std::optional<std::string> value) override {
    values_.erase(std::string(key));
    if (value) values_.emplace(key, *std::move(value));
    AtomicFile::write(bytesOf(JSONCoding::encode(values_)), file_);
  }

 private:
  using Values = std::map<std::string, std::string>;
  std::filesystem::path file_;
  Values values_;
};

void withStats(const PhoneState& state, const std::filesystem::path& folder, const auto& use) {
  FilePreferences local(folder / "words.json");
  std::optional<FolderLedgerStorage> shared;
  if (auto found = FolderLedgerStorage::folderFrom(state.wordLedgerFolder)) shared.emplace(*std::move(found));
  WordStatsStore stats(shared ? &*shared : nullptr, local, state.name, std::string(kSymbol), WordCalendar::current(),
                       &Clock::now);
  use(stats);
}

}  // namespace

void recordInsertedWords(const PhoneState& state, const std::filesystem::path& folder, std::string_view text) noexcept {
  try {
    withStats(state, folder, [&](WordStatsStore& stats) { stats.record(text); });
  } catch (const std::exception&) {
    Log::info("relay", "Could not count the words");
  }
}

WordStatsSummary wordSummary(const PhoneState& state, const std::filesystem::path& folder) {
  WordStatsSummary summary;
  withStats(state, folder, [&](WordStatsStore& stats) { summary = stats.summary(); });
  return summary;
}

}  // namespace quillet
