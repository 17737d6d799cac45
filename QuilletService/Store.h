// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "QuilletService/Database.h"
#include "QuilletService/DeliveryStore.h"
#include "QuilletService/DeviceStore.h"
#include "QuilletService/PairingStore.h"

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
