// SPDX-License-Identifier: MIT
#pragma once

#include <future>
#include <map>
#include <memory>
#include <thread>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Words/WordLedgerStorage.h"

namespace quillet {

/// Another storage's ledgers in memory. That storage is used on a thread of its own, so that a file system that hangs,
/// as network shares do, never holds up the main thread: operations answer at once, from the last look, and writes
/// follow behind. Construction and destruction wait for the storage for a quarter of a second at most; until its first
/// answer the store counts as not available and is empty. Main thread only.
class BackgroundLedgerStorage final : public WordLedgerStorage {
 public:
  BackgroundLedgerStorage(std::unique_ptr<WordLedgerStorage> storage, Executor mainThread);
  ~BackgroundLedgerStorage() override;

  std::optional<Bytes> read(const std::string& key) override;
  /// While the store is not available a write is lost. One that the store didn't keep shows as an external change, and
  /// is not made again: whoever misses it would ask for it without end.
  void write(const std::string& key, std::optional<ByteView> value) override;
  /// Also looks again, so that what changed unnoticed comes as an external change.
  std::vector<std::string> allKeys() override;
  bool available() override { return seen_.available; }

  /// Looks again; what is different comes as an external change.
  void refresh();

 private:
  struct Contents {
    bool available = false;
    std::map<std::string, Bytes> values;
    bool operator==(const Contents&) const = default;
  };
  struct Worker;
  using Value = std::optional<Bytes>;
  static Contents look(WordLedgerStorage& storage);
  static Value valueIn(const Contents& contents, const std::string& key);
  void looked(const Contents& found, int writesBefore);

  Executor mainThread_;
  std::shared_ptr<Worker> worker_;
  std::thread thread_;
  std::future<void> ended_;
  Lifetime lifetime_;
  Contents seen_;
  int writes_ = 0;
  std::map<std::string, Value> written_;  ///< Since the last look.
  std::map<std::string, Value> lost_;     ///< Written before it, and not found.
  bool looking_ = false, lookAgain_ = false;
};

}  // namespace quillet
