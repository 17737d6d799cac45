// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/PairingCrypto.h"

#include <gtest/gtest.h>

#include "QuilletKit/Base/Base64URL.h"
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

TEST(PairingInvitation, WhatParses) {
  const Crypto::Key key = Crypto::keyFrom(Bytes(32, 0xfb));
  const std::string k = Base64URL::encode(key);
  EXPECT_EQ(PairingInvitation::parse(PairingInvitation({"s-1", key}).text()), PairingInvitation({"s-1", key}));
  const std::pair<std::string, std::string> cases[] = {
      {"quillet://pair?k=" + k + "&s=a", "a"},
      {"quillet://pair/?s=a&k=" + k + "#end", "a"},
      {"quillet://pair?s=a&k=" + k + "=", "a"},
      {"quillet://pair?s=a%2Fb%20c&k=" + k, "a/b c"},
      {"quillet://pair?s=a+b&k=" + k, "a+b"},
      {"quillet://pair?s=a=b&k=" + k, "a=b"},
      {"quillet://pair?%73=a&k=" + k, "a"},
      {"quillet://pair?s=a&s=b&k=" + k + "&k=x", "a"},
      {"quillet://pair?&x&s=%C3%A9&k=" + k, "\xc3\xa9"},
  };
  for (const auto& [text, session] : cases) {
    const auto parsed = PairingInvitation::parse(text);
    ASSERT_TRUE(parsed) << text;
    EXPECT_EQ(*parsed, PairingInvitation({session, key})) << text;
  }
}

TEST(PairingInvitation, WhatGivesNothing) {
  const std::string k = Base64URL::encode(Bytes(32, 1));
  const std::vector<std::string> cases[] = {
      {"", "quillet", "quillet://", "quillet://pair", "quillet://pair?", "quillet://pair?s=a",
       "quillet:pair?s=a&k=" + k},
      {"quillet://other/pair?s=a&k=" + k, " quillet://pair?s=a&k=" + k, "quillet://pair#?s=a&k=" + k},
      {"quillet://pair?s&k=" + k, "quillet://pair?s=&s=a&k=" + k, "quillet://pair?S=a&K=" + k},
      {"quillet://pair?s=a&k=" + Base64URL::encode(Bytes(33)), "quillet://pair?s=a&k=*" + k.substr(1)},
      {"quillet://pair?s=a%&k=" + k, "quillet://pair?s=a%4&k=" + k, "quillet://pair?s=a%zz&k=" + k},
      {"quillet://pair?s=%FF&k=" + k, "quillet://pair?s=a b&k=" + k}};
  for (const auto& group : cases) {
    for (const auto& text : group) EXPECT_FALSE(PairingInvitation::parse(text)) << text;
  }
}

TEST(PairingCode, LooseTypingGivesTheCode) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"\t7KQ2 M9XA\n", "7KQ2M9XA"},
      {"\xc3\x9f", "SS"},
      {"\xc3\xa9!", "\xc3\x89"},
      {"\xd9\xa3", "\xd9\xa3"},
      {"\xc4\xb1", "1"},
      {"\xff"
       "a",
       "A"},
      {"\xe2\x80\x94", ""},
      {"\xef\xac\x81", "F1"},
  };
  for (const auto& [typed, code] : cases) EXPECT_EQ(PairingCode::normalise(typed), code) << typed;
  EXPECT_EQ(PairingCode::display("éxxxxxxx"), "ÉXXX-XXXX") << "eight characters, not bytes";
}

}  // namespace
}  // namespace quillet
