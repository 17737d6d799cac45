// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Identity/SecretStore.h"
#include "QuilletPhone/PhoneCommands.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/LoopbackServer.h"

namespace quillet::test {
namespace {

const std::string kLost = "lost";

/// A phone whose service answers from a script, `kLost` standing for an answer that doesn't arrive. Sleeps take no
/// time.
class LostAnswers : public testing::Test {
 protected:
  Phone phone() {
    auto time = systemTime(network.executor());
    time.sleep = [](Duration) -> Awaitable<void> { co_return; };
    return {PhoneState{.name = "P", .service = server.url().text(), .macs = {}}, folder.path(), keys, session, time};
  }
  std::string status(DeliveryTransportState state) const {
    DeliveryStatus status{.utteranceId = "u", .state = state, .macOnline = true};
    if (state == DeliveryTransportState::result) {
      const auto result = ResultPayload::makeSigned("u", InsertionOutcome::inserted, {}, {}, {}, 1, macKeys);
      status.resultEnvelope = Envelope::seal(result, EnvelopePurpose::result, macKeys, keys.peerIdentity("P", {}));
    }
    return LoopbackServer::answer(200, JSONCoding::encode(status));
  }
  static std::string refusal(int status) {
    return LoopbackServer::answer(status, R"({"error":{"code":"c","message":"No.","retryable":false}})");
  }
  Awaitable<void> serve(LoopbackServer& from, LoopbackServer::Socket socket) {
    for (;;) {
      co_await from.readRequest(socket);
      const std::string answer = nextAnswer();
      if (answer == kLost) co_return;
      co_await LoopbackServer::write(socket, answer);
    }
  }
  void play(const std::vector<std::string>& answers) {
    const std::lock_guard guard(lock);
    script.assign(answers.rbegin(), answers.rend());
  }
  std::string nextAnswer() {
    const std::lock_guard guard(lock);
    if (script.empty()) return kLost;
    const std::string answer = script.back();
    script.pop_back();
    return answer;
  }
  /// "P" for each submission, "G" for each question.
  std::string requested() const {
    std::string methods;
    for (const auto& request : server.requests()) methods += request.method_string().front();
    return methods;
  }
  template <typename T>
  PhoneExit exitOf(Awaitable<T> operation) {
    try {
      main.await(std::move(operation));
      return PhoneExit::done;
    } catch (const PhoneError& error) {
      return error.exit;
    }
  }

