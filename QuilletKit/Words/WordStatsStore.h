// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletKit/Base/Observable.h"
#include "QuilletKit/Base/PreferenceStore.h"
#include "QuilletKit/Words/WordCalendar.h"
#include "QuilletKit/Words/WordLedger.h"
#include "QuilletKit/Words/WordLedgerStorage.h"
#include "QuilletKit/Words/WordStatsSummary.h"

namespace quillet {

/// Counts this device's words and adds up those of all devices. Only counts are kept, never text. The ledger of this
/// device lives in the shared store and, so that it survives without one, in the preferences; either copy repairs the
/// other. Nothing here reports a failure: the count never disturbs an insertion. Main thread only.
class WordStatsStore {
 public:
  /// In the shared store, followed by the id of a device.
  static constexpr std::string_view sharedPrefix = "words.";

  /// `cloud` may be null; it and `local` outlive the store. `now` gives milliseconds since 1970.
  WordStatsStore(WordLedgerStorage* cloud, PreferenceStore& local, std::string name, std::string symbol,
                 WordCalendar calendar, std::function<std::int64_t()> now);
  ~WordStatsStore();
  WordStatsStore(const WordStatsStore&) = delete;
  WordStatsStore& operator=(const WordStatsStore&) = delete;

  const Observable<std::map<std::string, WordLedger>>& ledgers() const { return ledgers_; }
  /// Whether the shared store can be used now.
  const Observable<bool>& isSynchronised() const { return isSynchronised_; }
  /// Names this installation's ledger; no relation to the device's identity.
  const std::string& deviceId() const { return deviceId_; }
  /// How this device is called and shown from the next record on.
  std::string name, symbol;

  /// Counts the words of a text and adds them to today.
  void record(std::string_view text);
  void record(std::int64_t words);
  /// Reads all stores again.
  void reload();
  WordStatsSummary summary() const;

 private:
  std::optional<WordLedger> localCopy() const;
  std::map<std::string, WordLedger> sharedLedgers() const;
  void reconcile(std::map<std::string, WordLedger>& found, const WordLedger& copy);
  void save(const WordLedger& ledger);
  void saveLocal(const WordLedger& ledger);
  void share(const WordLedger& ledger);

  WordLedgerStorage* cloud_;
  PreferenceStore& local_;
  std::string deviceId_;
  WordCalendar calendar_;
  std::function<std::int64_t()> now_;
  Observable<std::map<std::string, WordLedger>> ledgers_;
  Observable<bool> isSynchronised_{false};
};

}  // namespace quillet
