// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

/// What kind of machine this is, for phones to draw: by the model string, or else, with a battery, a laptop.
class DeviceModel {
 public:
  /// Both are asked at most once, on first use, and the battery only when the model string names no kind.
  DeviceModel(std::function<std::optional<std::string>()> modelName, std::function<bool()> hasBattery);

  /// Absent when nothing tells. Callable from any thread.
  std::optional<DeviceKind> kind() const;

 private:
  std::function<std::optional<std::string>()> modelName_;
  std::function<bool()> hasBattery_;
  mutable std::once_flag once_;
  mutable std::optional<DeviceKind> kind_;
};

}  // namespace quillet