  const TemporaryFolder folder;
  const DeviceIdentity keys = DeviceIdentity::generate(), macKeys = DeviceIdentity::generate();
  const PeerIdentity mac = macKeys.peerIdentity("Desk", DevicePlatform::macos);
  std::mutex lock;
  std::vector<std::string> script;  ///< The next answer last.
  MainThread main;
  NetworkThread network;
  HTTPSession session{network.executor()};
  LoopbackServer server{
      [this](LoopbackServer& from, LoopbackServer::Socket socket) { return serve(from, std::move(socket)); }};
};

struct Row {
  const char* name;
  std::vector<std::string> script;
  PhoneExit exit;
  const char* requested;
  std::chrono::seconds limit{60};
};

TEST_F(LostAnswers, OfADeliveryAreMadeUpForUnderTheSameEnvelope) {
  using State = DeliveryTransportState;
  const std::string queued = status(State::queued), unknown = status(State::unknown), done = status(State::result);
  const Row rows[] = {
      {"none", {done}, PhoneExit::done, "P"},
      {"the submission's", {kLost, done}, PhoneExit::done, "PG"},
      {"a proxy's word", {refusal(502), done}, PhoneExit::done, "PG"},
      {"the submission itself", {kLost, unknown, queued, done}, PhoneExit::done, "PGPG"},
      {"polls, too", {kLost, kLost, queued, kLost, kLost, done}, PhoneExit::done, "PGGGGG"},
      {"refused at once", {refusal(429)}, PhoneExit::serviceRefused, "P"},
      {"refused after a loss", {kLost, refusal(403)}, PhoneExit::uncertain, "PG"},
      {"over at the limit", {kLost}, PhoneExit::uncertain, "P", std::chrono::seconds(0)},
  };
  for (const Row& row : rows) {
    const std::size_t before = requested().size();
    play(row.script);
    auto phone = this->phone();
    EXPECT_EQ(exitOf(phone.deliverAndWait(mac, "u", "token", "text", row.limit)), row.exit) << row.name;
    EXPECT_EQ(requested().substr(before), row.requested) << row.name;
    std::set<std::string> submitted;
    const auto requests = server.requests();
    for (auto each = requests.begin() + static_cast<std::ptrdiff_t>(before); each != requests.end(); ++each) {
      if (each->method_string() == "POST") submitted.insert(each->body());
    }
    EXPECT_EQ(submitted.size(), 1U) << row.name;
  }
}

TEST_F(LostAnswers, OfASingleStepAreToldAsWhatTheyMean) {
  play({kLost});
  auto phone = this->phone();
  EXPECT_EQ(exitOf(phone.deliver(mac, "u", "token", "text")), PhoneExit::uncertain);
  EXPECT_EQ(exitOf(phone.wait(mac, "u", std::chrono::seconds(60))), PhoneExit::unreachable);
  play({status(DeliveryTransportState::received), kLost, status(DeliveryTransportState::result)});
  EXPECT_EQ(exitOf(phone.wait(mac, "u", std::chrono::seconds(60))), PhoneExit::done);
}

TEST_F(LostAnswers, CountTheWordsOnceTheirEndIsTold) {
  PhoneState{.name = "P", .service = server.url().text(), .macs = {{mac, 1}}}.save(folder.path());
  FileSecretStore secrets(folder.path() / "keys", "quillet-phone");
  secrets.save(keys.signingKey, "device.signing.v1");
  secrets.save(keys.agreementKey, "device.agreement.v1");
  std::ostringstream output;
  const auto run = [&](const std::vector<std::string>& arguments) {
    std::istringstream in("three small words\n");
    output.str("");
    return runPhone(arguments, folder.path(), in, output, output);
  };
  play({kLost});
  EXPECT_EQ(run({"deliver", "token", "-", "--utterance", "u"}), PhoneExit::uncertain) << output.str();
  for (int i = 0; i < 2; ++i) {
    play({status(DeliveryTransportState::result)});
    EXPECT_EQ(run({"wait", "u"}), PhoneExit::done) << output.str();
    EXPECT_EQ(run({"--json", "words"}), PhoneExit::done);
    EXPECT_NE(output.str().find("\"total\":3"), std::string::npos) << output.str();
  }
}

TEST_F(LostAnswers, APairingThatCantGoOnEndsAtOnceAndForTheMacToo) {
  const auto claimed = [&](const std::string& sessionId, const Crypto::Key& key) {
    return LoopbackServer::answer(
        200, JSONCoding::encode(ClaimPairingResponse{sessionId, mac.deviceId, "Desk", Base64URL::encode(key), 1}));
  };
  const auto other = Crypto::x25519PublicKey(Crypto::generatePrivateKey());
  play({claimed("a b", other)});
  auto phone = this->phone();
  EXPECT_EQ(exitOf(phone.claim("ABCD2345")), PhoneExit::serviceRefused);
  EXPECT_EQ(requested(), "P") << "nothing more is asked";
  const auto invited = Crypto::x25519PublicKey(Crypto::generatePrivateKey());
  play({claimed("s", other), refusal(404)});
  EXPECT_EQ(exitOf(phone.claim(PairingInvitation{"s", invited}.text())), PhoneExit::verificationFailed);
  EXPECT_EQ(server.requests().back().target(), "/v1/pairing/sessions/s/cancel");
}

}  // namespace
}  // namespace quillet::test
