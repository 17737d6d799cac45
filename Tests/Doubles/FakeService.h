// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <map>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/WireModels.h"
#include "Tests/Doubles/LoopbackServer.h"

namespace quillet::test {

/// The service on a loopback socket, scripted: what each route answers, and what the relay says. Everything well at
/// first, with nobody paired. All operations may be called from the test's thread.
class FakeService {
 public:
  struct Reply {
    int status = 200;
    std::string body = R"({"ok":true})";
  };
  static Reply error(int status, const std::string& code) {
    return {status, R"({"error":{"code":")" + code + R"(","message":"No.","retryable":false}})"};
  }

  /// Routes are a method and a path, "GET /v1/pairs". From now on; a held reply goes out when it is released.
  void set(const std::string& route, Reply reply) {
    const std::lock_guard lock(mutex_);
    replies_[route] = std::move(reply);
  }
  void hold(const std::string& route) {
    const std::lock_guard lock(mutex_);
    held_[route] = std::make_shared<Event>();
  }
  void release(const std::string& route) {
    const std::lock_guard lock(mutex_);
    if (auto gate = held_.extract(route)) {
      boost::asio::post(server_.executor(), [event = gate.mapped()] { event->wake(); });
    }
  }
  /// The bodies of the requests to a route, in order of arrival.
  std::vector<std::string> bodies(const std::string& route) const {
    const std::lock_guard lock(mutex_);
    const auto found = bodies_.find(route);
    return found == bodies_.end() ? std::vector<std::string>{} : found->second;
  }
  std::size_t count(const std::string& route) const { return bodies(route).size(); }

  /// The status that refuses the relay's upgrade from now on.
  void refuseRelay(std::optional<int> status) {
    const std::lock_guard lock(mutex_);
    refusal_ = status;
  }
  void push(const RelayServerMessage& message) {
    const auto relay = currentRelay();
    boost::asio::post(relay->socket.get_executor(), [relay, text = JSONCoding::encode(message)] {
      relay->outgoing.push_back(text);
      relay->changed.wake();
    });
  }
  void dropRelay() {
    const auto relay = currentRelay();
    boost::asio::post(relay->socket.get_executor(), [relay] { boost::beast::get_lowest_layer(relay->socket).close(); });
  }
  /// What the desktop has sent through the relay, pings excepted.
  template <typename Frame>
  std::vector<Frame> frames() const {
    const std::lock_guard lock(mutex_);
    std::vector<Frame> found;
    for (const auto& text : frames_) {
      const auto message = JSONCoding::decode<RelayClientMessage>(text);
      if (const auto* frame = std::get_if<Frame>(&message)) found.push_back(*frame);
    }
    return found;
  }
  std::string url() const { return server_.url().text(); }

 private:
  struct Relay {
    explicit Relay(LoopbackServer::WebSocket stream) : socket(std::move(stream)) {}
    LoopbackServer::WebSocket socket;
    Event changed;
    std::deque<std::string> outgoing;
  };

  std::shared_ptr<Relay> currentRelay() const {
    const std::lock_guard lock(mutex_);
    return relay_.lock();
  }
  std::shared_ptr<Event> gateFor(const std::string& route) {
    const std::lock_guard lock(mutex_);
    const auto found = held_.find(route);
    return found == held_.end() ? nullptr : found->second;
  }
  Reply note(const std::string& route, const std::string& body) {
    const std::lock_guard lock(mutex_);
    bodies_[route].push_back(body);
    const auto found = replies_.find(route);
    return found == replies_.end() ? Reply{} : found->second;
  }

  Awaitable<void> serve(LoopbackServer& server, LoopbackServer::Socket socket) {
    for (;;) {
      const auto request = co_await server.readRequest(socket);
      const std::string route = std::string(request.method_string()) + " " + std::string(request.target());
      const Reply reply = note(route, request.body());
      if (boost::beast::websocket::is_upgrade(request)) {
        const auto refusal = refusedWith();
        if (!refusal) co_return co_await serveRelay(request, std::move(socket));
        co_await LoopbackServer::write(socket, LoopbackServer::answer(*refusal, "{}"));
        continue;
      }
      if (const auto gate = gateFor(route)) co_await gate->wait();
      co_await LoopbackServer::write(socket, LoopbackServer::answer(reply.status, reply.body));
    }
  }
  std::optional<int> refusedWith() const {
    const std::lock_guard lock(mutex_);
    return refusal_;
  }

  Awaitable<void> serveRelay(LoopbackServer::Request request, LoopbackServer::Socket socket) {
    const auto relay = std::make_shared<Relay>(LoopbackServer::WebSocket(std::move(socket)));
    co_await relay->socket.async_accept(request, boost::asio::use_awaitable);
    {
      const std::lock_guard lock(mutex_);
      relay_ = relay;
    }
    boost::asio::co_spawn(relay->socket.get_executor(), writeFrames(relay), [](const std::exception_ptr&) {});
    for (;;) {
      std::string text = co_await LoopbackServer::readText(relay->socket);
      if (text == "ping") {
        relay->outgoing.push_back("pong");
        relay->changed.wake();
        continue;
      }
      const std::lock_guard lock(mutex_);
      frames_.push_back(std::move(text));
    }
  }
  static Awaitable<void> writeFrames(std::shared_ptr<Relay> relay) {
    while (relay->socket.is_open()) {
      while (!relay->outgoing.empty()) {
        const std::string text = relay->outgoing.front();
        relay->outgoing.pop_front();
        co_await relay->socket.async_write(boost::asio::buffer(text), boost::asio::use_awaitable);
      }
      co_await relay->changed.wait();
    }
  }

  mutable std::mutex mutex_;
  std::map<std::string, Reply> replies_{
      {"POST /v1/devices/register", {200, R"({"deviceId":"any","registeredAt":1})"}},
      {"GET /v1/pairs", {200, R"({"pairs":[]})"}},
  };
  std::map<std::string, std::shared_ptr<Event>> held_;
  std::map<std::string, std::vector<std::string>> bodies_;
  std::vector<std::string> frames_;
  std::optional<int> refusal_;
  std::weak_ptr<Relay> relay_;
  LoopbackServer server_{
      [this](LoopbackServer& server, LoopbackServer::Socket socket) { return serve(server, std::move(socket)); }};
};

}  // namespace quillet::test
