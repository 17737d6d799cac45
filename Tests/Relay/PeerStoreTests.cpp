// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/PeerStore.h"

#include <gtest/gtest.h>

#include "QuilletCompanion/Relay/PresenceBuilder.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet {
namespace {

class PeerStoreTest : public testing::Test {
 protected:
  PeerIdentity identity(const std::string& name) {
    return DeviceIdentity::generate().peerIdentity(name, DevicePlatform::ios);
  }
  std::string json(const PeerIdentity& peer) {
    return R"({"identity":)" + JSONCoding::encode(peer) + R"(,"pairedAt":1})";
  }
  std::string bytes() { return test::readText(file); }
  void fill(const std::string& text) { test::writeText(file, text); }

  test::TemporaryFolder folder;
  std::filesystem::path file = folder.path() / "peers.json";
};

TEST_F(PeerStoreTest, KeepsPeersInOrderOfPairingAcrossLaunches) {
  const auto a = identity("a");
  auto b = identity("b");
  {
    PeerStore store(file);
    store.upsert(b, 1);
    store.upsert(a, 2);
    b.name = "renamed";
    store.upsert(b, 3);
  }
  EXPECT_EQ(PeerStore(file).peers().get(), (std::vector<StoredPeer>{{a, 2}, {b, 3}}));
  EXPECT_EQ(bytes().substr(0, 11), R"({"peers":[{)");
}

TEST_F(PeerStoreTest, AnUnreadableFileStaysUntouched) {
  for (const char* text : {"no json", "[]", R"({"peers":[]})", R"({"version":1,"peers":[{"pairedAt":1}]})"}) {
    SCOPED_TRACE(text);
    test::LogCapture::instance().expect("Could not read paired devices; keeping the file untouched");
    fill(text);
    EXPECT_TRUE(PeerStore(file).peers().get().empty());
    EXPECT_EQ(bytes(), text);
  }
  EXPECT_TRUE(test::LogCapture::instance().contains("Could not read paired devices; keeping the file untouched"));
}

TEST_F(PeerStoreTest, SaysNothingAboutAnEmptyFileOrNone) {
  EXPECT_TRUE(PeerStore(file).peers().get().empty());
  fill("");
  EXPECT_TRUE(PeerStore(file).peers().get().empty());
}

TEST_F(PeerStoreTest, DropsInconsistentPeersFromMemoryFirst) {
  auto forged = identity("forged");
  forged.deviceId[0] = forged.deviceId[0] == '0' ? '1' : '0';
  const auto good = identity("good");
  fill(R"({"version":7,"peers":[)" + json(forged) + "," + json(good) + "]}");
  const auto before = bytes();
  PeerStore store(file);
  EXPECT_EQ(store.peers().get(), (std::vector<StoredPeer>{{good, 1}}));
  EXPECT_EQ(bytes(), before);
  EXPECT_THROW(store.upsert(forged, 2), std::invalid_argument);
  EXPECT_EQ(bytes(), before);
  store.upsert(identity("new"), 2);
  EXPECT_EQ(bytes().find(forged.deviceId), std::string::npos);
}

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
