// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/Envelope.h"
#include "QuilletKit/Protocol/PairingCrypto.h"
#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletKit/Protocol/WaveFile.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {
namespace {

using JSONCoding::DecodingError;

TEST(WireModels, FramesOfOtherTypesAreKeptOrRefused) {
  const auto frame = JSONCoding::decode<RelayServerMessage>(R"({"type":"Deliver","envelope":7,"from":null})");
  EXPECT_EQ(frame, RelayServerMessage(RelayServer::Unknown{"Deliver"}));
  EXPECT_THROW(JSONCoding::decode<RelayClientMessage>(R"({"type":"deliver"})"), DecodingError);
  EXPECT_THROW(JSONCoding::decode<RelayServerMessage>(R"({"type":5})"), DecodingError);
  const std::string purpose = R"({"envelope":{"box":"","from":"","purpose":"gossip","salt":"","to":"","v":1},)"
                              R"("from":"f","type":"deliver","utteranceId":"u"})";
  EXPECT_THROW(JSONCoding::decode<RelayServerMessage>(purpose), DecodingError);
}

TEST(ResultSignature, IsFalseForAKeyOrASignatureThatCannotBeOne) {
  const DeviceIdentity sender = DeviceIdentity::generate();
  const PeerIdentity peer = sender.peerIdentity("desk", DevicePlatform::macos);
  const ResultPayload good = ResultPayload::makeSigned("u-1", InsertionOutcome::refused, RefusalReason::locked, "Notes",
                                                       std::nullopt, 1'760'000'000'000, sender);
  ASSERT_TRUE(good.verify(peer));
  for (const std::string& signature : {std::string(), good.signature + "AAAA"}) {
    ResultPayload changed = good;
    changed.signature = signature;
    EXPECT_FALSE(changed.verify(peer)) << signature;
  }
  for (const std::string& key : {std::string(), std::string("not base64!"), Base64URL::encode(Bytes(31)),
                                 Base64URL::encode(Bytes(33)), Base64URL::encode(Bytes(32))}) {
    PeerIdentity stranger = peer;
    stranger.signingPublicKey = key;
    EXPECT_FALSE(good.verify(stranger)) << key;
  }
}

TEST(WireModels, ListsTheDeviceKinds) {
  std::string listed;
  for (const DeviceKind kind : allDeviceKinds()) listed.append(rawValue(kind)).append(" ");
  EXPECT_EQ(listed, "macBook iMac macMini macStudio macPro windowsLaptop windowsDesktop ");
}

TEST(Feedback, KnowsNoAddressThatIsNotUTF8) {
  EXPECT_FALSE(Feedback::isEmail("a\xFF@b.nl"));
}

TEST(TranscribeBody, RefusesEveryCutAndAnyOtherMetadata) {
  const std::string body = TranscribeBody::build({"u", {}, {}, {}, false}, {});
  for (std::size_t length = 0; length < body.size(); ++length) {
    EXPECT_THROW(TranscribeBody::parse(bytesOf(body).first(length)), JSONCoding::DecodingError) << length;
  }
  EXPECT_THROW(TranscribeBody::parse(Bytes{0xFF, 0xFF, 0xFF, 0xFF, '{', '}'}), JSONCoding::DecodingError);
  EXPECT_THROW(TranscribeBody::parse(Bytes{0, 0, 0, 2, '{', '}'}), JSONCoding::DecodingError);
}

TEST(Envelope, TwoSealsShareNeitherSaltNorBox) {
  const DeviceIdentity phone = DeviceIdentity::generate(), desktop = DeviceIdentity::generate();
  const PeerIdentity to = desktop.peerIdentity("Desktop", DevicePlatform::macos);
  const Envelope first = Envelope::sealBytes("text", EnvelopePurpose::delivery, phone, to);
  const Envelope second = Envelope::sealBytes("text", EnvelopePurpose::delivery, phone, to);
  EXPECT_EQ(Base64URL::decode(first.salt)->size(), 32u);
  EXPECT_NE(first.salt, second.salt);
  EXPECT_NE(first.box.substr(0, 16), second.box.substr(0, 16));
}

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

TEST(WaveFile, FindsTheSamplesOfOurFormOnly) {
  const std::vector<std::int16_t> samples{1, -2, 32767, -32768};
  const Bytes file = WaveFile::wrap(Bytes{1, 0, 0xfe, 0xff, 0xff, 0x7f, 0, 0x80});
  ASSERT_EQ(file.size(), WaveFile::kHeaderSize + 8);
  EXPECT_EQ(WaveFile::samples(*WaveFile::pcm(file)), samples);
  Bytes other = file;
  other.insert(other.begin() + 12, {'L', 'I', 'S', 'T', 3, 0, 0, 0, 'a', 'b', 'c', 0});
  EXPECT_EQ(WaveFile::samples(*WaveFile::pcm(other)), samples) << "an odd chunk is padded";
  other = file;
  other[40] = other[41] = other[42] = other[43] = 0xff;
  other.push_back(9);
  EXPECT_EQ(WaveFile::samples(*WaveFile::pcm(other)), samples) << "a length beyond the end, an odd byte";
  for (const auto& [offset, value] : {std::pair{20, 3}, {22, 2}, {24, 0x40}, {34, 8}, {0, 'X'}, {8, 'X'}, {36, 'X'}}) {
    other = file;
    other[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(value);
    EXPECT_FALSE(WaveFile::pcm(other).has_value()) << offset;
  }
  for (std::size_t size = 0; size < WaveFile::kHeaderSize; ++size) {
    EXPECT_FALSE(WaveFile::pcm(ByteView(file).first(size)).has_value()) << size;
  }
}

}  // namespace
}  // namespace quillet
