// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/ServiceLocation.h"

#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

std::optional<ServiceURL> acceptableURL(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  auto url = ServiceURL::parse(Unicode::trim(*text));
  if (!url || (url->scheme != "http" && url->scheme != "https")) return std::nullopt;
  return url;
}

}  // namespace

ServiceURL serviceLocation(const UserDefaults& defaults, const std::optional<std::string>& bundled) {
  if (auto url = acceptableURL(defaults.string("QLTServerURLOverride"))) return *url;
  if (auto url = acceptableURL(bundled)) return *url;
  return *ServiceURL::parse(kDefaultServiceURL);
}

}  // namespace quillet
