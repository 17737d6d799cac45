// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "QuilletKit/Base64URL.h"
#include "QuilletPhone/PhoneCommands.h"
#include "Tests/Doubles/LoopbackService.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

class PhoneServiceTest : public testing::Test {
 protected:
  void serve(std::int64_t clockError = 0) {
    service.emplace();
    service->clockIsOffBy = clockError;
    api.emplace(service->url(), mac, session);
  }
  PhoneExit run(std::vector<std::string> arguments) {
    output.str("");
    std::istringstream in;
    return runPhone(arguments, folder.path(), in, output, output);
  }
  /// The desktop's part of a pairing, with a phone at the other end that takes any words.
  PhoneExit pair(const DeviceIdentity& sealedAs) {
    main.await(api->registerDevice(DevicePlatform::macos, "Desk", "1"));
    EXPECT_EQ(run({"init", "--service", service->url().text(), "--name", "Pocket"}), PhoneExit::done);
    const Crypto::Key key = Crypto::generatePrivateKey(), publicKey = Crypto::x25519PublicKey(key);
    const auto created = main.await(api->createPairingSession({publicKey.begin(), publicKey.end()}, "Desk"));
    sessionId = created.sessionId;
    PhoneExit exit = PhoneExit::failure;
    std::thread phone([&] { exit = run({"pair", created.code, "--yes"}); });
    const auto claimed = statusWhen([](const PairingStatus& status) { return status.phoneConfirmed; });
    const PairingCrypto crypto(sessionId, publicKey,
                               Crypto::keyFrom(Base64URL::decode(claimed.phoneEphemeralPublicKey.value()).value()),
                               mac.deviceId(), claimed.phoneDeviceId.value(), key);
    const auto sealed = crypto.sealIdentity(sealedAs.peerIdentity("Desk", DevicePlatform::macos));
    const auto done = main.await(api->confirmPairing(sessionId, sealed));
    EXPECT_EQ(crypto.openIdentity(done.peerSealedIdentity.value(), *claimed.phoneDeviceId).name, "Pocket");
    phone.join();
    return exit;
  }
  template <typename Condition>
  PairingStatus statusWhen(Condition fits) {
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    for (;;) {
      auto status = main.await(api->pairingStatus(sessionId));
      if (fits(status)) return status;
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the phone did nothing");
    }
  }

  TemporaryFolder folder;
  std::ostringstream output;
  MainThread main;  // outlives the thread that resumes what waits here
  NetworkThread network;
  HTTPSession session{network.executor()};
  DeviceIdentity mac = DeviceIdentity::generate();
  std::string sessionId;
  std::optional<LoopbackService> service;
  std::optional<APIClient> api;
};

TEST_F(PhoneServiceTest, PairsAndIsToldThatTheMacIsAway) {
  serve();
  ASSERT_EQ(pair(mac), PhoneExit::done) << output.str();
  EXPECT_EQ(run({"--json", "macs"}), PhoneExit::done);
  EXPECT_NE(output.str().find(mac.deviceId()), std::string::npos);
  EXPECT_EQ(run({"presence"}), PhoneExit::done);
  EXPECT_EQ(output.str(), "Desk: offline\n");
  EXPECT_EQ(run({"say", "words"}), PhoneExit::serviceRefused);
  EXPECT_EQ(run({"unpair"}), PhoneExit::done);
  EXPECT_TRUE(main.await(api->pairs()).pairs.empty());
}

TEST_F(PhoneServiceTest, AMacThatIsNotWhoItSaidLeavesNoPair) {
  serve();
  EXPECT_EQ(pair(DeviceIdentity::generate()), PhoneExit::verificationFailed) << output.str();
  EXPECT_TRUE(main.await(api->pairs()).pairs.empty());
  EXPECT_EQ(run({"macs"}), PhoneExit::done);
  EXPECT_EQ(output.str(), "No Mac is paired.\n");
}

TEST_F(PhoneServiceTest, AWrongClockIsNamed) {
  for (const std::int64_t error : {-3'600'000, 3'600'000}) {
    serve(error);
    EXPECT_EQ(run({"init", "--service", service->url().text()}), PhoneExit::serviceRefused);
    EXPECT_NE(output.str().find("Check the clock of this device."), std::string::npos) << output.str();
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "phone.json"));
  }
}

}  // namespace
}  // namespace quillet::test
