// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/MetricsServer.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/SelfSigned.h"
#include "Tests/Service/ServerFixture.h"

namespace quillet::test {
namespace {

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
