// SPDX-License-Identifier: MIT
#include "QuilletKit/RunOn.h"
#include "Tests/Kit/HTTPSessionFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Socket = LoopbackServer::Socket;

TEST_F(HTTPSessionTest, SendsTheRequestAsItStands) {
  LoopbackServer server(answering(LoopbackServer::answer(207, "body")));
  HTTPRequest request = server.request("/a%20b?q=%2F", "PATCH");
  request.headers = {{"X-One", "1"}, {"Content-Type", "text/x"}};
  request.body = std::string("x\0y", 3);
  const HTTPResponse response = send(request);
  EXPECT_EQ(response.status, 207);
  EXPECT_EQ(response.body, "body");
  const auto seen = server.requests().at(0);
  EXPECT_EQ(seen.method_string(), "PATCH");
  EXPECT_EQ(seen.target(), "/a%20b?q=%2F");
  EXPECT_EQ(seen["X-One"], "1");
  EXPECT_EQ(seen["Host"], server.url().authority());
  EXPECT_EQ(seen["Content-Length"], "3");
  EXPECT_EQ(seen.body(), request.body);
}

TEST_F(HTTPSessionTest, TellsAnswersFromWhatIsNone) {
  const std::string lost = "The connection was lost.";
  const std::pair<std::string, std::string> cases[] = {
      {"HTTP/1.1 302 Found\r\nLocation: /x\r\nContent-Length: 0\r\n\r\n", "answered 302"},
      {"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", "answered 200"},
      {"HTTP/1.0 502 Bad Gateway\r\n\r\n<html>until the end", "answered 502"},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n", "answered 200"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ncut", lost},
      {"", lost},
      {"SSH-2.0-Other\r\n\r\n", "No HTTP response"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 99999999\r\n\r\n", "The answer was too long."},
  };
  for (const auto& [text, expected] : cases) {
    LoopbackServer server(answering(text));
    EXPECT_EQ(failureOf(server.request("/")), expected) << text;
    EXPECT_EQ(server.connections(), 1) << text;
  }
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

TEST_F(HTTPSessionTest, BoundsTheWholeExchange) {
  LoopbackServer server([](LoopbackServer&, Socket socket) -> Awaitable<void> {
    for (boost::asio::steady_timer tick(co_await boost::asio::this_coro::executor);;) {
      co_await LoopbackServer::write(socket,
                                     "HTTP/1.1 200 OK\r\nX: y\r\n");  // bytes keep coming, the answer never ends
      tick.expires_after(20ms);
      co_await tick.async_wait(boost::asio::use_awaitable);
    }
  });
  HTTPRequest request = server.request("/");
  request.timeout = 100ms;
  EXPECT_EQ(failureOf(request), "The request timed out.");
}

TEST_F(HTTPSessionTest, CancellationIsNoTransportError) {
  LoopbackServer server([](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    co_await self.readRequest(socket);
    co_await LoopbackServer::stall();
  });
  for (const bool early : {true, false}) {
    std::string outcome;
    Task task(main.executor());
    task.start([&]() -> Awaitable<void> {
      try {
        co_await session.send(server.request("/"));
        outcome = "answered";
      } catch (const std::exception& error) {
        outcome = isCancellation(error) ? "cancelled" : error.what();
      }
    });
    const auto before = server.requests().size();
    main.runUntil([&] { return early ? server.connections() > 0 : server.requests().size() > before; });
    task.cancel();
    EXPECT_TRUE(main.runUntil([&] { return !outcome.empty(); }));
    EXPECT_EQ(outcome, "cancelled") << early;
  }
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
    EXPECT_EQ(failureOf(server.request("/3", method)), "The connection was lost.");
    EXPECT_EQ(server.connections(), before + 1);
  }
  EXPECT_EQ(server.requests().size(), 6u);
}

TEST_F(HTTPSessionTest, VerifiesTheCertificateAndTheHostName) {
  struct Case {
    bool trusted;
    std::string certificateName;
    bool succeeds;
  };
  for (const auto& [trusted, name, succeeds] :
       {Case{true, "localhost", true}, {false, "localhost", false}, {true, "other.example", false}}) {
    LoopbackTLS server(name);
    HTTPSession own(network.executor());
    if (trusted) own.tls().add_certificate_authority(boost::asio::buffer(server.certificate()));
    std::string outcome;
    try {
      outcome = main.await(own.send(server.request())).body;
    } catch (const TransportError& error) {
      outcome = error.what();
    }
    EXPECT_EQ(outcome, succeeds ? "secret" : "A secure connection could not be made.") << trusted << " " << name;
  }
}

TEST_F(HTTPSessionTest, HopsSurviveACancellationAtAnyMomentOfTheirEnd) {
  int ended = 0;
  constexpr int kRounds = 500;
  for (int round = 0; round < kRounds; ++round) {
    Task task(main.executor());
    bool begun = false;
    bool finished = false;
    task.start([&]() -> Awaitable<void> {
      begun = true;
      try {
        co_await runOn(network.executor(), []() -> Awaitable<void> { co_return; }());
      } catch (const boost::system::system_error&) {
      }
      finished = true;
    });
    for (int step = 0; step < round % 7; ++step) std::this_thread::yield();
    main.runUntil([&] { return begun; });
    main.runUntil([&, polls = 0]() mutable { return finished || ++polls > round % 4; });
    task.cancel();
    main.runUntil([&] { return finished; });
    ended += finished ? 1 : 0;
  }
  EXPECT_EQ(ended, kRounds);
}

}  // namespace
}  // namespace quillet::test
