// SPDX-License-Identifier: MIT
#include "QuilletService/RateLimiter.h"
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

/// A request as a client signs it, open to be tampered with.
struct Wire {
  std::string method = "POST", target = "/v1/feedback?a=b", device, timestamp, nonce = "AAAAAAAAAAAAAAAAAAAAAA";
  std::string signature, body = "{}";

  void sign(const Party& party, std::int64_t at) {
    device = party.id();
    timestamp = std::to_string(at);
    const auto canonical = RequestSigner::canonicalString(method, target, at, nonce, bytesOf(body));
    signature = Base64URL::encode(Crypto::sign(party.identity.signingKey, bytesOf(canonical)));
  }
  SignedRequest view() const { return {method, target, device, timestamp, nonce, signature, body}; }
};

class AuthenticatorTest : public ServiceTest {
 protected:
  Wire signedBy(const Party& party, std::int64_t offset = 0) {
    Wire wire;
    wire.nonce = Base64URL::encode(Crypto::randomBytes(16));
    wire.sign(party, time.source().now() + offset);
    return wire;
  }
  std::string outcome(const Wire& wire) {
    return refusalOf([&] { service.authenticator.authenticate(wire.view()); });
  }
};

TEST_F(AuthenticatorTest, KnowsTheSender) {
  EXPECT_EQ(service.authenticator.authenticate(signedBy(phone).view()).id, phone.id());
}

TEST_F(AuthenticatorTest, EverySignedPartIsBound) {
  const std::vector<std::pair<const char*, std::function<void(Wire&)>>> tamperings = {
      {"method", [](Wire& w) { w.method = "PATCH"; }},
      {"path", [](Wire& w) { w.target = "/v1/pairs?a=b"; }},
      {"query", [](Wire& w) { w.target = "/v1/feedback?a=c"; }},
      {"time", [](Wire& w) { w.timestamp = std::to_string(std::stoll(w.timestamp) + 1); }},
      {"time's form", [](Wire& w) { w.timestamp = " " + w.timestamp; }},
      {"nonce", [](Wire& w) { w.nonce[0] = w.nonce[0] == 'A' ? 'B' : 'A'; }},
      {"nonce missing", [](Wire& w) { w.nonce.clear(); }},
      {"nonce too long", [](Wire& w) { w.nonce.assign(65, 'A'); }},
      {"body", [](Wire& w) { w.body = "{ }"; }},
      {"another device", [this](Wire& w) { w.device = other.id(); }},
      {"signature missing", [](Wire& w) { w.signature.clear(); }},
      {"signature cut", [](Wire& w) { w.signature.resize(40); }},
      {"signature no base64", [](Wire& w) { w.signature[3] = '!'; }},
  };
  for (const auto& [name, tamper] : tamperings) {
    Wire wire = signedBy(phone);
    tamper(wire);
    EXPECT_EQ(outcome(wire), "401 bad_signature") << name;
  }
  Wire stranger = signedBy(Party("Stranger", DevicePlatform::ios));
  EXPECT_EQ(outcome(stranger), "401 unknown_device");
}

TEST_F(AuthenticatorTest, AgeIsLimitedInBothDirections) {
  constexpr std::int64_t kLimit = 300'000;
  for (const auto& [offset, expected] : std::vector<std::pair<std::int64_t, std::string>>{
           {-kLimit, ""}, {kLimit, ""}, {-kLimit - 1, "401 clock_skew"}, {kLimit + 1, "401 clock_skew"}}) {
    EXPECT_EQ(outcome(signedBy(phone, offset)), expected) << offset;
  }
}

TEST_F(AuthenticatorTest, ARequestCountsOnceForAsLongAsItsTimeIsGood) {
  const Wire early = signedBy(phone, 300'000);
  EXPECT_EQ(outcome(early), "");
  EXPECT_EQ(outcome(early), "401 replayed");
  time.advance(600s);
  service.sweep();
  EXPECT_EQ(outcome(early), "401 replayed");
  time.advance(1ms);
  EXPECT_EQ(outcome(early), "401 clock_skew");
}

TEST_F(AuthenticatorTest, AForgeryDoesNotUseUpANonce) {
  Wire wire = signedBy(phone);
  Wire forged = wire;
  forged.signature = signedBy(phone).signature;
  EXPECT_EQ(outcome(forged), "401 bad_signature");
  EXPECT_EQ(outcome(wire), "");
}

TEST_F(AuthenticatorTest, ADeletedDeviceStaysRevoked) {
  service.devices.deleteDevice(phoneDevice);
  EXPECT_EQ(outcome(signedBy(phone)), "403 device_revoked");
  Wire forged = signedBy(phone);
  forged.body = "else";
  EXPECT_EQ(outcome(forged), "401 bad_signature");
  EXPECT_EQ(refusalOf([&] { service.devices.registerDevice(phone.registration()); }), "403 device_revoked");
}

TEST(NonceGuardTest, IsBoundedPerDeviceAndForgetsWhatIsOver) {
  NonceGuard guard(2);
  EXPECT_TRUE(guard.add("a", "1", 100, 0));
  EXPECT_TRUE(guard.add("a", "2", 200, 0));
  EXPECT_FALSE(guard.add("a", "3", 300, 100));
  EXPECT_TRUE(guard.add("b", "3", 300, 100));
  EXPECT_TRUE(guard.add("a", "3", 300, 101)) << "the first one is over";
  EXPECT_FALSE(guard.contains("a", "1"));
  EXPECT_TRUE(guard.contains("a", "2"));
  guard.sweep(301);
  EXPECT_EQ(guard.devices(), 0U);
}

TEST(RateLimiterTest, AWindowStartsWithItsFirstUse) {
  VirtualTime time;
  RateLimiter limiter(2, 60s, time.source());
  EXPECT_TRUE(limiter.admit("a"));
  time.advance(59s);
  EXPECT_TRUE(limiter.admit("a"));
  EXPECT_FALSE(limiter.admit("a"));
  EXPECT_TRUE(limiter.admit("b"));
  time.advance(1s);
  EXPECT_TRUE(limiter.admit("a"));
}

}  // namespace
}  // namespace quillet::test
