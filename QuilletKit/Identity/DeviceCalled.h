// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace quillet {

/// The one of `devices`, each with an `identity`, that people call `wanted`: by its whole id, else by its name or the
/// start of its id where that fits one alone. Null for none.
template <typename Devices>
auto deviceCalled(const Devices& devices, std::string_view wanted) -> decltype(devices.data()) {
  decltype(devices.data()) found = nullptr;
  for (const auto& device : devices) {
    if (device.identity.deviceId == wanted) return &device;
    if (!device.identity.deviceId.starts_with(wanted) && device.identity.name != wanted) continue;
    if (found != nullptr) return nullptr;
    found = &device;
  }
  return found;
}

}  // namespace quillet
