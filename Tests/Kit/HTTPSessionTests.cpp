// SPDX-License-Identifier: MIT
#include <future>

#include "QuilletKit/Network/Dialer.h"
#include "Tests/Doubles/Calls.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Kit/HTTPSessionFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Socket = LoopbackServer::Socket;

const std::string kLost = "The connection was lost.";
const std::string kLate = "The request timed out.";
const std::string kNotSecure = "A secure connection could not be made.";

/// A service that reads the request, writes the text and then does something else.
LoopbackServer::Serve answeringThen(std::string text, std::function<Awaitable<void>(Socket&)> then) {
  return [text, then](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    const std::string copy = text;
    const auto next = then;
    co_await self.readRequest(socket);
    co_await LoopbackServer::write(socket, copy);
    co_await next(socket);
  };
}
/// Sends the second text again and again, for as long as it is taken.
LoopbackServer::Serve repeating(std::string head, std::string text) {
  return answeringThen(std::move(head), [text](Socket& socket) -> Awaitable<void> {
    for (const std::string again = text;;) co_await LoopbackServer::write(socket, again);
  });
}
LoopbackServer::Serve stallingAfter(std::string text) {
  return answeringThen(std::move(text), [](Socket&) { return LoopbackServer::stall(); });
}
LoopbackServer::Serve resettingAfter(std::string text) {
  return answeringThen(std::move(text), [](Socket& socket) -> Awaitable<void> {
    socket.set_option(boost::asio::socket_base::linger(true, 0));
    co_return;
  });
}

TEST_F(HTTPSessionTest, NobodyThere) {
  HTTPRequest request;
  {
    LoopbackServer gone(answering(""));
    request = gone.request("/");
  }
  EXPECT_EQ(failureOf(request), "The service could not be reached.");
  request.url.host = "nobody.invalid";
  request.timeout = 5s;  // where the lookup is slow
  EXPECT_NE(failureOf(request).find("answered"), 0u);
}

/// Answers each request on a kept connection until `count`, then closes without a word.
LoopbackServer::Serve keeping(int count) {
  return [count](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    for (int left = count; left > 0; --left) {
      co_await self.readRequest(socket);
      co_await LoopbackServer::write(socket, LoopbackServer::answer(200, "{}"));
    }
    co_await self.readRequest(socket);
  };
}

TEST_F(HTTPSessionTest, ReusesAConnectionAndSendsNothingTwice) {
  LoopbackServer server(keeping(2));
  for (const char* method : {"GET", "POST"}) {
    const int before = server.connections();
    EXPECT_EQ(send(server.request("/1", method)).status, 200);
    EXPECT_EQ(send(server.request("/2", method)).status, 200);
    EXPECT_EQ(failureOf(server.request("/3", method)), kLost);
    EXPECT_EQ(server.connections(), before + 1);
  }
  EXPECT_EQ(server.requests().size(), 6u);
}

TEST_F(HTTPSessionTest, VerifiesTheCertificateItsNameAndItsTime) {
  const std::string clock = "Check the clock.";
  using Hours = std::chrono::hours;
  const std::tuple<bool, const char*, Hours, Hours, std::string> cases[] = {
      {true, "localhost", -1h, 1h, "secret"},
      {false, "localhost", -1h, 1h, kNotSecure},
      {true, "other.example", -1h, 1h, kNotSecure},
      {true, "localhost", -48h, -24h, clock},
      {true, "localhost", 24h, 48h, clock}};
  for (const auto& [trusted, name, from, until, expected] : cases) {
    LoopbackTLS server(name, from, until);
    HTTPSession own(network.executor());
    if (trusted) own.tls().add_certificate_authority(boost::asio::buffer(server.certificate()));
    std::string outcome;
    try {
      outcome = main.await(own.send(server.request())).body;
    } catch (const TransportError& error) {
      outcome = error.what();
    }
    EXPECT_NE(outcome.find(expected), outcome.npos) << trusted << name << ": " << outcome;
    EXPECT_EQ(outcome == "secret", expected == "secret");
  }
}

TEST_F(HTTPSessionTest, HopsSurviveACancellationAtAnyMomentOfTheirEnd) {
  for (int round = 0; round < 500; ++round) {
    Attempt hop(main.executor(), [&]() -> Awaitable<void> {
      co_await runOn(network.executor(), []() -> Awaitable<void> { co_return; }());
    });
    for (int step = 0; step < round % 7; ++step) std::this_thread::yield();
    main.runUntil([&] { return hop.begun; });
    main.runUntil([&, polls = 0]() mutable { return hop.isOver() || ++polls > round % 4; });
    hop.task.cancel();
    ASSERT_TRUE(main.runUntil([&] { return hop.isOver(); })) << round;
  }
}

