// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletPhone/PhoneCommands.h"
#include "Tests/Doubles/LoopbackServer.h"
#include "Tests/Doubles/LoopbackService.h"
#include "Tests/Doubles/Rows.h"

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
  /// Registers the desktop, and the phone with a service at `url`.
  void enrol(const ServiceURL& url) {
    main.await(api->registerDevice(DevicePlatform::macos, "Desk", "1"));
    EXPECT_EQ(run({"init", "--service", url.text(), "--name", "Pocket"}), PhoneExit::done) << output.str();
  }
  /// The desktop's part of a pairing, with a phone at the other end that takes any words. `meanwhile` runs while the
  /// phone waits for the desktop.
  PhoneExit pair(
      const DeviceIdentity& sealedAs, const std::function<void()>& meanwhile = [] {}) {
    if (!PhoneState::load(folder.path())) enrol(service->url());
    const Crypto::Key key = Crypto::generatePrivateKey(), publicKey = Crypto::x25519PublicKey(key);
    const auto created = main.await(api->createPairingSession({publicKey.begin(), publicKey.end()}, "Desk"));
    sessionId = created.sessionId;
    PhoneExit exit = PhoneExit::failure;
    std::ostringstream said;
    std::thread phone([&] {
      std::istringstream in;
      exit = runPhone({"pair", created.code, "--yes"}, folder.path(), in, said, said);
    });
    const auto claimed = statusWhen([](const PairingStatus& status) { return status.phoneConfirmed; });
    const PairingCrypto crypto(sessionId, publicKey,
                               Crypto::keyFrom(Base64URL::decode(claimed.phoneEphemeralPublicKey.value()).value()),
                               mac.deviceId(), claimed.phoneDeviceId.value(), key);
    meanwhile();
    const auto sealed = crypto.sealIdentity(sealedAs.peerIdentity("Desk", DevicePlatform::macos));
    const auto done = main.await(api->confirmPairing(sessionId, sealed));
    EXPECT_EQ(crypto.openIdentity(done.peerSealedIdentity.value(), *claimed.phoneDeviceId).name, "Pocket");
    phone.join();
    output.str(said.str());
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

enum class Loss { none, request, answer };

/// Passes requests on to the service, but for those that `loss` loses.
Awaitable<void> passOn(LoopbackServer& proxy, LoopbackServer::Socket socket, HTTPSession& session, ServiceURL service,
                       std::function<Loss(const LoopbackServer::Request&)> loss) {
  for (;;) {
    const auto request = co_await proxy.readRequest(socket);
    const Loss lost = loss(request);
    if (lost == Loss::request) co_return;
    HTTPRequest onward{
        std::string(request.method_string()), service.resolve(std::string(request.target())), {}, request.body()};
    for (const auto& field : request) {
      const std::string name(field.name_string());
      if (name.starts_with("X-") || name == "Content-Type") onward.headers.emplace_back(name, field.value());
    }
    const auto response = co_await session.send(std::move(onward));
    if (lost == Loss::answer) co_return;
    co_await LoopbackServer::write(socket, LoopbackServer::answer(response.status, response.body));
  }
}

TEST_F(PhoneServiceTest, PairsThoughItsConfirmationOrTheAnswersToItAreLost) {
  for (const Loss first : {Loss::request, Loss::answer}) {
    serve();
    int confirmed = 0;
    LoopbackServer proxy([&](LoopbackServer& self, LoopbackServer::Socket socket) {
      return passOn(self, std::move(socket), session, service->url(), [&](const LoopbackServer::Request& request) {
        if (!request.target().ends_with("/confirm")) return Loss::none;
        return ++confirmed == 1 ? first : Loss::answer;
      });
    });
    enrol(proxy.url());
    EXPECT_EQ(pair(mac), PhoneExit::done) << output.str();
    EXPECT_EQ(PhoneState::load(folder.path())->macs.size(), 1U);
    Phone::reset(folder.path());
  }
}

TEST_F(PhoneServiceTest, APairThatCannotBeKeptIsNone) {
  serve();
  const auto file = folder.path() / "phone.json";
  const auto spoil = [&] { std::filesystem::remove(file), std::filesystem::create_directory(file); };
  EXPECT_EQ(pair(mac, spoil), PhoneExit::failure);
  EXPECT_NE(output.str().find(file.string()), std::string::npos) << output.str();
  EXPECT_TRUE(main.await(api->pairs()).pairs.empty());
}

TEST_F(PhoneServiceTest, AWaitingPairKeepsWhatAnotherRunChanges) {
  serve();
  EXPECT_EQ(pair(mac, [&] { EXPECT_EQ(run({"rename", "New name"}), PhoneExit::done); }), PhoneExit::done);
  const auto state = PhoneState::load(folder.path());
  EXPECT_EQ(state->name, "New name");
  EXPECT_EQ(state->macs.size(), 1U);
}

TEST_F(PhoneServiceTest, FirstInitsAtTheSameTimeMakeOneDevice) {
  serve();
  std::ostringstream said[2];
  const auto init = [&](std::ostream& out) {
    std::istringstream in;
    EXPECT_EQ(runPhone({"init", "--service", service->url().text()}, folder.path(), in, out, out), PhoneExit::done);
  };
  std::thread other(init, std::ref(said[0]));
  init(said[1]);
  other.join();
  EXPECT_EQ(said[0].str(), said[1].str());
  EXPECT_NE(said[0].str().find(Phone::loadIdentity(folder.path()).deviceId()), std::string::npos);
}

TEST_F(PhoneServiceTest, EndsAPairThatOnlyTheServiceKnows) {
  serve();
  ASSERT_EQ(pair(mac), PhoneExit::done) << output.str();
  PhoneState::change(folder.path(), [](PhoneState& state) { state.macs.clear(); });
  EXPECT_EQ(run({"unpair"}), PhoneExit::notReady);
  EXPECT_EQ(run({"unpair", mac.deviceId()}), PhoneExit::done) << output.str();
  EXPECT_TRUE(main.await(api->pairs()).pairs.empty());
  EXPECT_EQ(run({"unpair", "--mac", mac.deviceId()}), PhoneExit::notReady);
}

TEST_F(PhoneServiceTest, DeletesAtTheServiceWithADamagedFile) {
  serve();
  ASSERT_EQ(pair(mac), PhoneExit::done) << output.str();
  writeText(folder.path() / "phone.json", "{");
  EXPECT_EQ(run({"delete", "--yes"}), PhoneExit::failure);
  EXPECT_EQ(main.await(api->pairs()).pairs.size(), 1U);
  EXPECT_EQ(run({"delete", "--yes", "--service", service->url().text()}), PhoneExit::done) << output.str();
  EXPECT_TRUE(main.await(api->pairs()).pairs.empty());
  EXPECT_EQ(run({"macs"}), PhoneExit::notReady);
}

TEST_F(PhoneServiceTest, EachEndOfADeliveryHasItsOwnExit) {
  serve();
  ASSERT_EQ(pair(mac), PhoneExit::done) << output.str();
  using Step = std::tuple<std::vector<std::string>, int, std::string>;
  for (const auto& [arguments, exit, says] : rows<Step>("command_lines", "deliveries")) {
    EXPECT_EQ(static_cast<int>(run(arguments)), exit) << testing::PrintToString(arguments) << output.str();
    EXPECT_NE(output.str().find(says), std::string::npos) << output.str();
  }
}

TEST_F(PhoneServiceTest, InitTakesNamesAndFoldersAsRenameDoes) {
  serve();
  const auto missing = (folder.path() / "missing").string(), url = service->url().text();
  EXPECT_EQ(run({"init", "--service", url, "--name", " " + std::string(70, 'n'), "--words", missing}), PhoneExit::done);
  EXPECT_NE(output.str().find("isn't there"), std::string::npos);
  EXPECT_EQ(PhoneState::load(folder.path())->name, std::string(64, 'n'));
  EXPECT_EQ(run({"init", "--words", ""}), PhoneExit::done);
  EXPECT_EQ(output.str().find("isn't there"), std::string::npos);
  EXPECT_FALSE(PhoneState::load(folder.path())->wordLedgerFolder);
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
