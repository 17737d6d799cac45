// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillet {

/// What the kernel tells about the machine. `sys` is where sysfs is mounted; what can't be read is absent or false.
class LinuxDeviceModel {
 public:
  explicit LinuxDeviceModel(std::filesystem::path sys = "/sys") : sys_(std::move(sys)) {}

  /// The firmware's product name, up to the first zero byte; absent when empty.
  std::optional<std::string> modelName() const;
  /// A power supply of type "Battery" that feeds the system, not one of a mouse or a headset.
  bool hasBattery() const;

 private:
  std::filesystem::path sys_;
};

}  // namespace quillet