TEST_F(HTTPSessionTest, TellsAnswersFromWhatIsNone) {
  using Row = std::tuple<std::string, std::string, std::string, std::string>;
  for (const auto& [what, then, text, expected] : rows<Row>("http_answers", "answers")) {
    LoopbackServer server(then == "stalls"   ? stallingAfter(text)
                          : then == "resets" ? resettingAfter(text)
                                             : answering(text));
    HTTPRequest request = server.request("/");
    request.timeout = then == "stalls" ? 50ms : 80'000ms;
    EXPECT_EQ(failureOf(std::move(request)), expected) << what;
    EXPECT_LE(server.connections(), 1) << what << ", tried again";
  }
}

TEST_F(HTTPSessionTest, EndsAnswersThatNeverWould) {
  const std::string block(64 * 1024, 'x');
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", "10000\r\n" + block + "\r\n",
       "The answer was too long."},
      {"HTTP/1.1 200 OK\r\n", "X: " + block + "\r\n", "No HTTP response"},
      {"HTTP/1.1 200 OK\r\nX: ", block, "No HTTP response"},
      {"", "HTTP/1.1 100 Continue\r\n\r\n", kLate},
  };
  for (const auto& [head, again, expected] : cases) {
    LoopbackServer server(repeating(head, again));
    HTTPRequest request = server.request("/");
    request.timeout = expected == kLate ? 200ms : 80'000ms;
    EXPECT_EQ(failureOf(std::move(request)), expected) << again.substr(0, 40);
  }
}

TEST_F(HTTPSessionTest, HearsAnAnswerThatComesWhileTheBodyIsStillBeingSent) {
  for (const bool stays : {false, true}) {
    LoopbackServer server([stays](LoopbackServer&, LoopbackServer::Socket socket) -> Awaitable<void> {
      std::array<char, 500> head;
      co_await socket.async_read_some(boost::asio::buffer(head), boost::asio::use_awaitable);
      co_await LoopbackServer::write(socket, LoopbackServer::answer(413, "too much"));
      if (stays) co_await LoopbackServer::stall();  // and takes no more of it; otherwise resets the connection
    });
    HTTPRequest request = server.request("/");
    request.method = "POST";
    request.body.assign(12'000'000, 'x');
    EXPECT_EQ(failureOf(std::move(request)), "answered 413") << stays;
  }
}

TEST_F(HTTPSessionTest, BoundsConnectingAndSendingToo) {
  const FullListener full;
  LoopbackServer deaf(&neverReads);
  for (HTTPRequest request :
       {full.request(), full.request("https"), deaf.request("/", "POST"), deaf.request("/", "GET", "https")}) {
    if (request.method == "POST") request.body.assign(12 << 20, 'x');
    request.timeout = 100ms;
    EXPECT_EQ(failureOf(request), kLate) << request.url.text();
  }
}

TEST_F(HTTPSessionTest, ASecureConnectionNeedsASecureService) {
  LoopbackServer plain([](LoopbackServer&, Socket socket) -> Awaitable<void> {
    co_await LoopbackServer::write(socket, "HTTP/1.1 400 Bad\r\n\r\n");
    co_await LoopbackServer::stall();
  });
  EXPECT_EQ(failureOf(plain.request("/", "GET", "https")), kNotSecure);
  LoopbackServer gone([](LoopbackServer&, Socket) -> Awaitable<void> { co_return; });
  const std::string failure = failureOf(gone.request("/", "GET", "https"));
  EXPECT_TRUE(failure == kNotSecure || failure == kLost) << failure;
}

TEST_F(HTTPSessionTest, CancelsAtEveryStage) {
  const FullListener full;
  LoopbackServer deaf(&neverReads);
  std::atomic<bool> halfSent = false;
  LoopbackServer half([&](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    co_await self.readRequest(socket);
    co_await LoopbackServer::write(socket, "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nab");
    halfSent = true;
    co_await LoopbackServer::stall();
  });
  HTTPRequest upload = deaf.request("/", "POST");
  upload.body.assign(12 << 20, 'x');
  const std::tuple<const char*, HTTPRequest, std::function<bool()>> cases[] = {
      {"connecting", full.request(), [&] { return full.isTried(); }},
      {"connecting for TLS", full.request("https"), [&] { return full.isTried(); }},
      {"shaking hands", deaf.request("/", "GET", "https"), [&] { return deaf.connections() == 1; }},
      {"sending", upload, [&] { return deaf.connections() == 2; }},
      {"reading the body", half.request("/"), [&] { return halfSent.load(); }},
  };
  for (const auto& [stage, request, reached] : cases) {
    Attempt attempt(main.executor(), [&, request = request]() -> Awaitable<void> { co_await session.send(request); });
    EXPECT_TRUE(main.runUntil(reached)) << stage;
    attempt.task.cancel();
    EXPECT_TRUE(main.runUntil([&] { return !attempt.outcome.empty(); })) << stage;
    EXPECT_EQ(attempt.outcome, "cancelled") << stage;
  }
}

