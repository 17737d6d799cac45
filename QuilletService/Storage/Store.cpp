// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/Store.h"

#include <algorithm>

namespace quillet {

Awaitable<void> Store::durable() {
  const std::int64_t changes = database.changesInAll();
  if (changes <= durableChanges_ || log_.inMemory()) co_return;
  // A failed sync may have dropped what it was to write, and the next one wouldn't tell. A checkpoint writes it anew.
  if (!co_await sync_.sync() && !makeDurable()) throw DatabaseError(SQLITE_IOERR_FSYNC);
  durableChanges_ = std::max(durableChanges_, changes);
  health.worked();
}

bool Store::makeDurable() {
  const std::int64_t changes = database.changesInAll();
  const bool done = database.makeDurable();
  if (done) durableChanges_ = changes;
  return done;
}

void Store::noteSeen(const std::string& deviceId, std::int64_t at) {
  try {
    devices.markSeen(deviceId, at);
  } catch (const DatabaseError& e) {
    health.failed(e.code);
  }
}

void Store::probe() {
  if (!health.failing()) return;
  try {
    database.rewriteVersion();
    health.worked();
  } catch (const DatabaseError& e) {
    health.failed(e.code);
  }
}

}  // namespace quillet
