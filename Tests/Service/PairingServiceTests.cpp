// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/PairingCrypto.h"
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

class PairingServiceTest : public ServiceTest {
 protected:
  CreatePairingResponse create() { return service.pairing.create(macDevice, {freshKey(), "Desk"}); }
  ClaimPairingRequest byId(const std::string& id) { return {id, std::nullopt, freshKey(), "Pocket"}; }
  ClaimPairingRequest byCode(const std::string& code) { return {std::nullopt, code, freshKey(), "Pocket"}; }
  std::string claimedSession() {
    const auto created = create();
    service.pairing.claim(phoneDevice, byId(created.sessionId));
    return created.sessionId;
  }
  PairingState stateOf(const std::string& id) { return service.pairing.status(macDevice, id).state; }
};

TEST_F(PairingServiceTest, BothConfirmAndThePairStands) {
  FakeRelaySocket socket;
  service.relay.connected(macDevice, socket);
  const auto created = create();
  EXPECT_EQ(created.expiresAt, time.wall + 120'000);
  time.advance(100s);
  const auto claimed = service.pairing.claim(phoneDevice, byCode(PairingCode::display(created.code)));
  EXPECT_EQ(claimed.expiresAt, time.wall + 220'000);

  auto status = service.pairing.confirm(phoneDevice, created.sessionId, {"from-phone"});
  EXPECT_EQ(status.state, PairingState::claimed);
  EXPECT_TRUE(status.phoneConfirmed);
  EXPECT_FALSE(status.peerSealedIdentity);
  EXPECT_FALSE(service.pairing.status(macDevice, created.sessionId).peerSealedIdentity) << "it hasn't confirmed yet";
  EXPECT_TRUE(socket.all<RelayServer::Paired>().empty());

  status = service.pairing.confirm(macDevice, created.sessionId, {"from-mac"});
  EXPECT_EQ(status.state, PairingState::paired);
  EXPECT_EQ(status.peerSealedIdentity, "from-phone");
  EXPECT_EQ(service.pairing.status(phoneDevice, created.sessionId).peerSealedIdentity, "from-mac");
  EXPECT_EQ(socket.all<RelayServer::Paired>().size(), 1U);
  time.advance(600s);
  EXPECT_EQ(stateOf(created.sessionId), PairingState::paired) << "a finished session doesn't expire";
}

TEST_F(PairingServiceTest, OnlyTheRightKindOfDeviceMayDoEachStep) {
  const auto created = create();
  EXPECT_EQ(refusalOf([&] { service.pairing.create(phoneDevice, {freshKey(), "x"}); }), "403 wrong_platform");
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(macDevice, byId(created.sessionId)); }), "403 wrong_platform");
  EXPECT_EQ(refusalOf([&] { service.pairing.status(phoneDevice, created.sessionId); }), "404 not_found");
  EXPECT_EQ(refusalOf([&] { service.pairing.confirm(macDevice, created.sessionId, {"x"}); }), "409 not_claimed");
  service.pairing.claim(phoneDevice, byId(created.sessionId));
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(otherDevice, byId(created.sessionId)); }), "409 already_claimed");
  EXPECT_EQ(refusalOf([&] { service.pairing.confirm(otherDevice, created.sessionId, {"x"}); }), "404 not_found");
  EXPECT_EQ(refusalOf([&] { service.pairing.cancel(otherDevice, created.sessionId); }), "404 not_found");
}

TEST_F(PairingServiceTest, ARepeatedClaimOfTheSamePhoneGetsTheSameAnswer) {
  const auto request = byId(create().sessionId);
  const auto first = service.pairing.claim(phoneDevice, request);
  time.advance(10s);
  EXPECT_EQ(service.pairing.claim(phoneDevice, request).expiresAt, first.expiresAt);
  auto withOtherKey = request;
  withOtherKey.phoneEphemeralPublicKey = freshKey();
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, withOtherKey); }), "409 already_claimed");
}

TEST_F(PairingServiceTest, UnfinishedSessionsExpire) {
  const auto open = create();
  time.advance(120s - 1ms);
  EXPECT_EQ(stateOf(open.sessionId), PairingState::open);
  time.advance(1ms);
  EXPECT_EQ(stateOf(open.sessionId), PairingState::expired);
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, byCode(open.code)); }), "410 pairing_expired");

  const std::string claimed = claimedSession();
  time.advance(120s);
  EXPECT_EQ(service.pairing.confirm(phoneDevice, claimed, {"late"}).state, PairingState::expired);
  service.sweep();
  EXPECT_EQ(stateOf(claimed), PairingState::expired);
  time.advance(2h);
  service.sweep();
  EXPECT_EQ(refusalOf([&] { service.pairing.status(macDevice, claimed); }), "404 not_found");
}

TEST_F(PairingServiceTest, CancellingEndsASessionAndUndoesAnUnfinishedPair) {
  const auto open = create();
  EXPECT_EQ(service.pairing.cancel(macDevice, open.sessionId).state, PairingState::cancelled);
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, byId(open.sessionId)); }), "410 pairing_cancelled");

  const std::string claimed = claimedSession();
  EXPECT_EQ(service.pairing.cancel(phoneDevice, claimed).state, PairingState::cancelled);
  EXPECT_EQ(service.pairing.confirm(macDevice, claimed, {"x"}).state, PairingState::cancelled);

  const std::string paired = claimedSession();
  service.pairing.confirm(phoneDevice, paired, {"x"});
  service.pairing.confirm(macDevice, paired, {"y"});
  ASSERT_TRUE(service.pairDirectory.arePaired(mac.id(), phone.id()));
  EXPECT_EQ(service.pairing.cancel(macDevice, paired).state, PairingState::cancelled);
  EXPECT_FALSE(service.pairDirectory.arePaired(mac.id(), phone.id()));
}

TEST_F(PairingServiceTest, CodesSurviveTypingAndDiffer) {
  std::set<std::string> codes;
  for (int i = 0; i < 30; ++i) codes.insert(create().code);
  EXPECT_EQ(codes.size(), 30U);
  for (const auto& code : codes) {
    EXPECT_EQ(code.size(), 8U);
    EXPECT_EQ(PairingCode::normalise(code), code);
  }
  EXPECT_EQ(refusalOf([&] { create(); }), "429 too_many_requests");
}

TEST_F(PairingServiceTest, GuessingCodesIsSlow) {
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, byCode("00000000")); }), "404 not_found");
  }
  const auto created = create();
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, byCode(created.code)); }), "429 too_many_requests");
  time.advance(60s);
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, byCode(created.code)); }), "");
}

TEST_F(PairingServiceTest, MalformedRequestsAreRefused) {
  const std::string key = freshKey();
  EXPECT_EQ(refusalOf([&] { service.pairing.create(macDevice, {key.substr(2), "Desk"}); }), "400 bad_request");
  EXPECT_EQ(refusalOf([&] { service.pairing.create(macDevice, {key, ""}); }), "400 bad_request");
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, {"s", "c", key, "x"}); }), "400 bad_request");
  EXPECT_EQ(refusalOf([&] { service.pairing.claim(phoneDevice, {{}, {}, key, "x"}); }), "400 bad_request");
  const std::string session = claimedSession();
  EXPECT_EQ(refusalOf([&] { service.pairing.confirm(macDevice, session, {std::string(9000, 'a')}); }),
            "400 bad_request");
}

}  // namespace
}  // namespace quillet::test