TEST_F(HTTPSessionTest, SurvivesACancellationAtAnyStep) {
  LoopbackServer server(answering(LoopbackServer::answer(200, "{}")));
  LoopbackTLS secure("localhost");
  session.tls().add_certificate_authority(boost::asio::buffer(secure.certificate()));
  HTTPRequest unknown = server.request("/");
  unknown.url.host = "nobody.invalid";
  const HTTPRequest requests[] = {server.request("/"), secure.request(), unknown};
  for (int round = 0; round < 150; ++round) {
    Attempt attempt(main.executor(), [&]() -> Awaitable<void> { co_await session.send(requests[round % 3]); });
    main.runUntil(
        [&, looks = 0]() mutable {
          for (int turn = 0; turn < round; ++turn) std::this_thread::yield();
          return !attempt.outcome.empty() || ++looks > round / 3 % 3;
        },
        1s);
    attempt.task.cancel();
    EXPECT_TRUE(main.runUntil([&] { return !attempt.begun || !attempt.outcome.empty(); })) << round;
  }
  EXPECT_EQ(failureOf(server.request("/")), "answered 200") << "the session still works";
}

using Endpoint = Dialer::TCP::endpoint;
using boost::system::error_code;
namespace error = boost::asio::error;

Endpoint loopback(std::uint16_t port = 0) {
  return {boost::asio::ip::address_v4::loopback(), port};
}

class DialerTest : public testing::Test {
 protected:
  /// An address where nobody answers, as behind a firewall.
  Endpoint silent() const { return full_.endpoint(); }
  Endpoint refusing() {
    Dialer::TCP::acceptor closed(context, loopback());
    return closed.local_endpoint();
  }
  static Dialer::Lookup gives(Dialer::Endpoints endpoints) {
    return [endpoints = std::move(endpoints)](const std::string&, const std::string&) { return endpoints; };
  }
  /// Where it came out, or why not.
  std::variant<Endpoint, error_code> dial(Dialer& dialer) {
    try {
      return test::await(context, dialer.dial("quillet.example", "443")).remote_endpoint();
    } catch (const boost::system::system_error& failure) {
      return failure.code();
    }
  }
  std::variant<Endpoint, error_code> dial(Dialer::Endpoints endpoints) {
    Dialer dialer(context.get_executor(), gives(std::move(endpoints)));
    return dial(dialer);
  }

  boost::asio::io_context context;
  Dialer::TCP::acceptor service{context, loopback()};
  const test::FullListener full_;
};

TEST_F(DialerTest, TakesTheFirstAddressThatAnswers) {
  const Endpoint there = service.local_endpoint();
  using Outcome = std::variant<Endpoint, error_code>;
  EXPECT_EQ(dial({refusing(), there}), Outcome(there));
  EXPECT_EQ(dial({silent(), refusing(), there}), Outcome(there));
  EXPECT_EQ(dial({refusing(), refusing()}), Outcome(error_code(error::connection_refused)));
  EXPECT_EQ(dial(Dialer::Endpoints{}), Outcome(error_code(error::host_not_found)));
}

TEST_F(DialerTest, EndsAtOnceWhenItIsCancelled) {
  Dialer dialer(context.get_executor(), gives({silent()}));
  boost::asio::steady_timer soon(context, std::chrono::milliseconds(5));
  soon.async_wait([&](error_code) { dialer.cancel(); });
  const std::variant<Endpoint, error_code> aborted = error_code(error::operation_aborted);
  EXPECT_EQ(dial(dialer), aborted);
  EXPECT_EQ(dial(dialer), aborted) << "for good";
}

TEST_F(DialerTest, ALookupThatHangsHoldsNobodyUp) {
  std::promise<void> asked, release, left;
  const auto hangs = [&](const std::string&, const std::string&) -> Dialer::Endpoints {
    asked.set_value();
    release.get_future().wait();
    left.set_value_at_thread_exit();
    return {loopback(1)};
  };
  auto network = std::make_unique<test::NetworkThread>();
  auto dialer = std::make_shared<Dialer>(network->executor(), hangs);
  boost::asio::co_spawn(
      network->executor(),
      [](std::shared_ptr<Dialer> used) -> Awaitable<void> { co_await used->dial("quillet.example", "443"); }(dialer),
      [](const std::exception_ptr&) {});
  asked.get_future().wait();
  dialer.reset();
  network.reset();
  release.set_value();
  left.get_future().wait();
}

}  // namespace
}  // namespace quillet::test
