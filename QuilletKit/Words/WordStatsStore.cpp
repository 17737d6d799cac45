// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/WordStatsStore.h"

#include <utility>

#include "QuilletKit/Base/UUID.h"
#include "QuilletKit/JSON/JSONCoding.h"

namespace quillet {
namespace {

constexpr std::string_view kDeviceKey = "qlt.wordLedgerDevice";
constexpr std::string_view kLedgerKey = "qlt.wordLedger";
constexpr std::int32_t kDaysKept = 400;

std::optional<WordLedger> ledgerFrom(std::string_view json) {
  try {
    return JSONCoding::decode<WordLedger>(json);
  } catch (const JSONCoding::DecodingError&) {
    return std::nullopt;
  }
}

std::optional<std::string> jsonOf(const WordLedger& ledger) {
  try {
    return JSONCoding::encode(ledger);
  } catch (const JSONCoding::EncodingError&) {
    return std::nullopt;
  }
}

std::string lastingDeviceId(PreferenceStore& local) {
  if (auto stored = local.string(kDeviceKey)) return *std::move(stored);
  std::string made = randomUUID();
  local.setString(kDeviceKey, made);
  return made;
}

}  // namespace

WordStatsStore::WordStatsStore(WordLedgerStorage* cloud, PreferenceStore& local, std::string deviceName,
                               std::string deviceSymbol, WordCalendar calendar, std::function<std::int64_t()> now)
    : name(std::move(deviceName)),
      symbol(std::move(deviceSymbol)),
      cloud_(cloud),
      local_(local),
      deviceId_(lastingDeviceId(local)),
      calendar_(std::move(calendar)),
      now_(std::move(now)) {
  reload();
  if (cloud_ != nullptr) cloud_->onExternalChange = [this] { reload(); };
}

WordStatsStore::~WordStatsStore() {
  if (cloud_ != nullptr) cloud_->onExternalChange = nullptr;
}

void WordStatsStore::record(std::string_view text) {
  record(WordCounter::count(text));
}

void WordStatsStore::record(std::int64_t words) {
  if (words < 1) return;
  const std::int64_t time = now_();
  const std::int64_t cutoff = calendar_.addingDays(time, -kDaysKept).value_or(time);
  const auto& known = ledgers_.get();
  const auto own = known.find(deviceId_);
  WordLedger ledger = own != known.end() ? own->second : localCopy().value_or(WordLedger{});
  ledger.name = name;
  ledger.symbol = symbol;
  ledger.add(words, calendar_.dayKey(time), calendar_.dayKey(cutoff));
  save(ledger);
}

void WordStatsStore::reload() {
  auto found = sharedLedgers();
  if (const auto copy = localCopy()) reconcile(found, *copy);
  isSynchronised_.set(cloud_ != nullptr && cloud_->available());
  ledgers_.set(std::move(found));
}

WordStatsSummary WordStatsStore::summary() const {
  return WordStatsSummary::of(ledgers_.get(), deviceId_, calendar_, now_());
}

std::optional<WordLedger> WordStatsStore::localCopy() const {
  const auto json = local_.string(kLedgerKey);
  return json ? ledgerFrom(*json) : std::nullopt;
}

std::map<std::string, WordLedger> WordStatsStore::sharedLedgers() const {
  std::map<std::string, WordLedger> found;
  if (cloud_ == nullptr) return found;
  for (const auto& key : cloud_->allKeys()) {
    if (!key.starts_with(sharedPrefix)) continue;
    const auto bytes = cloud_->read(key);
    if (!bytes) continue;
    if (auto ledger = ledgerFrom(textOf(*bytes))) {
      found.emplace(key.substr(sharedPrefix.size()), *std::move(ledger));
    }
  }
  return found;
}

void WordStatsStore::reconcile(std::map<std::string, WordLedger>& found, const WordLedger& copy) {
  const auto shared = found.find(deviceId_);
  if (shared != found.end() && shared->second.total() > copy.total()) return saveLocal(shared->second);
  const bool alike = shared != found.end() && shared->second == copy;
  found.insert_or_assign(deviceId_, copy);
  if (!alike) share(copy);
}

void WordStatsStore::save(const WordLedger& ledger) {
  auto all = ledgers_.get();
  all.insert_or_assign(deviceId_, ledger);
  ledgers_.set(std::move(all));
  saveLocal(ledger);
  share(ledger);
}

void WordStatsStore::saveLocal(const WordLedger& ledger) {
  local_.setString(kLedgerKey, jsonOf(ledger));
}

void WordStatsStore::share(const WordLedger& ledger) {
  if (cloud_ == nullptr) return;
  if (const auto json = jsonOf(ledger)) cloud_->write(std::string(sharedPrefix) + deviceId_, bytesOf(*json));
}

}  // namespace quillet
