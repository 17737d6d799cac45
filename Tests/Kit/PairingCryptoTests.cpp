// SPDX-License-Identifier: MIT
#include "QuilletKit/PairingCrypto.h"

#include <gtest/gtest.h>

#include "QuilletKit/Base64URL.h"
#include "QuilletKit/Envelope.h"

namespace quillet {
namespace {

/// Both sides of one pairing attempt, with long-term identities of their own.
struct Pairing {
  DeviceIdentity mac = DeviceIdentity::generate(), phone = DeviceIdentity::generate();
  Crypto::Key macEphemeral = Crypto::generatePrivateKey(), phoneEphemeral = Crypto::generatePrivateKey();

  PairingCrypto with(const Crypto::Key& own, const std::string& session, const std::string& macId) const {
    return {session,
            Crypto::x25519PublicKey(macEphemeral),
            Crypto::x25519PublicKey(phoneEphemeral),
            macId,
            phone.deviceId(),
            own};
  }
  PairingCrypto macSide(const std::string& session = "s-1") const {
    return with(macEphemeral, session, mac.deviceId());
  }
  PairingCrypto phoneSide(const std::string& session = "s-1") const {
    return with(phoneEphemeral, session, mac.deviceId());
  }
};

TEST(PairingCrypto, BothSidesSeeTheSameWords) {
  const Pairing pairing;
  EXPECT_EQ(pairing.macSide().transcriptHash(), pairing.phoneSide().transcriptHash());
  EXPECT_EQ(pairing.macSide().verificationPhrase(), pairing.phoneSide().verificationPhrase());
  const auto words = pairing.macSide().verificationWords();
  EXPECT_EQ(pairing.macSide().verificationPhrase(), words[0] + " " + words[1] + " " + words[2] + " " + words[3]);
}

TEST(PairingCrypto, TheWordsDependOnEveryPartOfTheTranscript) {
  const Pairing pairing;
  const auto transcript = pairing.macSide().transcriptHash();
  EXPECT_NE(pairing.macSide("s-2").transcriptHash(), transcript);
  EXPECT_NE(pairing.with(pairing.macEphemeral, "s-1", "someone else").transcriptHash(), transcript);
  Pairing intercepted = pairing;
  intercepted.phoneEphemeral = Crypto::generatePrivateKey();
  EXPECT_NE(intercepted.macSide().transcriptHash(), transcript);
}

TEST(PairingCrypto, APrivateKeyOfNeitherSideIsRefused) {
  const Pairing pairing;
  try {
    pairing.with(Crypto::generatePrivateKey(), "s-1", "m");
    FAIL() << "built with a foreign key";
  } catch (const EnvelopeError& error) {
    EXPECT_EQ(error.code, EnvelopeError::Code::badKey);
  }
  EXPECT_THROW(PairingCrypto("s", Crypto::x25519PublicKey(pairing.macEphemeral), {}, "m", "p", pairing.macEphemeral),
               Crypto::KeyError);
}

TEST(PairingCrypto, IdentitiesAreExchanged) {
  const Pairing pairing;
  const PeerIdentity phone = pairing.phone.peerIdentity("Phone", DevicePlatform::ios);
  const std::string sealed = pairing.phoneSide().sealIdentity(phone);
  EXPECT_NE(sealed, pairing.phoneSide().sealIdentity(phone));
  EXPECT_EQ(pairing.macSide().openIdentity(sealed, phone.deviceId), phone);
  EXPECT_THROW(pairing.macSide("s-2").openIdentity(sealed, phone.deviceId), Crypto::AuthenticationError);
  EXPECT_THROW(pairing.macSide().openIdentity(sealed, pairing.mac.deviceId()), EnvelopeError);
  EXPECT_THROW(pairing.macSide().openIdentity("A", phone.deviceId), EnvelopeError);
  EXPECT_THROW(pairing.macSide().openIdentity("AAAA", phone.deviceId), Crypto::BoxSizeError);
}

TEST(PairingCrypto, AnIdentityCannotClaimAnotherDevicesId) {
  const Pairing pairing;
  PeerIdentity claimed = pairing.phone.peerIdentity("Phone", DevicePlatform::ios);
  claimed.deviceId = DeviceIdentity::generate().deviceId();
  const std::string sealed = pairing.phoneSide().sealIdentity(claimed);
  try {
    pairing.macSide().openIdentity(sealed, claimed.deviceId);
    FAIL() << "accepted";
  } catch (const EnvelopeError& error) {
    EXPECT_EQ(error.code, EnvelopeError::Code::wrongSender);
  }
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
  const std::string cases[] = {
      "",
      "quillet",
      "quillet://",
      "quillet://pair",
      "quillet://pair?",
      "quillet:pair?s=a&k=" + k,
      "http://pair?s=a&k=" + k,
      "quillet://pairs?s=a&k=" + k,
      "quillet://other/pair?s=a&k=" + k,
      "quillet://pair?s=&k=" + k,
      "quillet://pair?s&k=" + k,
      "quillet://pair?s=&s=a&k=" + k,
      "quillet://pair?s=a",
      "quillet://pair?k=" + k,
      "quillet://pair?S=a&K=" + k,
      "quillet://pair?s=a&k=" + Base64URL::encode(Bytes(31)),
      "quillet://pair?s=a&k=" + Base64URL::encode(Bytes(33)),
      "quillet://pair?s=a&k=" + k.substr(1),
      "quillet://pair?s=a&k=*" + k.substr(1),
      "quillet://pair?s=a%&k=" + k,
      "quillet://pair?s=a%4&k=" + k,
      "quillet://pair?s=a%zz&k=" + k,
      "quillet://pair?s=%FF&k=" + k,
      "quillet://pair?s=a b&k=" + k,
      " quillet://pair?s=a&k=" + k,
      "quillet://pair#?s=a&k=" + k,
  };
  for (const auto& text : cases) EXPECT_FALSE(PairingInvitation::parse(text)) << text;
}

TEST(PairingCode, LooseTypingGivesTheCode) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"7kq2-m9xa", "7KQ2M9XA"},
      {"\t7KQ2 M9XA\n", "7KQ2M9XA"},
      {"oO0iIlL1", "00011111"},
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
}

TEST(PairingCode, OnlyEightCharactersAreGrouped) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"", ""},
      {"abcd efg", "ABCDEFG"},
      {"abcd efgh", "ABCD-EFGH"},
      {"abcdefghj", "ABCDEFGHJ"},
      {"\xc3\xa9"
       "bcdefgh",
       "\xc3\x89"
       "BCD-EFGH"},
  };
  for (const auto& [code, shown] : cases) EXPECT_EQ(PairingCode::display(code), shown);
}

}  // namespace
}  // namespace quillet
