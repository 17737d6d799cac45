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
/// with a host. Absent if one before it is such a URL with a user name or a password: nobody would expect another
/// service to be asked instead.
std::optional<ServiceURL> serviceLocation(const UserDefaults& defaults, const std::optional<std::string>& bundled);

/// Why there is none, for people.
inline constexpr std::string_view kServiceLocationProblem =
    "The address of the service holds a user name or a password, which Quillet never sends. Set it without them and "
    "start Quillet anew.";

}  // namespace quillet
