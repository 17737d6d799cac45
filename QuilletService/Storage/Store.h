// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "QuilletService/Storage/Database.h"
#include "QuilletService/Storage/DeliveryStore.h"
#include "QuilletService/Storage/DeviceStore.h"
#include "QuilletService/Storage/PairingStore.h"

namespace quillet {

/// All that the service remembers, in one database. One thread; calls block for microseconds.
struct Store {
  explicit Store(const std::filesystem::path& path)
      : database(path), devices(database), pairings(database), deliveries(database) {}

  Database database;
  DeviceStore devices;
  PairingStore pairings;
  DeliveryStore deliveries;
};

}  // namespace quillet
