// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/WebSocketTask.h"
#include "Tests/Doubles/Calls.h"
#include "Tests/Kit/HTTPSessionFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Socket = LoopbackServer::Socket;
namespace websocket = boost::beast::websocket;

struct WebSocketTest : HTTPSessionTest {
  std::atomic<int> closeCode{0};

  std::unique_ptr<WebSocketTask> open(LoopbackServer& server, std::chrono::milliseconds timeout = 20s) {
    HTTPRequest request = server.request("/v1/mac/connect", "GET", "ws");
    request.headers = {{"X-QLT-Device", "d"}};
    request.timeout = timeout;
    auto task = makeWebSocketTask(session, main.executor(), std::move(request), 1000);
    task->resume();
    return task;
  }
  /// "text …", "binary …" or the failure.
  std::string receive(WebSocketTask& task) {
    try {
      const WebSocketMessage message = main.await(task.receive());
      return (message.isText ? "text " : "binary ") + message.data.substr(0, 20);
    } catch (const TransportError&) {
      return "failed";
    }
  }
  /// Reads until the other side ends it, counting the texts, and keeps the close code.
  LoopbackServer::Serve reading(std::atomic<int>& texts) {
    return [this, &texts](LoopbackServer& self, Socket socket) -> Awaitable<void> {
      auto stream = co_await self.upgrade(std::move(socket));
      try {
        for (;;) {
          co_await LoopbackServer::readText(stream);
          ++texts;
        }
      } catch (const boost::system::system_error& error) {
        closeCode = error.code() == websocket::error::closed ? stream.reason().code : 1006;
      }
    };
  }
};

TEST_F(WebSocketTest, SendsInOrderAndReceivesWhatTheOtherSideSays) {
  LoopbackServer server([](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    auto stream = co_await self.upgrade(std::move(socket));
    co_await stream.async_ping({}, boost::asio::use_awaitable);
    for (int i = 0; i < 4; ++i) {
      const std::string data = co_await LoopbackServer::readText(stream);
      stream.text(stream.got_text());
      co_await stream.async_write(boost::asio::buffer(data), boost::asio::use_awaitable);
    }
    stream.next_layer().shutdown(Socket::shutdown_send);
    co_await LoopbackServer::readText(stream);  // a pong left unread would reset what is still on its way
  });
  const auto task = open(server);
  std::vector<std::string> completed;
  for (const std::string text : {"one", "two"}) {
    task->sendText(text, [&completed, text](bool written) { completed.push_back(written ? text : "lost"); });
  }
  main.await(task->send({false, std::string("\0\xff\0", 3)}));
  EXPECT_EQ(completed, (std::vector<std::string>{"one", "two"}));
  main.await(task->send({true, "four"}));
  EXPECT_EQ(receive(*task), "text one");
  EXPECT_EQ(receive(*task), "text two");
  EXPECT_EQ(receive(*task), std::string("binary \0\xff\0", 10));
  EXPECT_EQ(receive(*task), "text four");
  EXPECT_EQ(server.requests().at(0)["X-QLT-Device"], "d");
  EXPECT_FALSE(task->refusedStatus());
  EXPECT_EQ(receive(*task), "failed");
  EXPECT_THROW(main.await(task->send({false, "late"})), TransportError);
}

TEST_F(WebSocketTest, AMessageOverTheLimitFailsForGood) {
  for (const std::size_t size : {1000, 1001}) {
    LoopbackServer server([size](LoopbackServer& self, Socket socket) -> Awaitable<void> {
      auto stream = co_await self.upgrade(std::move(socket));
      co_await stream.async_write(boost::asio::buffer(std::string(size, 'x')), boost::asio::use_awaitable);
    });
    const auto task = open(server);
    EXPECT_EQ(receive(*task), size == 1000 ? "text " + std::string(20, 'x') : "failed");
    EXPECT_EQ(receive(*task), "failed") << "a failure stays one";
  }
}

TEST_F(WebSocketTest, FailsAnUpgradeThatChoosesWhatWasNotOffered) {
  for (const char* field : {"Sec-WebSocket-Extensions", "Sec-WebSocket-Protocol", "X-Other"}) {
    LoopbackServer server([field](LoopbackServer& self, Socket socket) -> Awaitable<void> {
      const auto request = co_await self.readRequest(socket);
      LoopbackServer::WebSocket stream(std::move(socket));
      stream.set_option(websocket::stream_base::decorator(
          [field](websocket::response_type& response) { response.set(field, "mbstream"); }));
      co_await stream.async_accept(request, boost::asio::use_awaitable);
      co_await stream.async_write(boost::asio::buffer("hello", 5), boost::asio::use_awaitable);
    });
    const auto task = makeWebSocketTask(session, main.executor(), server.request("/"), 1000);
    task->resume();
    EXPECT_EQ(receive(*task), std::string(field) == "X-Other" ? "text hello" : "failed") << field;
  }
}

