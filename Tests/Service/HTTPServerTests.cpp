// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/MetricsServer.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/LoopbackTLS.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Service/ServerFixture.h"

namespace quillet::test {
namespace {

class HTTPServerTest : public ServerTest {
 protected:
  void SetUp() override { serve(); }
  /// Requests as they go on the wire, and the status that each deserves.
  static auto requests(const std::string& table) { return rows<std::tuple<std::string, std::string>>("http", table); }
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

TEST_F(HTTPServerTest, WhatTheStandardAllowsIsTaken) {
  for (const auto& [request, status] : requests("taken")) EXPECT_EQ(statusIn(answerTo(request)), status) << request;
}

TEST_F(HTTPServerTest, WhatIsNoGoodRequestGetsAStatus) {
  auto cases = requests("refused");
  const std::string large(1'100'000, 'x'), head = " HTTP/1.1\r\nHost: a\r\n";
  cases.emplace_back("POST /v1/feedback" + head + "Content-Length: 1100000\r\n\r\n" + large, "413");
  cases.emplace_back("POST /v1/devices/register" + head + "Transfer-Encoding: chunked\r\n\r\n10C8E0\r\n" + large,
                     "413");
  cases.emplace_back("GET /v1/health" + head + "X: " + large.substr(0, 20'000) + "\r\n\r\n", "431");
  for (const auto& [request, status] : cases) {
    const std::string answer = answerTo(request);
    EXPECT_EQ(statusIn(answer), status) << request.substr(0, 60);
    EXPECT_NE(answer.find(R"({"error":{"code":)"), answer.npos) << answer;
  }
}

/// What a proxy before the service could take for something else than the service does.
TEST_F(HTTPServerTest, WhatCouldBeReadInTwoWaysIsRefusedAndTheConnectionClosed) {
  for (const auto& [request, status] : requests("ambiguous")) {
    const std::string answer = answerTo(request);
    EXPECT_EQ(statusIn(answer), status) << request;
    EXPECT_NE(answer.find("Connection: close\r\n"), answer.npos) << answer;
    EXPECT_EQ(answer.find("HTTP/1.1", 8), answer.npos) << "the rest was read as another request: " << request;
  }
}

TEST_F(HTTPServerTest, AnswersSayWhatClientsAndProxiesRelyOn) {
  const std::string end = " HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n";
  const std::string got = answerTo("GET /v1/health" + end), head = answerTo("HEAD /v1/health" + end);
  EXPECT_NE(got.find(" GMT\r\n"), got.npos) << got;
  EXPECT_EQ(head, got.substr(0, got.find("\r\n\r\n") + 4)) << "all but the body";
  EXPECT_NE(answerTo("DELETE /v1/health" + end).find("\r\nAllow: GET, HEAD\r\n"), std::string::npos);
  EXPECT_NE(answerTo("PUT /v1/devices/me" + end).find("\r\nAllow: PATCH\r\n"), std::string::npos);
  EXPECT_NE(answerTo("POST /v1/mac/connect" + end).find("\r\nAllow: GET\r\n"), std::string::npos);
  const std::string upgrade = answerTo("GET /v1/mac/connect" + end);
  EXPECT_NE(upgrade.find("\r\nUpgrade: websocket\r\n"), upgrade.npos) << upgrade;
  const std::string old =
      answerTo("GET /v1/health HTTP/1.0\r\nConnection: keep-alive\r\n\r\nGET /v1/config HTTP/1.0\r\n\r\n");
  EXPECT_NE(old.find("Connection: keep-alive"), old.npos) << old;
  EXPECT_NE(old.find("pairingTtlSeconds"), old.npos) << "the second request on the same connection";
}

TEST_F(HTTPServerTest, AnOpeningHandshakeNeedsAKeyAndTheRightVersion) {
  play([&]() -> Awaitable<void> { co_await enrol(); });
  const auto upgrading = [&](const std::string& key, const std::string& version) {
    std::string answer;
    const std::string more =
        "Upgrade: websocket\r\nConnection: upgrade\r\nSec-WebSocket-Version: " + version + "\r\n" + key;
    play([&]() -> Awaitable<void> {
      Socket socket = co_await dial();
      co_await write(socket, wire(mac, "GET", "/v1/mac/connect", {}, more));
      answer.resize(12);
      co_await boost::asio::async_read(socket, boost::asio::buffer(answer), boost::asio::use_awaitable);
    });
    return statusIn(answer);
  };
  const std::string key = "Sec-WebSocket-Key: ", good = key + "dGhlIHNhbXBsZSBub25jZQ==\r\n";
  EXPECT_EQ(upgrading(good, "13"), "101");
  EXPECT_EQ(upgrading(good, "8"), "426");
  for (const std::string& bad :
       {std::string(), key + "\r\n", key + "c2hvcnQ=\r\n", key + "dGhlIHNhbXBsZSBub25jZ!==\r\n", good + good}) {
    EXPECT_EQ(upgrading(bad, "13"), "400") << bad;
  }
}

/// So many at once that threads beside the service's own verify some of them.
TEST_F(HTTPServerTest, RequestsThatComeTogetherAreEachAnsweredForThemselves) {
  play([&]() -> Awaitable<void> {
    co_await enrol();
    std::vector<Socket> sockets;
    constexpr int kCalls = 40;
    for (int i = 0; i < kCalls; ++i) {
      sockets.push_back(co_await dial());
      const Party& sender = i % 4 == 0 ? mac : phone;
      std::string request = wire(sender, "GET",
                                 i % 10 == 9  ? "/v1/nothing"
                                 : i % 4 == 1 ? "/v1/presence"
                                              : "/v1/pairs");
      if (i % 10 == 8) request.replace(request.find("X-QLT-Nonce: ") + 13, 4, "AAAA");
      co_await write(sockets.back(), request);
    }
    for (int i = 0; i < kCalls; ++i) {
      const std::string answer = co_await readToEnd(sockets[static_cast<std::size_t>(i)]);
      const std::string expected = i % 10 == 9 ? "404" : i % 10 == 8 ? "401" : "200";
      EXPECT_EQ(statusIn(answer), expected) << i << answer;
      if (expected == "200") EXPECT_NE(answer.find(i % 4 == 1 ? "macs" : "pairs"), answer.npos) << i;
    }
  });
}

namespace asio = boost::asio;
using namespace std::chrono_literals;

class EndpointTest : public ServerTest {
 protected:
  /// What a metrics server answers to a GET of `path`.
  Awaitable<std::string> scrape(const MetricsServer& metrics, std::string path = "/metrics") {
    Socket socket(context);
    co_await socket.async_connect({asio::ip::address_v4::loopback(), metrics.port()}, asio::use_awaitable);
    co_await write(socket, "GET " + path + " HTTP/1.1\r\nHost: a\r\n\r\n");
    co_return co_await readToEnd(socket);
  }
  TLSFiles tlsFiles() {
    const SelfSigned made("IP:127.0.0.1,DNS:127.0.0.1");
    writeText(folder.path() / "certificate.pem", made.certificate);
    writeText(folder.path() / "key.pem", made.key);
    return {folder.path() / "certificate.pem", folder.path() / "key.pem"};
  }
};

TEST_F(EndpointTest, ADesktopIsToldOfPairsAndPhonesSeeItsName) {
  serve();
  play([&]() -> Awaitable<void> {
    co_await enrol();
    const auto socket = co_await provedSocket();
    co_await pair();
    EXPECT_EQ((co_await next<RelayServer::Paired>(*socket)).peerDeviceId, phone.id());

    std::string family;  // one character of 25 bytes, as often as a name may have it
    for (int i = 0; i < 64; ++i) family += "👨‍👩‍👧‍👦";
    EXPECT_TRUE((co_await macAPI->rename(family)).ok);
    EXPECT_EQ((co_await phoneAPI->pairs()).pairs.at(0).peerName, family);
    for (const std::string& wrong : {std::string(), std::string(257, 'n')}) {
      EXPECT_EQ(co_await refusal(macAPI->rename(wrong)), "400 bad_request");
    }
    EXPECT_TRUE((co_await macAPI->rename("a\tb")).ok) << "what a desktop takes for a name; it would ask for ever";

    EXPECT_TRUE((co_await phoneAPI->removePair(mac.id())).ok);
    EXPECT_EQ((co_await next<RelayServer::PairRevoked>(*socket)).peerDeviceId, phone.id());
    EXPECT_TRUE((co_await macAPI->pairs()).pairs.empty());
    EXPECT_EQ(co_await refusal(macAPI->removePair(phone.id())), "404 not_paired");
    EXPECT_EQ(co_await refusal(phoneAPI->submitDelivery(mac.id(), delivery("u"))), "403 not_paired");
  });
}

TEST_F(EndpointTest, ADeletedDeviceIsGoneForEverybody) {
  serve();
  play([&]() -> Awaitable<void> {
    co_await enrolAndPair();
    co_await phoneAPI->submitDelivery(mac.id(), delivery("u"));
    const auto socket = connect(*macAPI);
    EXPECT_EQ((co_await next<RelayServer::Deliver>(*socket)).utteranceId, "u");
    EXPECT_TRUE((co_await macAPI->deleteDevice()).ok);
    try {
      for (;;) co_await socket->receive();
    } catch (const TransportError&) {
      EXPECT_FALSE(service->hub.isOnline(mac.id()));
    }
    EXPECT_EQ(co_await refusal(macAPI->pairs()), "403 device_revoked");
    EXPECT_EQ(co_await refusal(macAPI->registerDevice(DevicePlatform::macos, "Desk", "1")), "403 device_revoked");
    EXPECT_TRUE((co_await phoneAPI->pairs()).pairs.empty());
    EXPECT_EQ(co_await refusal(phoneAPI->waitForDelivery(mac.id(), "u", 20)), "403 not_paired");
  });
}

TEST_F(EndpointTest, RevokingEndsTheCallsThatWaitForTheDesktop) {
  serve();
  play([&]() -> Awaitable<void> {
    co_await enrolAndPair();
    const auto socket = co_await provedSocket();
    co_await phoneAPI->submitDelivery(mac.id(), delivery("u"));
    Task revoking(context.get_executor());
    revoking.start([&]() -> Awaitable<void> {
      while (service->hub.waiting() < 2) co_await asio::post(context, asio::use_awaitable);
      co_await macAPI->removePair(phone.id());
    });
    std::string prepared;
    Task preparing(context.get_executor());
    preparing.start([&]() -> Awaitable<void> {
      const Envelope envelope = Envelope::sealBytes("{}", EnvelopePurpose::prepare, phone.identity, mac.peer);
      prepared = co_await refusal(phoneAPI->prepareTarget(mac.id(), {"r", envelope}));
    });
    EXPECT_EQ(co_await refusal(phoneAPI->waitForDelivery(mac.id(), "u", 50)), "403 not_paired");
    while (preparing.running() || revoking.running()) co_await asio::post(context, asio::use_awaitable);
    EXPECT_EQ(prepared, "403 not_paired");
  });
}

TEST_F(EndpointTest, TheMetricsPageCountsAndNamesNobody) {
  serve();
  MetricsServer metrics(context, 0, [&] { return service->metricsText(server->connections()); });
  metrics.start();
  std::string page;
  play([&]() -> Awaitable<void> {
    co_await enrolAndPair();
    const auto socket = co_await provedSocket();
    co_await phoneAPI->submitDelivery(mac.id(), delivery("u"));
    std::string replay = wire(phone, "GET", "/v1/pairs");
    co_await raw(replay);
    co_await raw(replay);
    page = co_await scrape(metrics);
    EXPECT_EQ(statusIn(co_await scrape(metrics, "/v1/health")), "404");
    EXPECT_EQ(statusIn(co_await raw("GET /metrics HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n")), "404")
        << "not where clients are served";
  });
  EXPECT_EQ(statusIn(page), "200");
  for (const char* line :
       {"\nquillet_desktops_online 1\n", "\nquillet_devices 2\n", "\nquillet_pairs 1\n",
        "\nquillet_deliveries_pending 1\n", "\nquillet_deliveries_submitted_total 1\n",
        "\nquillet_refusals_total{code=\"replayed\"} 1\n", "\nquillet_requests_total{status=\"401\"} 1\n"}) {
    EXPECT_NE(page.find(line), page.npos) << line << page;
  }
  for (const std::string& id : {mac.id(), phone.id(), mac.name, phone.name}) EXPECT_EQ(page.find(id), page.npos);
}

TEST_F(EndpointTest, MetricsThatFailAreAnsweredAndComeBack) {
  bool failing = true;
  MetricsServer metrics(context, 0, [&] { return failing ? throw DatabaseError(SQLITE_IOERR) : std::string("fine"); });
  metrics.start();
  LogCapture::instance().expect("The metrics failed with database code 10");
  play([&]() -> Awaitable<void> {
    EXPECT_EQ(statusIn(co_await scrape(metrics)), "500");
    failing = false;
    EXPECT_EQ(statusIn(co_await scrape(metrics)), "200");
  });
}

TEST_F(EndpointTest, TheWholeRoadRunsOverTLS) {
  const TLSFiles tls = tlsFiles();
  serve({.header = 500ms}, {}, tls);
  session.tls().load_verify_file(tls.certificate.string());
  play([&]() -> Awaitable<void> {
    co_await enrolAndPair();
    const auto socket = co_await provedSocket();
    co_await phoneAPI->submitDelivery(mac.id(), delivery("u"));
    EXPECT_EQ((co_await next<RelayServer::Deliver>(*socket)).utteranceId, "u");
    EXPECT_EQ(co_await raw("GET /v1/health HTTP/1.1\r\nHost: a\r\n\r\n"), "") << "no answer without TLS";
    EXPECT_EQ(co_await raw(""), "") << "nobody waits long for a handshake";
  });
}

TEST_F(EndpointTest, ACertificateThatCannotBeUsedStopsTheStart) {
  TLSFiles wrong = tlsFiles();
  wrong.key = folder.path() / "none.pem";
  EXPECT_THROW(serve({}, {}, wrong), std::exception);
  server.reset();
}

}  // namespace
}  // namespace quillet::test
