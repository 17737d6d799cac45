// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/PresenceBuilder.h"

#include <exception>

namespace quillet {

std::vector<PresenceUpdate> PresenceBuilder::seal(const ReadinessPayload& payload, const DeviceIdentity& sender,
                                                  const std::vector<PeerIdentity>& peers) {
  std::vector<PresenceUpdate> updates;
  for (const auto& peer : peers) {
    try {
      updates.push_back({peer.deviceId, Envelope::seal(payload, EnvelopePurpose::readiness, sender, peer)});
    } catch (const std::exception&) {
      continue;
    }
  }
  return updates;
}

}  // namespace quillet
