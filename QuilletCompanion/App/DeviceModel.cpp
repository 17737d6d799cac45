// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DeviceModel.h"

#include <utility>

namespace quillet {

DeviceModel::DeviceModel(std::function<std::optional<std::string>()> modelName, std::function<bool()> hasBattery)
    : modelName_(std::move(modelName)), hasBattery_(std::move(hasBattery)) {}

std::optional<DeviceKind> DeviceModel::kind() const {
  std::call_once(once_, [this] {
    if (const auto name = modelName_()) kind_ = deviceKindFromModel(*name);
    if (!kind_ && hasBattery_()) kind_ = DeviceKind::macBook;
  });
  return kind_;
}

}  // namespace quillet
