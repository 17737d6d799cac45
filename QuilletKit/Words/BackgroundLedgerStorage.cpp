// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/BackgroundLedgerStorage.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <mutex>
#include <utility>

#include "QuilletKit/Words/WordStatsStore.h"

namespace quillet {
namespace {

constexpr std::chrono::milliseconds kPatience(250);

}  // namespace

/// What the thread uses, also when it hangs and is left behind.
struct BackgroundLedgerStorage::Worker {
  explicit Worker(std::unique_ptr<WordLedgerStorage> used) : storage(std::move(used)) {}

  /// Posts to the main thread, unless that may be gone.
  void tell(const Executor& mainThread, std::function<void()> news) {
    const std::lock_guard guard(lock);
    if (!abandoned) boost::asio::post(mainThread, std::move(news));
  }

  std::unique_ptr<WordLedgerStorage> storage;  ///< Of the thread.
  boost::asio::io_context jobs{1};
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> open{jobs.get_executor()};
  std::mutex lock;
  bool abandoned = false;
};

BackgroundLedgerStorage::BackgroundLedgerStorage(std::unique_ptr<WordLedgerStorage> storage, Executor mainThread)
    : mainThread_(std::move(mainThread)), worker_(std::make_shared<Worker>(std::move(storage))) {
  std::promise<void> end;
  ended_ = end.get_future();
  thread_ = std::thread([worker = worker_, end = std::move(end)]() mutable {
    worker->jobs.run();
    end.set_value();
  });
  auto first = std::make_shared<std::promise<Contents>>();
  auto contents = first->get_future();
  boost::asio::post(worker_->jobs, [worker = worker_.get(), first] { first->set_value(look(*worker->storage)); });
  if (contents.wait_for(kPatience) == std::future_status::ready) {
    seen_ = contents.get();
  } else {
    refresh();
  }
}

BackgroundLedgerStorage::~BackgroundLedgerStorage() {
  worker_->open.reset();
  const bool ended = ended_.wait_for(kPatience) == std::future_status::ready;
  if (!ended) {
    const std::lock_guard guard(worker_->lock);
    worker_->abandoned = true;
  }
  if (ended) {
    thread_.join();
  } else {
    worker_->jobs.stop();
    thread_.detach();
  }
}

BackgroundLedgerStorage::Value BackgroundLedgerStorage::valueIn(const Contents& contents, const std::string& key) {
  const auto found = contents.values.find(key);
  return found == contents.values.end() ? std::nullopt : Value(found->second);
}

std::optional<Bytes> BackgroundLedgerStorage::read(const std::string& key) {
  return valueIn(seen_, key);
}

void BackgroundLedgerStorage::write(const std::string& key, std::optional<ByteView> value) {
  if (!seen_.available) return;
  Value bytes;
  if (value) bytes.emplace(value->begin(), value->end());
  if (const auto lost = lost_.find(key); lost != lost_.end() && lost->second == bytes) return;
  ++writes_;
  written_.insert_or_assign(key, bytes);
  seen_.values.erase(key);
  if (bytes) seen_.values.emplace(key, *bytes);
  boost::asio::post(worker_->jobs, [worker = worker_.get(), key, bytes = std::move(bytes)] {
    worker->storage->write(key, bytes ? std::optional<ByteView>(*bytes) : std::nullopt);
  });
}

std::vector<std::string> BackgroundLedgerStorage::allKeys() {
  refresh();
  std::vector<std::string> keys;
  for (const auto& [key, value] : seen_.values) keys.push_back(key);
  return keys;
}

void BackgroundLedgerStorage::refresh() {
  lookAgain_ = looking_;  // a look that has begun may have passed what changed
  if (std::exchange(looking_, true)) return;
  boost::asio::post(worker_->jobs,
                    [this, worker = worker_.get(), home = mainThread_, writes = writes_, token = lifetime_.token()] {
                      worker->tell(home, [this, token, writes, found = look(*worker->storage)] {
                        if (!token.cancelled()) looked(found, writes);
                      });
                    });
}

BackgroundLedgerStorage::Contents BackgroundLedgerStorage::look(WordLedgerStorage& storage) {
  Contents found;
  found.available = storage.available();
  for (const auto& key : storage.allKeys()) {
    if (!key.starts_with(WordStatsStore::sharedPrefix)) continue;
    if (auto bytes = storage.read(key)) found.values.emplace(key, *std::move(bytes));
  }
  return found;
}

void BackgroundLedgerStorage::looked(const Contents& found, int writesBefore) {
  looking_ = false;
  if (writesBefore != writes_) return refresh();  // it may not show what was written since
  if (lookAgain_) refresh();
  for (auto& [key, value] : std::exchange(written_, {})) {
    lost_.erase(key);
    if (valueIn(found, key) != value) lost_.emplace(key, std::move(value));
  }
  if (found == seen_) return;
  if (!seen_.available) lost_.clear();  // it has come back
  seen_ = found;
  if (onExternalChange) onExternalChange();
}

}  // namespace quillet
