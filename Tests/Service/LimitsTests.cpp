// SPDX-License-Identifier: MIT
#include <boost/beast/websocket.hpp>

#include "Tests/Service/ServerFixture.h"

namespace quillet::test {
namespace {

namespace asio = boost::asio;
using namespace std::chrono_literals;

constexpr std::string_view kHealth = "GET /v1/health HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n";

/// What the service does against clients that are slow, greedy or hostile, over real sockets.
class LimitsTest : public ServerTest {
 protected:
  std::string health(const std::string& header = {}, const std::string& source = "127.0.0.1") {
    return status("GET /v1/health HTTP/1.1\r\nHost: a\r\n" + header + "Connection: close\r\n\r\n", source);
  }
  std::string status(const std::string& request, const std::string& source = "127.0.0.1") {
    return statusIn(answerTo(request, source));
  }
  std::string registering(const Party& party) {
    return wire(party, "POST", "/v1/devices/register", JSONCoding::encode(party.registration()));
  }
};

TEST_F(LimitsTest, ConnectionsAreLimitedInAllAndForEachAddress) {
  serve({.connections = 3, .connectionsPerAddress = 2});
  play([&]() -> Awaitable<void> {
    std::optional<Socket> first = co_await dial();
    const Socket second = co_await dial();
    EXPECT_EQ(co_await raw(std::string(kHealth)), "") << "the third of one address";
    Socket foreign = co_await dial("127.0.0.2");
    co_await write(foreign, std::string(kHealth));
    EXPECT_EQ(statusIn(co_await readToEnd(foreign)), "200");
    const Socket held = co_await dial("127.0.0.3");
    EXPECT_EQ(co_await raw(std::string(kHealth), "127.0.0.4"), "") << "the fourth in all";
    first.reset();
  });
  EXPECT_TRUE(runUntil([&] { return server->connections() == 0; })) << "what ends makes room";
  EXPECT_EQ(health(), "200");
  EXPECT_EQ(service->metrics.connectionsRefused, 2U);
}

TEST_F(LimitsTest, BehindATrustedProxyTheClientCounts) {
  serve({.connectionsPerAddress = 1, .trustedProxies = {asio::ip::make_address("127.0.0.1")}});
  std::optional<Socket> busy;
  play([&]() -> Awaitable<void> {
    busy = co_await dial();
    co_await write(
        *busy,
        "POST /v1/feedback HTTP/1.1\r\nHost: a\r\nX-Forwarded-For: 203.0.113.9\r\nContent-Length: 10\r\n\r\nhalf");
    while (server->addresses() == 0) co_await asio::post(context, asio::use_awaitable);
  });
  EXPECT_EQ(health("X-Forwarded-For: 203.0.113.9\r\n"), "429");
  EXPECT_EQ(health("X-Forwarded-For: 203.0.113.8, 203.0.113.9\r\n"), "429") << "the proxy's own word stands last";
  EXPECT_EQ(health("X-Forwarded-For: 203.0.113.8\r\nX-Forwarded-For: 203.0.113.9\r\n"), "429");
  EXPECT_EQ(health("X-Forwarded-For: 203.0.113.9, 203.0.113.8\r\n"), "200");
  EXPECT_EQ(health("X-Forwarded-For: 203.0.113.9\r\n", "127.0.0.2"), "200") << "nobody else is believed";
  busy.reset();
}

TEST_F(LimitsTest, AProxyIsTrustedByEitherFormOfItsAddressOnASocketForBothFamilies) {
  host = "::";
  try {
    serve({.trustedProxies = {asio::ip::make_address("127.0.0.1"), asio::ip::make_address("::ffff:127.0.0.2")}},
          {.registrationsPerHour = 1});
  } catch (const boost::system::system_error&) {
    server.reset();
    GTEST_SKIP() << "this machine has no IPv6";
  }
  int client = 0;
  const auto registered = [&](const std::string& source) {
    std::string request = registering(Party("New", DevicePlatform::ios));
    const std::string header = "X-Forwarded-For: 203.0.113." + std::to_string(++client) + "\r\n";
    request.insert(request.find("Content-Length"), header);
    return status(request, source);
  };
  for (const char* proxy : {"127.0.0.1", "127.0.0.1", "127.0.0.2", "127.0.0.2"}) {
    EXPECT_EQ(registered(proxy), "200") << "the clients differ: " << proxy;
  }
  EXPECT_EQ(registered("127.0.0.3"), "200");
  EXPECT_EQ(registered("127.0.0.3"), "429") << "one client, whatever it says";
}

TEST_F(LimitsTest, SilentAndTricklingClientsAreDropped) {
  serve({.header = 60ms, .idle = 60ms, .body = 60ms});
  const std::string head = "POST /v1/feedback HTTP/1.1\r\nHost: a\r\nContent-Length: 4000\r\n\r\n";
  for (const auto& [what, start] : std::vector<std::pair<std::string, std::string>>{
           {"silent", ""},
           {"trickling header", "GET /v1/health HTTP/1.1\r\nX: "},
           {"trickling body", head},
           {"idle after a request", "GET /v1/health HTTP/1.1\r\nHost: a\r\n\r\n"}}) {
    play([&]() -> Awaitable<void> {
      Socket socket = co_await dial();
      co_await write(socket, start);
      Task trickle(context.get_executor());
      const bool trickling = what.starts_with("trickling");
      trickle.start([&]() -> Awaitable<void> {
        asio::steady_timer timer(context);
        for (boost::system::error_code closed; trickling && !closed;) {
          co_await asio::async_write(socket, asio::buffer("x", 1), asio::redirect_error(asio::use_awaitable, closed));
          timer.expires_after(2ms);
          co_await timer.async_wait(asio::use_awaitable);
        }
      });
      co_await readToEnd(socket);  // returns only if the service hangs up
      while (trickle.running()) co_await asio::post(context, asio::use_awaitable);
    });
    EXPECT_TRUE(runUntil([&] { return server->connections() == 0; })) << what;
  }
}

TEST_F(LimitsTest, LargeRequestsAreRefusedBeforeTheyAreRead) {
  serve();
  const auto head = [](const std::string& target, int size, const std::string& more = {}) {
    return "POST " + target + " HTTP/1.1\r\nHost: a\r\n" + more + "Content-Length: " + std::to_string(size) +
           "\r\n\r\n";
  };
  // None of these sends its body: an answer shows that it isn't waited for.
  EXPECT_EQ(status(head("/v1/devices/register", 100'000)), "413");
  EXPECT_EQ(status(head("/v1/pairing/claim", 100'000)), "413");
  EXPECT_EQ(status(head("/v1/macs/m/deliveries", kFrameLimit - 4096)), "401");
  EXPECT_EQ(status(head("/v1/macs/m/deliveries", kFrameLimit - 4095)), "413");
  EXPECT_EQ(status(head("/v1/macs/m/prepare", 100'000)), "413");
  EXPECT_EQ(status("PATCH /v1/devices/me HTTP/1.1\r\nHost: a\r\nContent-Length: 5000\r\n\r\n"), "413") << "a name";
  EXPECT_EQ(status(head("/v1/transcribe", 16'000'001)), "413");
  EXPECT_EQ(status(head("/v1/transcribe", 15'000'000)), "401") << "a stranger";
  EXPECT_EQ(status(head("/v1/nothing", 900'000)), "404");
  std::string unknown = wire(phone, "POST", "/v1/feedback", "{}");
  unknown.replace(unknown.find("Content-Length: 2"), std::string::npos, "Content-Length: 200000\r\n\r\n");
  EXPECT_EQ(status(unknown), "401") << "an unregistered device";
  EXPECT_EQ(status("POST /v1/feedback HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n"), "401");
}

TEST_F(LimitsTest, TheLargestDeliveryFitsADesktopsFrame) {
  serve();
  play([&]() -> Awaitable<void> {
    co_await enrolAndPair();
    DeliveryRequest largest = delivery(std::string(128, '"'));  // written with as many backslashes
    largest.envelope.box.append(kFrameLimit - 4096 - JSONCoding::encode(largest).size(), 'A');
    EXPECT_EQ(co_await refusal(phoneAPI->submitDelivery(mac.id(), largest)), "");
    const auto socket = connect(*macAPI);
    EXPECT_EQ((co_await next<RelayServer::Deliver>(*socket)).envelope, largest.envelope);
    largest.envelope.box += 'A';
    EXPECT_EQ(co_await refusal(phoneAPI->submitDelivery(mac.id(), largest)), "413 too_large");
  });
}

TEST_F(LimitsTest, EachAddressCanRegisterSoManyNewDevices) {
  serve({}, {.registrationsPerHour = 2});
  EXPECT_EQ(status(registering(mac)), "200");
  EXPECT_EQ(status(registering(phone)), "200");
  const Party third("Third", DevicePlatform::ios);
  const std::size_t nonces = service->authenticator.noncesRemembered();
  EXPECT_EQ(status(registering(third)), "429");
  EXPECT_EQ(status(registering(Party("", DevicePlatform::ios)), "127.0.0.2"), "400");
  EXPECT_EQ(service->authenticator.noncesRemembered(), nonces) << "what is refused must not fill the memory";
  EXPECT_EQ(status(registering(mac)), "200") << "it is no new one";
  EXPECT_EQ(status(registering(third), "127.0.0.2"), "200");
}

TEST_F(LimitsTest, FeedbackIsLimitedForEachDevice) {
  serve();
  play([&]() -> Awaitable<void> {
    co_await enrol();
    const FeedbackRequest feedback{"Works.", "a@b.example", "1.0", "Linux 6", "PC"};
    for (int i = 0; i < 20; ++i) EXPECT_EQ(co_await refusal(macAPI->sendFeedback(feedback)), "");
    EXPECT_EQ(co_await refusal(macAPI->sendFeedback(feedback)), "429 rate_limited") << "which clients tell apart";
    EXPECT_EQ(co_await refusal(phoneAPI->sendFeedback(feedback)), "");
    for (const auto& wrong : {FeedbackRequest{"", {}, "1", "", ""}, FeedbackRequest{"x", "no address", "1", "", ""},
                              FeedbackRequest{std::string(5001, 'x'), {}, "1", "", ""}}) {
      EXPECT_EQ(co_await refusal(phoneAPI->sendFeedback(wrong)), "400 bad_request");
    }
  });
}

class SlowReaderTest : public LimitsTest {
 protected:
  /// A desktop that upgrades and then never reads; small buffers, so that this shows soon.
  Awaitable<Socket> deafDesktop() {
    Socket socket(context, asio::ip::tcp::v4());
    socket.set_option(asio::socket_base::receive_buffer_size(4096));
    co_await socket.async_connect(server->endpoint(), asio::use_awaitable);
    co_await write(socket, wire(mac, "GET", "/v1/mac/connect", {},
                                "Upgrade: websocket\r\nConnection: upgrade\r\nSec-WebSocket-Version: 13\r\n"
                                "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"));
    while (!service->hub.isOnline(mac.id())) co_await asio::post(context, asio::use_awaitable);
    co_return socket;
  }
  void push(std::size_t size) {
    service->hub.send(mac.id(), RelayServer::Deliver{"u", phone.id(), delivery("u", std::string(size, 'x')).envelope});
  }
};

TEST_F(SlowReaderTest, ADesktopThatSaysNothingOrTakesNothingIsLetGo) {
  for (const bool isFull : {false, true}) {
    isFull ? serve({.relayQueue = 4 << 20}) : serve({.relayIdle = 60ms});
    play([&]() -> Awaitable<void> {
      co_await enrol();
      const Socket socket = co_await deafDesktop();
      for (int i = 0; isFull && i < 40; ++i) push(500'000);
      while (service->hub.isOnline(mac.id())) co_await asio::post(context, asio::use_awaitable);
    });
    EXPECT_EQ(service->metrics.slowReadersDropped, isFull ? 1U : 0U);
    stop();
  }
}

TEST_F(SlowReaderTest, AFrameThatIsNotTakenInTimeEndsTheSocket) {
  serve({.relayStall = 0ms, .relayQueue = 1 << 30});
  play([&]() -> Awaitable<void> {
    co_await enrol();
    const Socket socket = co_await deafDesktop();
    push(30'000'000);
    co_await asio::post(context, asio::use_awaitable);
    EXPECT_TRUE(service->hub.isOnline(mac.id()));
    push(1);
    while (service->hub.isOnline(mac.id())) co_await asio::post(context, asio::use_awaitable);
  });
  EXPECT_EQ(service->metrics.slowReadersDropped, 1U);
}

TEST_F(SlowReaderTest, AClosedSocketEndsWhateverItsDesktopDoes) {
  serve({.relayClose = 60ms, .relayQueue = 1 << 30});
  const std::string masked = "\x81\xfe\x10" + std::string(5, '\0');  // a text of 4096 bytes begins
  play([&]() -> Awaitable<void> {
    co_await enrol();
    const std::size_t others = server->connections();
    for (const bool reads : {true, false}) {
      Socket socket = co_await deafDesktop();
      if (reads) co_await write(socket, masked + std::string(100, 'x'));
      if (!reads) push(30'000'000);
      co_await asio::post(context, asio::use_awaitable);
      service->hub.disconnect(mac.id(), 1000);
      co_await asio::post(context, asio::use_awaitable);
      if (reads) co_await write(socket, std::string(64, '\xff'));
      while (server->connections() > others) co_await asio::post(context, asio::use_awaitable);
      EXPECT_FALSE(service->hub.isOnline(mac.id()));
    }
  });
}

TEST(AddressLimiterTest, CountsNetworksOfSixAndMappedFours) {
  const auto key = [](const char* text) { return addressKey(asio::ip::make_address(text)); };
  EXPECT_EQ(key("2001:db8:1:2:3:4:5:6"), key("2001:db8:1:2:ffff::1"));
  EXPECT_NE(key("2001:db8:1:2::1"), key("2001:db8:1:3::1"));
  EXPECT_EQ(key("::ffff:192.0.2.1"), "192.0.2.1");
  EXPECT_EQ(forwardedAddress("203.0.113.7, 2001:db8::1 ")->to_string(), "2001:db8::1");
  for (const char* none : {"", "unknown", "1.2.3.4:80", "1.2.3.4,"}) EXPECT_FALSE(forwardedAddress(none)) << none;
}

}  // namespace
}  // namespace quillet::test
