// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/PresenceBuilder.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(PresenceBuilder, SealsForEachPeerInOrderAndLeavesOutBrokenOnes) {
  const auto mac = DeviceIdentity::generate();
  const DeviceIdentity phones[] = {DeviceIdentity::generate(), DeviceIdentity::generate()};
  const auto macPeer = mac.peerIdentity("Mac", DevicePlatform::macos);
  std::vector<PeerIdentity> peers{
      phones[0].peerIdentity("one", DevicePlatform::ios), phones[0].peerIdentity("broken", DevicePlatform::ios),
      phones[0].peerIdentity("short", DevicePlatform::ios), phones[1].peerIdentity("two", DevicePlatform::ios)};
  peers[1].agreementPublicKey = "no key!";
  peers[2].agreementPublicKey = "AAAA";
  const ReadinessPayload payload{.macName = "Mac", .state = ReadinessState::ready, .appName = "Editor", .at = 5};

  const auto updates = PresenceBuilder::seal(payload, mac, peers);

  ASSERT_EQ(updates.size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(updates[i].to, phones[i].deviceId());
    EXPECT_EQ(updates[i].envelope.open<ReadinessPayload>(EnvelopePurpose::readiness, phones[i], macPeer), payload);
  }
  EXPECT_TRUE(PresenceBuilder::seal(payload, mac, {}).empty());
}

}  // namespace
}  // namespace quillet
