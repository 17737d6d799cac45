// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "QuilletService/Storage/Database.h"
#include "QuilletService/Storage/DeliveryStore.h"
#include "QuilletService/Storage/DeviceStore.h"
#include "QuilletService/Storage/GroupSync.h"
#include "QuilletService/Storage/PairingStore.h"
#include "QuilletService/Storage/StorageHealth.h"

namespace quillet {

/// All that the service remembers, in one database. One thread, which `home` runs on; calls block for microseconds.
struct Store {
  Store(const Executor& home, const std::filesystem::path& path)
      : database(path),
        devices(database),
        pairings(database),
        deliveries(database),
        log_(database.log()),
        sync_(home, [this] { return log_.sync(); }) {}

  /// Resumes when all that is committed by now would survive a power failure. What asks at the same time shares one
  /// sync of the disk. Throws DatabaseError.
  Awaitable<void> durable();
  /// The same at once, by a checkpoint. For changes that are told whatever becomes of it, so a failure is logged.
  bool makeDurable();
  /// Notes that the device was here. Nobody is refused because that can't be kept.
  void noteSeen(const std::string& deviceId, std::int64_t at);
  /// Looks whether the database can be written again.
  void probe();

  StorageHealth health;
  Database database;
  DeviceStore devices;
  PairingStore pairings;
  DeliveryStore deliveries;

 private:
  const WriteAheadLog log_;
  GroupSync sync_;
  std::int64_t durableChanges_ = 0;
};

}  // namespace quillet