TEST_F(WebSocketTest, BoundsTheUpgrade) {
  LoopbackServer deaf(&neverReads);
  const auto task = open(deaf, 50ms);
  EXPECT_EQ(receive(*task), "failed");
}

TEST_F(WebSocketTest, EndsPolitelyAfterWhatWasQueuedOrDropsAtOnce) {
  for (const int code : {1001, 1000, 1006}) {
    closeCode = 0;
    std::atomic<int> texts{0};
    LoopbackServer server(reading(texts));
    auto task = open(server);
    bool proved = false;
    task->sendText("ping", [&](bool written) { proved = written; });
    ASSERT_TRUE(main.runUntil([&] { return proved; }));
    for (int i = 0; i < 5; ++i) task->sendText("last words", [](bool) { FAIL() << "called back after its end"; });
    auto kept = std::make_shared<int>();
    const std::weak_ptr<int> untilClosed = kept;
    task->cancel(code, std::move(kept));
    task.reset();
    EXPECT_TRUE(main.runUntil([&] { return untilClosed.expired(); }));
    if (code != 1006) EXPECT_EQ(texts, 6) << "let go before the last words were there";
    EXPECT_TRUE(main.runUntil([&] { return closeCode != 0; }));
    EXPECT_EQ(closeCode, code);
  }
}

/// The library's own reading of whole messages stops the process here.
TEST_F(WebSocketTest, EndsPolitelyWhileAMessageComesInFragments) {
  const std::string message("\x01\x01[\x80\x01]", 6);
  std::string burst;
  for (int i = 0; i < 20'000; ++i) burst += message;
  for (int i = 0; i < 20; ++i) {
    closeCode = 0;
    LoopbackServer server([&](LoopbackServer& self, Socket socket) -> Awaitable<void> {
      auto stream = co_await self.upgrade(std::move(socket));
      co_await LoopbackServer::write(stream.next_layer(), burst);
      boost::beast::flat_buffer buffer;
      boost::system::error_code error;
      while (!error) {
        co_await stream.async_read(buffer, boost::asio::redirect_error(boost::asio::use_awaitable, error));
      }
      closeCode = stream.reason().code == 1001 ? 1001 : 1;
    });
    const auto task = open(server);
    EXPECT_EQ(receive(*task), "text []");
    task->cancel(1001);
    EXPECT_TRUE(main.runUntil([&] { return closeCode != 0; }));
    EXPECT_EQ(closeCode, 1001);
  }
}

TEST_F(WebSocketTest, MayGoAwayAtEveryStage) {
  const FullListener full;
  LoopbackServer deaf(&neverReads);
  const std::tuple<const char*, HTTPRequest, std::function<bool()>> cases[] = {
      {"at once", deaf.request("/", "GET", "ws"), [] { return true; }},
      {"connecting", full.request("ws"), [&] { return full.isTried(); }},
      {"shaking hands", deaf.request("/", "GET", "wss"), [&] { return deaf.connections() > 0; }},
      {"upgrading", deaf.request("/", "GET", "ws"), [&] { return deaf.connections() > 1; }},
  };
  for (const auto& [stage, request, reached] : cases) {
    auto task = makeWebSocketTask(session, main.executor(), request, 1000);
    task->resume();
    task->sendText("ping", [](bool) { FAIL() << "called back after its end"; });
    Attempt listener(main.executor(), [&]() -> Awaitable<void> { co_await task->receive(); });
    EXPECT_TRUE(main.runUntil(reached)) << stage;
    settle(main, network);
    task.reset();
    EXPECT_TRUE(main.runUntil([&] { return listener.outcome == "cancelled"; })) << stage;
  }
}

TEST_F(WebSocketTest, ACancelledReceiveLeavesTheSocketAlone) {
  std::atomic<int> texts{0};
  LoopbackServer server(reading(texts));
  auto task = open(server);
  for (const bool destroyed : {false, true}) {
    Attempt listener(main.executor(), [&]() -> Awaitable<void> { co_await task->receive(); });
    bool written = false;
    task->sendText("x", [&](bool success) { written = success; });
    EXPECT_TRUE(main.runUntil([&] { return written; }));
    destroyed ? task.reset() : listener.task.cancel();
    EXPECT_TRUE(main.runUntil([&] { return listener.outcome == "cancelled"; })) << destroyed;
  }
}

}  // namespace
}  // namespace quillet::test
