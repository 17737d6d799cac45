// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/LinuxDeviceModel.h"

#include <string_view>
#include <system_error>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

std::string firstLine(const std::filesystem::path& path) {
  const std::string text = File::read(path).value.value_or("");
  const auto line = std::string_view(text).substr(0, text.find_first_of(std::string_view("\n\0", 2)));
  return std::string(Unicode::trim(line));
}

bool feedsSystem(const std::filesystem::path& supply) {
  return firstLine(supply / "type") == "Battery" && firstLine(supply / "scope") != "Device";
}

}  // namespace

std::optional<std::string> LinuxDeviceModel::modelName() const {
  const std::string raw = firstLine(sys_ / "class/dmi/id/product_name");
  if (raw.empty()) return std::nullopt;
  return takeText(g_utf8_make_valid(raw.data(), static_cast<gssize>(raw.size())));
}

bool LinuxDeviceModel::hasBattery() const {
  std::error_code error;
  for (std::filesystem::directory_iterator supply(sys_ / "class/power_supply", error), end; !error && supply != end;
       supply.increment(error)) {
    if (feedsSystem(supply->path())) return true;
  }
  return false;
}

}  // namespace quillet
