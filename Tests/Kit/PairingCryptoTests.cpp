// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/PairingCrypto.h"

#include <gtest/gtest.h>

#include "QuilletKit/Protocol/Envelope.h"

namespace quillet {
namespace {

TEST(PairingCrypto, SealsAnIdentityUnderAFreshNonceEachTime) {
  const DeviceIdentity phone = DeviceIdentity::generate();
  const Crypto::Key mac = Crypto::generatePrivateKey(), own = Crypto::generatePrivateKey();
  const PairingCrypto crypto("s", Crypto::x25519PublicKey(mac), Crypto::x25519PublicKey(own), "m", phone.deviceId(),
                             own);
  const PeerIdentity identity = phone.peerIdentity("Phone", DevicePlatform::ios);
  EXPECT_NE(crypto.sealIdentity(identity), crypto.sealIdentity(identity));
}

TEST(PairingCode, LeavesOutWhatIsNoText) {
  EXPECT_EQ(PairingCode::normalise("\xff 7k"), "7K");
}

}  // namespace
}  // namespace quillet
