// SPDX-License-Identifier: MIT

#include "Tests/Service/ServiceProgram.h"

namespace quillet::test {
namespace {

/// The service as a program, on a disk that fills up or loses what wasn't synced.
class FaultyDiskTest : public ProgramTest {
 protected:
  void SetUp() override {
#ifndef QUILLET_FAULTY_DISK_LIBRARY
    GTEST_SKIP() << "no library can be preloaded into this build";
#endif
    ProgramTest::SetUp();
    std::filesystem::create_directories(image);
  }
  ServiceProgram startOnFaultyDisk() {
#ifdef QUILLET_FAULTY_DISK_LIBRARY
    return {folder.path(),
            arguments(),
            { "LD_PRELOAD=" QUILLET_FAULTY_DISK_LIBRARY,
              "QUILLET_DISK_IMAGE=" + image.string(),
              "QUILLET_DISK_FULL=" + full.string(),
              "QUILLET_DISK_FAULT=" + fault.string() }};
#else
    return {folder.path(), arguments()};
#endif
  }
  /// What a power cut leaves, as another database's folder.
  std::filesystem::path afterPowerCut() {
    const auto left = folder.path() / "left";
    std::filesystem::remove_all(left);
    std::filesystem::copy(image, left);
    return left;
  }
  static std::int64_t count(const std::filesystem::path& file, const std::string& sql) {
    Database left(file);
    auto statement = left.prepare(sql);
    auto row = statement.query();
    return row.next() ? row.integer(0) : 0;
  }
  template <typename Response>
  std::string refusal(Awaitable<Response> call) {
    return main.await(test::refusal(std::move(call)));
  }
  HTTPResponse get(const ServiceProgram& program, const std::string& target, const Party* by = nullptr) {
    HTTPRequest request;
    request.url = ServiceURL::parse(program.lineAfter("listening on ")).value().resolve(target);
    if (by != nullptr) RequestSigner(by->identity).sign(request, Clock::now());
    last = request;
    return main.await(session.send(request));
  }
  /// The request that was sent last, once more.
  HTTPResponse again(const ServiceProgram& program) {
    last.url = ServiceURL::parse(program.lineAfter("listening on ")).value().resolve(last.url.target);
    return main.await(session.send(last));
  }

