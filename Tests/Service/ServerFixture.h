// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include "QuilletKit/Network/WebSocketTask.h"
#include "QuilletService/Transport/HTTPServer.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {

/// A whole service on a loopback port, and real clients of it, all on one thread.
class ServerTest : public testing::Test {
 protected:
  using Socket = boost::asio::ip::tcp::socket;
  static constexpr std::size_t kFrameLimit = 1 << 20;

  /// Starts the service; its database is in `folder`.
  void serve(const ServerLimits& limits = {}, ServiceSettings settings = {},
             const std::optional<TLSFiles>& tls = std::nullopt) {
    settings.database = folder.path() / "db";
    service.emplace(context.get_executor(), systemTime(context.get_executor()), settings);
    server.emplace(context, *service, host, 0, tls, limits);
    server->start();
    macAPI.emplace(url(), mac.identity, session);
    phoneAPI.emplace(url(), phone.identity, session);
  }
  /// Ends it in order. A test that has served ends so by itself.
  void stop() {
    bool stopped = false;
    server->stop([&] { stopped = true; });
    runUntil([&] { return stopped; });
    EXPECT_TRUE(stopped) << "a connection outlived the server's stop";
    server.reset();
    service.reset();
  }
  void TearDown() override {
    if (server) stop();
    context.restart();
    context.poll();
  }

  bool runUntil(const std::function<bool()>& happened) { return test::runUntil(context, happened); }
  /// Runs a coroutine of the test to its end.
  template <typename Body>
  void play(Body body) {
    await(context, body());
  }

  ServiceURL url() { return ServiceURL::parse(server->url()).value(); }

  /// A connection over IPv4 from one of this machine's loopback addresses.
  Awaitable<Socket> dial(std::string source = "127.0.0.1") {
    Socket socket(context, {boost::asio::ip::make_address(source), 0});
    const auto loopback = boost::asio::ip::address_v4::loopback();
    co_await socket.async_connect({loopback, server->endpoint().port()}, boost::asio::use_awaitable);
    co_return socket;
  }
  static Awaitable<void> write(Socket& socket, std::string text) {
    boost::system::error_code closed;
    co_await boost::asio::async_write(socket, boost::asio::buffer(text),
                                      boost::asio::redirect_error(boost::asio::use_awaitable, closed));
  }
  static Awaitable<std::string> readToEnd(Socket& socket) {
    std::string answer;
    boost::system::error_code end;
    co_await boost::asio::async_read(socket, boost::asio::dynamic_buffer(answer),
                                     boost::asio::redirect_error(boost::asio::use_awaitable, end));
    co_return answer;
  }
  /// Sends bytes on a connection of their own and reads to its end.
  Awaitable<std::string> raw(std::string request, std::string source = "127.0.0.1") {
    Socket socket = co_await dial(std::move(source));
    co_await write(socket, std::move(request));
    co_return co_await readToEnd(socket);
  }
  std::string answerTo(const std::string& request, const std::string& source = "127.0.0.1") {
    return await(context, raw(request, source));
  }
  /// The three digits of an answer; empty for none.
  static std::string statusIn(const std::string& answer) {
    return answer.starts_with("HTTP/1.1 ") ? answer.substr(9, 3) : std::string();
  }
  /// A signed request as it goes on the wire, for one connection.
  std::string wire(const Party& party, const std::string& method, const std::string& target,
                   const std::string& body = {}, const std::string& moreHeaders = {}) {
    HTTPRequest request;
    request.method = method;
    request.url = url().resolve(target);
    request.body = body;
    RequestSigner(party.identity).sign(request, Clock::now());
    const std::string headers = moreHeaders.empty() ? "Connection: close\r\n" : moreHeaders;
    std::string text = method + " " + target + " HTTP/1.1\r\nHost: a\r\n" + headers;
    for (const auto& [name, value] : request.headers) text.append(name).append(": ").append(value).append("\r\n");
    return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  }

  Awaitable<void> enrol() {
    co_await macAPI->registerDevice(mac.peer.platform, mac.name, "1.0");
    co_await phoneAPI->registerDevice(phone.peer.platform, phone.name, "1.0");
  }
  Awaitable<void> pair() { return pairOver(*macAPI, *phoneAPI); }
  Awaitable<void> enrolAndPair() {
    co_await enrol();
    co_await pair();
  }
  /// A desktop's socket with a ping under way.
  std::unique_ptr<WebSocketTask> connect(APIClient& api) {
    auto socket = makeWebSocketTask(session, context.get_executor(), api.relayRequest(), kFrameLimit);
    socket->resume();
    socket->sendText("ping", [](bool) {});
    return socket;
  }
  Awaitable<std::unique_ptr<WebSocketTask>> provedSocket() {
    auto socket = connect(*macAPI);
    EXPECT_EQ((co_await socket->receive()).data, "pong");
    co_return socket;
  }
  template <typename Message>
  Awaitable<Message> next(WebSocketTask& socket) {
    const WebSocketMessage message = co_await socket.receive();
    co_return std::get<Message>(JSONCoding::decode<RelayServerMessage>(message.data));
  }
  template <typename Message>
  void send(WebSocketTask& socket, Message message) {
    socket.sendText(JSONCoding::encode(RelayClientMessage(std::move(message))), [](bool) {});
  }
  DeliveryRequest delivery(const std::string& utterance, const std::string& content = "{}") {
    return {utterance, Envelope::sealBytes(content, EnvelopePurpose::delivery, phone.identity, mac.peer)};
  }

  boost::asio::io_context context{1};
  TemporaryFolder folder;
  std::string host = "127.0.0.1";  ///< What is served.
  std::optional<Service> service;
  std::optional<HTTPServer> server;
  HTTPSession session{context.get_executor()};
  Party mac{"Desk", DevicePlatform::windows}, phone{"Pocket", DevicePlatform::ios};
  std::optional<APIClient> macAPI, phoneAPI;  ///< Of the service that was started last.
};

}  // namespace quillet::test
