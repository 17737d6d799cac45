// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/ServiceLocation.h"

#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

bool isAcceptable(const ServiceURL& url) {
  return url.scheme == "http" || url.scheme == "https";
}

/// The text without what stands before an "@" in its authority; absent if there is no such thing.
std::optional<std::string> withoutUser(std::string_view text) {
  constexpr std::string_view kAfterScheme = "://";
  const auto scheme = text.find(kAfterScheme);
  if (scheme == text.npos) return std::nullopt;
  const auto authority = scheme + kAfterScheme.size();
  const auto at = text.substr(0, text.find_first_of("/?#", authority)).rfind('@');
  if (at == text.npos || at < authority) return std::nullopt;
  return std::string(text.substr(0, authority)) + std::string(text.substr(at + 1));
}

}  // namespace

std::optional<ServiceURL> serviceLocation(const UserDefaults& defaults, const std::optional<std::string>& bundled) {
  for (const auto& source : {defaults.string("QLTServerURLOverride"), bundled}) {
    if (!source) continue;
    const auto text = Unicode::trim(*source);
    if (auto url = ServiceURL::parse(text); url && isAcceptable(*url)) return url;
    const auto plain = withoutUser(text);
    const auto url = plain ? ServiceURL::parse(*plain) : std::nullopt;
    if (url && isAcceptable(*url)) return std::nullopt;
  }
  return ServiceURL::parse(kDefaultServiceURL);
}

}  // namespace quillet