  std::filesystem::path image = folder.path() / "image", full = folder.path() / "full", fault = folder.path() / "fault";
  HTTPRequest last;
};

TEST_F(FaultyDiskTest, WhatIsAcknowledgedSurvivesAPowerCut) {
  const ServiceProgram program = startOnFaultyDisk();
  APIClient macAPI = client(program, mac), phoneAPI = client(program, phone);
  pairThem(macAPI, phoneAPI);
  EXPECT_EQ(count(afterPowerCut() / "service.sqlite", "SELECT count(*) FROM pairs"), 1);
  constexpr int kDeliveries = 20;
  for (int i = 0; i < kDeliveries; ++i) {
    main.await(phoneAPI.submitDelivery(mac.id(), delivery("u" + std::to_string(i))));
    EXPECT_EQ(count(afterPowerCut() / "service.sqlite", "SELECT count(*) FROM deliveries"), i + 1);
  }
  EXPECT_EQ(main.await(phoneAPI.cancelDelivery(mac.id(), "u0")).state, DeliveryTransportState::cancelled);
  database = afterPowerCut() / "service.sqlite";
  const ServiceProgram after(folder.path(), arguments());
  APIClient phoneAfter = client(after, phone);
  EXPECT_EQ(main.await(phoneAfter.waitForDelivery(mac.id(), "u0", 0)).state, DeliveryTransportState::cancelled);
  EXPECT_EQ(main.await(phoneAfter.waitForDelivery(mac.id(), "u19", 0)).state, DeliveryTransportState::queued);
}

TEST_F(FaultyDiskTest, WhicheverOperationFailsWhatIsAcknowledgedStands) {
  const ServiceProgram program = startOnFaultyDisk();
  APIClient macAPI = client(program, mac), phoneAPI = client(program, phone);
  pairThem(macAPI, phoneAPI);
  std::optional<Party> other;
  std::string session;
  std::optional<DeliveryRequest> sent;
  const auto registerOther = [&] {
    return refusal(client(program, *other).registerDevice(DevicePlatform::ios, other->name, "1"));
  };
  const auto beginPairing = [&](int number) {
    other.emplace("Phone " + std::to_string(number), DevicePlatform::ios);
    ASSERT_EQ(registerOther(), "");
    const auto created = main.await(macAPI.createPairingSession(Crypto::randomBytes(32), "Desk"));
    session = created.sessionId;
    APIClient otherAPI = client(program, *other);
    main.await(otherAPI.claimPairing({std::nullopt, created.code, freshKey(), "Pocket"}));
    main.await(otherAPI.confirmPairing(session, "sealed-by-phone"));
  };
  const struct {
    const char *what, *counted;
    std::function<void(int)> prepare;
    std::function<std::string()> ask;
    bool mustGoOn = false;
  } steps[] = {
      {"delivery", "SELECT count(*) FROM deliveries",
       [&](int number) { sent = delivery("u" + std::to_string(number)); },
       [&] { return refusal(phoneAPI.submitDelivery(mac.id(), *sent)); }},
      {"registration", "SELECT count(*) FROM devices", [&](int) { other.emplace("Other", DevicePlatform::ios); },
       registerOther},
      {"pairing", "SELECT count(*) FROM pairs", beginPairing,
       [&] { return refusal(macAPI.confirmPairing(session, "sealed-by-mac")); }},
      {"read", "SELECT 0", [](int) {}, [&] { return refusal(phoneAPI.pairs()); }, true},
  };
  for (const auto& step : steps) {
    const auto before = count(afterPowerCut() / "service.sqlite", step.counted);
    const bool counts = before > 0 || step.what == std::string("delivery");
    int number = 0;
    for (bool reached = true; reached && number < 100;) {
      step.prepare(++number);
      writeText(fault, std::to_string(number));
      const std::string refused = step.ask();
      reached = readText(fault) == "0";
      std::filesystem::remove(fault);
      if (!refused.empty()) EXPECT_TRUE(!step.mustGoOn && step.ask().empty()) << step.what << number << refused;
      const auto left = count(afterPowerCut() / "service.sqlite", step.counted);
      EXPECT_EQ(left, counts ? before + number : 0) << step.what << refused;
    }
    EXPECT_TRUE(number > 3 || step.mustGoOn) << step.what;
  }
}

TEST_F(FaultyDiskTest, WhicheverOperationFailsAResultIsKeptOrComesAgain) {
  const ServiceProgram program = startOnFaultyDisk();
  APIClient macAPI = client(program, mac), phoneAPI = client(program, phone);
  pairThem(macAPI, phoneAPI);
  std::unique_ptr<WebSocketTask> socket;
  const auto connect = [&] {
    socket = makeWebSocketTask(session, main.executor(), macAPI.relayRequest(), 1 << 20);
    socket->resume();
  };
  // The result of the delivery that comes next, while this operation from then on fails.
  const auto answer = [&](const std::string& utterance, int failing) {
    EXPECT_NE(main.await(socket->receive()).data.find(utterance), std::string::npos) << "no delivery";
    if (failing > 0) writeText(fault, std::to_string(failing));
    const auto sealed = Envelope::sealBytes("text", EnvelopePurpose::result, mac.identity, phone.peer);
    socket->sendText(JSONCoding::encode(RelayClientMessage(RelayClient::Result{utterance, phone.id(), sealed})),
                     [](bool) {});
    socket->sendText("ping", [](bool) {});
  };
  connect();
  int number = 0;
  for (bool reached = true; reached && number < 100;) {
    const std::string utterance = "u" + std::to_string(++number);
    main.await(phoneAPI.submitDelivery(mac.id(), delivery(utterance)));
    answer(utterance, number);
    bool closed = false;
    try {
      main.await(socket->receive());
    } catch (const TransportError&) {
      closed = true;
    }
    reached = readText(fault) == "0";
    std::filesystem::remove(fault);
    EXPECT_EQ(closed, reached) << number;
    if (closed) connect(), answer(utterance, 0), main.await(socket->receive());
    const auto known = main.await(phoneAPI.waitForDelivery(mac.id(), utterance, 0));
    EXPECT_EQ(known.state, DeliveryTransportState::result) << number;
  }
  EXPECT_GT(number, 2);
}

TEST_F(FaultyDiskTest, AFullDiskStopsOnlyWhatMustBeWritten) {
  ServiceProgram program = startOnFaultyDisk();
  APIClient macAPI = client(program, mac), phoneAPI = client(program, phone);
  main.await(macAPI.registerDevice(DevicePlatform::macos, mac.name, "1"));
  main.await(phoneAPI.registerDevice(DevicePlatform::ios, phone.name, "1"));
  EXPECT_EQ(get(program, "/v1/health").status, 200);
  std::ofstream(full).close();
  EXPECT_EQ(refusal(phoneAPI.pairs()), "") << "though it wasn't seen before";
  EXPECT_EQ(refusal(phoneAPI.presence()), "");
  EXPECT_EQ(refusal(phoneAPI.rename("Other")), "500 internal");
  const HTTPResponse health = get(program, "/v1/health");
  EXPECT_EQ(health.status, 503);
  EXPECT_NE(health.body.find("disk is full"), std::string::npos) << health.body;
  std::filesystem::remove(full);
  EXPECT_EQ(refusal(phoneAPI.rename("Other")), "");
  EXPECT_EQ(get(program, "/v1/health").status, 200);
}

TEST_F(FaultyDiskTest, ARequestWhoseNonceCouldNotBeWrittenIsNotTakenAgain) {
  ServiceProgram program = startOnFaultyDisk();
  APIClient phoneAPI = client(program, phone);
  main.await(phoneAPI.registerDevice(DevicePlatform::ios, phone.name, "1"));
  std::ofstream(full).close();
  EXPECT_EQ(get(program, "/v1/pairs", &phone).status, 200);
  program.signal(SIGKILL);
  program.wait();
  const ServiceProgram next(folder.path(), arguments());
  const HTTPResponse repeated = again(next);
  EXPECT_EQ(repeated.status, 401) << repeated.body;
  EXPECT_EQ(refusal(client(next, phone).pairs()), "") << "what is signed from now on";
}

}  // namespace
}  // namespace quillet::test
