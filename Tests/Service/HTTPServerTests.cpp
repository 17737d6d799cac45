// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Log.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Service/ServerFixture.h"

namespace quillet::test {
namespace {

class HTTPServerTest : public ServerTest {
  void SetUp() override { serve(); }
};

/// All that the files of a folder hold.
std::string contents(const std::filesystem::path& folder) {
  std::string all;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) all += readText(entry.path());
  return all;
}

TEST_F(HTTPServerTest, AnUtteranceGoesThroughAndLeavesNoPlaintext) {
  constexpr std::string_view kMarker = "purple-elephant-marker";
  std::string logged;
  const auto before = Log::setSink([&](const Log::Line& line) { logged.append(line.message).append("\n"); });
  play([&]() -> Awaitable<void> {
    co_await enrolAndPair();

    DeliveryRequest request{"u1", Envelope::sealBytes(kMarker, EnvelopePurpose::delivery, phone.identity, mac.peer)};
    const DeliveryStatus queued = co_await phoneAPI->submitDelivery(mac.id(), request);
    EXPECT_EQ(queued.state, DeliveryTransportState::queued);
    EXPECT_FALSE(queued.macOnline);

    const auto socket = connect(*macAPI);
    const auto deliver = co_await next<RelayServer::Deliver>(*socket);
    EXPECT_EQ(deliver.envelope, request.envelope);
    EXPECT_EQ((co_await socket->receive()).data, "pong");
    send(*socket, RelayClient::Received{"u1"});
    Envelope result = Envelope::sealBytes(kMarker, EnvelopePurpose::result, mac.identity, phone.peer);
    send(*socket, RelayClient::Result{"u1", phone.id(), result});
    const DeliveryStatus done = co_await phoneAPI->waitForDelivery(mac.id(), "u1", 20);
    EXPECT_EQ(done.state, DeliveryTransportState::result);
    EXPECT_EQ(done.resultEnvelope, result);
    co_await phoneAPI->removePair(mac.id());
    EXPECT_EQ((co_await next<RelayServer::PairRevoked>(*socket)).peerDeviceId, phone.id());
  });
  Log::setSink(before);
  const std::string stored = contents(folder.path());
  EXPECT_NE(stored.find(phone.id()), stored.npos) << "the search looks in the right place";
  EXPECT_EQ(stored.find(kMarker), stored.npos);
  EXPECT_NE(logged.find(mac.id().substr(0, 8)), logged.npos) << "the log was captured";
  for (const std::string& secret : {std::string(kMarker), mac.id(), phone.id(), mac.name, phone.name,
                                    mac.peer.signingPublicKey, phone.peer.signingPublicKey}) {
    EXPECT_EQ(logged.find(secret), logged.npos) << secret;
  }
}

TEST_F(HTTPServerTest, TheRelaySocketIsRefusedWithAStatus) {
  play([&]() -> Awaitable<void> {
    const auto refusedStatus = [&](APIClient& api) -> Awaitable<int> {
      const auto socket = connect(api);
      try {
        co_await socket->receive();
      } catch (const TransportError&) {
      }
      co_return socket->refusedStatus().value_or(0);
    };
    EXPECT_EQ(co_await refusedStatus(*macAPI), 401);
    co_await enrol();
    EXPECT_EQ(co_await refusedStatus(*phoneAPI), 403);
    co_await macAPI->deleteDevice();
    EXPECT_EQ(co_await refusedStatus(*macAPI), 403);
  });
}

TEST_F(HTTPServerTest, ARegistrationProvesItsOwnKey) {
  play([&]() -> Awaitable<void> {
    // Signed by the phone, but for the key of another device.
    HTTPRequest request;
    request.method = "POST";
    request.url = url().resolve("/v1/devices/register");
    request.body = JSONCoding::encode(mac.registration());
    RequestSigner(phone.identity).sign(request, Clock::now());
    const HTTPResponse refused = co_await session.send(request);
    EXPECT_EQ(refused.status, 401);
    const auto first = co_await phoneAPI->registerDevice(DevicePlatform::ios, "A", "1");
    EXPECT_EQ(first.deviceId, phone.id());
    const auto again = co_await phoneAPI->registerDevice(DevicePlatform::ios, "B", "2");
    EXPECT_EQ(again.registeredAt, first.registeredAt);
    EXPECT_TRUE((co_await phoneAPI->rename("C")).ok);
  });
}

TEST_F(HTTPServerTest, WhatIsNoGoodRequestGetsAStatus) {
  const std::string large(1'100'000, 'x');
  const std::string end = " HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n", head = " HTTP/1.1\r\nHost: a\r\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"GET /v1/health" + end, "200"},
      {"GET /v1/config?x" + end, "200"},
      {"GET /v1/pairs" + end, "401"},
      {"GET /v1/nothing" + end, "404"},
      {"GET /v1/macs//deliveries/u" + end, "404"},
      {"PUT /v1/pairs" + end, "405"},
      {"GET /v1/mac/connect" + end, "426"},
      {"POST /v1/devices/register" + head + "Connection: close\r\nContent-Length: 2\r\n\r\n{}", "400"},
      {"POST /v1/feedback" + head + "Content-Length: 1100000\r\n\r\n" + large, "413"},
      {"POST /v1/devices/register" + head + "Transfer-Encoding: chunked\r\n\r\n10C8E0\r\n" + large, "413"},
      {"GET /v1/health" + head + "X: " + large.substr(0, 20'000) + "\r\n\r\n", "431"},
      {"nonsense\r\n\r\n", "400"},
  };
  for (const auto& [request, status] : cases) {
    std::string answer;
    play([&]() -> Awaitable<void> { answer = co_await raw(request); });
    EXPECT_EQ(answer.substr(0, 12), "HTTP/1.1 " + status) << request.substr(0, 60);
    if (status[0] != '2') {
      EXPECT_NE(answer.find(R"({"error":{"code":)"), answer.npos) << answer;
    }
  }
}

TEST_F(HTTPServerTest, OneConnectionServesManyRequests) {
  std::string answer;
  play([&]() -> Awaitable<void> {
    answer = co_await raw(
        "GET /v1/health HTTP/1.1\r\nHost: a\r\n\r\nGET /v1/health HTTP/1.1\r\nHost: a\r\n"
        "Connection: close\r\n\r\n");
  });
  const auto first = answer.find(R"({"ok":true})");
  ASSERT_NE(first, answer.npos);
  EXPECT_NE(answer.find(R"({"ok":true})", first + 1), answer.npos);
}

}  // namespace
}  // namespace quillet::test
