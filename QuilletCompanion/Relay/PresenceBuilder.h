// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "QuilletKit/Protocol/WireModels.h"

namespace quillet::PresenceBuilder {

/// Seals the payload for each peer, in order. A peer that can't be sealed for, by a broken key, is left out.
std::vector<PresenceUpdate> seal(const ReadinessPayload& payload, const DeviceIdentity& sender,
                                 const std::vector<PeerIdentity>& peers);

}  // namespace quillet::PresenceBuilder
