// SPDX-License-Identifier: MIT
#include "QuilletKit/APIClient.h"
#include "Tests/Kit/HTTPSessionFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Socket = LoopbackServer::Socket;

const std::string kLost = "The connection was lost.";
const std::string kLate = "The request timed out.";
const std::string kNotSecure = "A secure connection could not be made.";

/// A service that reads the request and then sends the text again and again, for as long as it is taken.
LoopbackServer::Serve repeating(std::string head, std::string text) {
  return [head, text](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    const std::string first = head, again = text;
    co_await self.readRequest(socket);
    co_await LoopbackServer::write(socket, first);
    for (;;) co_await LoopbackServer::write(socket, again);
  };
}

LoopbackServer::Serve stallingAfter(std::string text) {
  return [text](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    const std::string copy = text;
    co_await self.readRequest(socket);
    co_await LoopbackServer::write(socket, copy);
    co_await LoopbackServer::stall();
  };
}

LoopbackServer::Serve resettingAfter(std::string text) {
  return [text](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    const std::string copy = text;
    co_await self.readRequest(socket);
    co_await LoopbackServer::write(socket, copy);
    socket.set_option(boost::asio::socket_base::linger(true, 0));
  };
}

Awaitable<void> neverReads(LoopbackServer&, Socket socket) {
  co_await LoopbackServer::stall();
  socket.close();
}

TEST_F(HTTPSessionTest, EndsAnswersThatNeverWould) {
  const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  const std::string block(64 * 1024, 'x');
  const struct {
    const char* what;
    LoopbackServer::Serve serve;
    std::string expected;
    std::chrono::milliseconds timeout;
  } cases[] = {
      {"chunks for ever", repeating(chunked, "10000\r\n" + block + "\r\n"), "The answer was too long.", 80s},
      {"a header for ever", repeating("HTTP/1.1 200 OK\r\n", "X: " + block + "\r\n"), "No HTTP response", 80s},
      {"one line for ever", repeating("HTTP/1.1 200 OK\r\nX: ", block), "No HTTP response", 80s},
      {"interim answers for ever", repeating("", "HTTP/1.1 100 Continue\r\n\r\n"), kLate, 200ms},
      {"nothing", stallingAfter(""), kLate, 50ms},
      {"half a chunk", stallingAfter(chunked + "5\r\nab"), kLate, 50ms},
      {"half a body", stallingAfter("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nab"), kLate, 50ms},
      {"reset before the answer", resettingAfter(""), kLost, 80s},
      {"reset in a body", resettingAfter("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nab"), kLost, 80s},
      {"cut in a chunk", answering(chunked + "5\r\nab"), kLost, 80s},
      {"two lengths", answering("HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nab"),
       "No HTTP response", 80s},
      {"a bad chunk", answering(chunked + "zz\r\nab"), "No HTTP response", 80s},
  };
  for (const auto& [what, serve, expected, timeout] : cases) {
    LoopbackServer server(serve);
    HTTPRequest request = server.request("/");
    request.timeout = timeout;
    EXPECT_EQ(failureOf(std::move(request)), expected) << what;
    EXPECT_LE(server.connections(), 1) << what;  // 0 where the server was slower than the limit
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

TEST_F(HTTPSessionTest, ACertificateOutOfDateNamesTheClock) {
  for (const auto& [from, until] : {std::pair(-48h, -24h), std::pair(24h, 48h)}) {
    LoopbackTLS server("localhost", from, until);
    HTTPSession own(network.executor());
    own.tls().add_certificate_authority(boost::asio::buffer(server.certificate()));
    try {
      main.await(own.send(server.request()));
      ADD_FAILURE() << "answered";
    } catch (const TransportError& error) {
      EXPECT_NE(std::string(error.what()).find("Check the clock."), std::string::npos) << error.what();
    }
  }
}

TEST_F(HTTPSessionTest, TheClientMakesAnErrorOfEveryAnswerThatIsNone) {
  using Server = APIError::Server;
  const std::string phrase = "The service answered with status 555.";
  const std::pair<std::string, std::optional<Server>> cases[] = {
      {LoopbackServer::answer(502, "<html>Bad \xff gateway</html>"), Server{502, {"http_502", "Bad Gateway", true}}},
      {LoopbackServer::answer(555, ""), Server{555, {"http_555", phrase, true}}},
      {"HTTP/1.1 307 T\r\nLocation: /elsewhere\r\nContent-Length: 0\r\n\r\n",
       Server{307, {"http_307", "Temporary Redirect", false}}},
      {LoopbackServer::answer(200, ""), std::nullopt},
      {LoopbackServer::answer(200, "{\"ok\":tr"), std::nullopt},
      {LoopbackServer::answer(200, "{\"ok\":true,\"x\":\"\xff\"}"), std::nullopt},
      {LoopbackServer::answer(200, std::string(1 << 20, '[')), std::nullopt},
      {LoopbackServer::answer(200, "<html>Welcome to the hotel"), std::nullopt},
  };
  for (const auto& [answer, expected] : cases) {
    LoopbackServer server(answering(answer));
    APIClient api(server.url(), DeviceIdentity::generate(), session);
    try {
      main.await(api.rename("n"));
      ADD_FAILURE() << answer.substr(0, 100);
    } catch (const APIError& error) {
      EXPECT_EQ(std::holds_alternative<APIError::Decoding>(error.detail), !expected) << answer.substr(0, 100);
      if (expected) {
        EXPECT_EQ(error, APIError(*expected)) << error.what();
      }
    }
    EXPECT_EQ(server.requests().size(), 1u) << answer.substr(0, 100);
  }
}

/// A request under way in a task.
struct Attempt {
  Attempt(MainThread& main, HTTPSession& session, const HTTPRequest& request) : task(main.executor()) {
    task.start([this, &session, request]() -> Awaitable<void> {
      begun = true;
      try {
        co_await session.send(request);
        outcome = "answered";
      } catch (const std::exception& error) {
        outcome = isCancellation(error) ? "cancelled" : error.what();
      }
    });
  }
  Task task;
  bool begun = false;
  std::string outcome;
};

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
  const struct {
    const char* stage;
    HTTPRequest request;
    std::function<bool()> reached;
  } cases[] = {
      {"connecting", full.request(), [&] { return full.isTried(); }},
      {"connecting for TLS", full.request("https"), [&] { return full.isTried(); }},
      {"shaking hands", deaf.request("/", "GET", "https"), [&] { return deaf.connections() == 1; }},
      {"sending", upload, [&] { return deaf.connections() == 2; }},
      {"reading the body", half.request("/"), [&] { return halfSent.load(); }},
  };
  for (const auto& [stage, request, reached] : cases) {
    Attempt attempt(main, session, request);
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
    Attempt attempt(main, session, requests[round % 3]);
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

}  // namespace
}  // namespace quillet::test
