// SPDX-License-Identifier: MIT
#include "Tests/Doubles/Files.h"
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
  std::string outcome(const Wire& wire, std::string_view address = {}) {
    SignedRequest request = wire.view();
    request.address = address;
    return refusalOf([&] { authenticate(service.authenticator, request); });
  }
};

TEST_F(AuthenticatorTest, EverySignedPartIsBound) {
  const std::vector<std::pair<const char*, std::function<void(Wire&)>>> tamperings = {
      {"method", [](Wire& w) { w.method = "PATCH"; }},
      {"time", [](Wire& w) { w.timestamp = std::to_string(std::stoll(w.timestamp) + 1); }},
      {"time's form", [](Wire& w) { w.timestamp = " " + w.timestamp; }},
      {"nonce missing", [](Wire& w) { w.nonce.clear(); }},
      {"nonce too long", [](Wire& w) { w.nonce.assign(65, 'A'); }},
      {"another device", [this](Wire& w) { w.device = other.id(); }},
      {"signature missing", [](Wire& w) { w.signature.clear(); }},
      {"signature cut", [](Wire& w) { w.signature.resize(40); }},
      {"signature no base64", [](Wire& w) { w.signature[3] = '!'; }},
  };
  for (const auto& [name, tamper] : tamperings) {
    Wire wire = signedBy(phone);
    tamper(wire);
    EXPECT_EQ(outcome(wire, name), "401 bad_signature") << name;
  }
  EXPECT_EQ(outcome(signedBy(Party("Stranger", DevicePlatform::ios))), "401 unknown_device");
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

TEST_F(AuthenticatorTest, OfTwoAlikeThatAreVerifiedAtATimeOneIsTaken) {
  const Wire wire = signedBy(phone);
  const auto first = service.authenticator.check(wire.view()), second = service.authenticator.check(wire.view());
  service.authenticator.accept(wire.view(), second, second.holds());
  EXPECT_EQ(refusalOf([&] { service.authenticator.accept(wire.view(), first, first.holds()); }), "401 replayed");
}

TEST_F(AuthenticatorTest, AForgeryDoesNotUseUpANonce) {
  Wire wire = signedBy(phone);
  Wire forged = wire;
  forged.signature = signedBy(phone).signature;
  EXPECT_EQ(outcome(forged), "401 bad_signature");
  EXPECT_EQ(outcome(wire), "");
}

TEST_F(AuthenticatorTest, AForgerIsCutOffForAWhileFromWhereItIs) {
  const auto from = [&](std::string_view address, bool forged) {
    Wire wire = signedBy(phone);
    if (forged) wire.body = "{ }";
    return outcome(wire, address);
  };
  for (int i = 0; i < 5; ++i) EXPECT_EQ(from("here", true), "401 bad_signature");
  EXPECT_EQ(from("here", true), "429 too_many_requests");
  EXPECT_EQ(from("here", false), "429 too_many_requests");
  EXPECT_EQ(from("there", false), "");
  time.advance(60s);
  EXPECT_EQ(from("here", false), "");
}

TEST_F(AuthenticatorTest, ThePrecheckFindsWhatWasSeenBefore) {
  const Wire seen = signedBy(phone);
  const auto precheck = [&] { return refusalOf([&] { service.authenticator.precheck(seen.view()); }); };
  EXPECT_EQ(precheck(), "");
  EXPECT_EQ(outcome(seen), "");
  EXPECT_EQ(precheck(), "401 replayed");
}

TEST_F(AuthenticatorTest, AClockThatIsSetAheadAndBackLetsNothingInAgain) {
  const Wire old = signedBy(phone);
  EXPECT_EQ(outcome(old), "");
  time.wall += 3'600'000;
  service.sweep();
  EXPECT_EQ(outcome(signedBy(phone)), "");
  time.wall -= 3'600'000;
  EXPECT_EQ(outcome(old), "401 replayed");

  time.wall += 3'600'000;
  time.advance(601s);  // longer than a good clock would allow it
  service.sweep();
  time.wall -= 3'600'000 + 601'000;
  EXPECT_EQ(outcome(old), "401 clock_skew") << "nobody knows it any more";
  EXPECT_EQ(outcome(signedBy(phone, 1)), "") << "the wrong hour's requests are no reason to refuse this hour's";
}

constexpr NonceGuard::Bounds kBounds{2, 100ms};
const std::filesystem::path kNoFile;

NonceGuard::Moment moment(std::int64_t milliseconds) {
  return {milliseconds, MonotonicTime(std::chrono::milliseconds(milliseconds))};
}

bool add(NonceGuard& guard, const char* device, const std::string& nonce, std::int64_t timestamp, std::int64_t now) {
  return guard.add(device, NonceGuard::key(device, nonce), timestamp, moment(now)) == NonceGuard::Outcome::taken;
}

TEST(NonceGuardTest, IsBoundedPerDeviceAndForgetsWhatIsOver) {
  NonceGuard guard(kBounds, kNoFile, moment(0));
  EXPECT_TRUE(add(guard, "a", "1", 0, 0));
  EXPECT_FALSE(add(guard, "a", "1", 0, 0)) << "the same";
  EXPECT_TRUE(add(guard, "a", "2", 200, 200));
  EXPECT_FALSE(add(guard, "a", "3", 200, 200));
  EXPECT_TRUE(add(guard, "b", "3", 200, 200));
  EXPECT_TRUE(add(guard, "a", "3", 201, 201)) << "the first one is over";
  EXPECT_FALSE(guard.contains(NonceGuard::key("a", "1")));
  EXPECT_TRUE(guard.mayHaveForgotten(0));
  EXPECT_FALSE(guard.mayHaveForgotten(1));
  EXPECT_TRUE(guard.contains(NonceGuard::key("a", "2")));
  EXPECT_FALSE(guard.contains(NonceGuard::key("b", "2")));
  guard.sweep(moment(402));
  EXPECT_EQ(guard.size(), 0U);
}

TEST(NonceGuardTest, AFileKeepsWhatIsNotOver) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "nonces";
  {
    NonceGuard guard(kBounds, file, moment(0));
    EXPECT_TRUE(add(guard, "a", "1", 0, 0));
    EXPECT_TRUE(add(guard, "a", "2", 0, 0));
    EXPECT_THROW(NonceGuard(kBounds, file, moment(0)), NonceFile::InUse);
  }
  std::ofstream(file, std::ios::app) << "a torn record";
  for (int round = 0; round < 2; ++round) {
    const NonceGuard guard(kBounds, file, moment(0));
    EXPECT_TRUE(guard.contains(NonceGuard::key("a", "2")));
    EXPECT_FALSE(guard.mayHaveForgotten(0));
  }
  NonceGuard guard({10'000, 100ms}, file, moment(0));
  for (int i = 0; i < 9000; ++i) EXPECT_TRUE(add(guard, "b", std::to_string(i), 250, 250));
  guard.sweep(moment(451));
  EXPECT_EQ(std::filesystem::file_size(file), 3 * sizeof(NonceFile::Record)) << "what is over doesn't fill the disk";
  EXPECT_TRUE(add(guard, "b", "again", 451, 451));
  EXPECT_EQ(std::filesystem::file_size(file), 4 * sizeof(NonceFile::Record));
}

TEST(NonceGuardTest, AfterAnotherBootNothingThatWasSignedBeforeIsTaken) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "nonces";
  { const NonceGuard guard(kBounds, file, moment(0)); }
  std::fstream(file, std::ios::in | std::ios::out | std::ios::binary) << "the other boot";
  for (int round = 0; round < 2; ++round) {
    const NonceGuard guard(kBounds, file, moment(500));
    EXPECT_TRUE(guard.mayHaveForgotten(499)) << "also at the start after that";
    EXPECT_FALSE(guard.mayHaveForgotten(500));
  }
}

}  // namespace
}  // namespace quillet::test
