// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuilletCompanion/App/UserDefaults.h"
#include "QuilletKit/Protocol/RequestSigner.h"

namespace quillet {

/// Where the service is sought when nothing else is configured: one that runs on this machine.
inline constexpr std::string_view kDefaultServiceURL = "http://127.0.0.1:8787";

/// The user's `QLTServerURLOverride`, or else `bundled`, or else the default: the first that is an http or https URL
/// with a host.
ServiceURL serviceLocation(const UserDefaults& defaults, const std::optional<std::string>& bundled);

}  // namespace quillet
