// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/json.hpp>

#include "Tests/Doubles/LoopbackServer.h"

namespace quillet::test {

/// The parts of a body of multipart/form-data, by the rules of RFC 7578 and RFC 2046 and by nothing that our own writer
/// knows. Absent for a body that breaks them.
struct FormPart {
  std::string disposition, type, value;
};
inline std::optional<std::map<std::string, FormPart>> parseForm(const std::string& contentType,
                                                                const std::string& body) {
  constexpr std::string_view kType = "multipart/form-data; boundary=";
  if (!contentType.starts_with(kType)) return std::nullopt;
  const std::string delimiter = "--" + contentType.substr(kType.size());
  std::map<std::string, FormPart> parts;
  std::size_t at = 0;
  if (body.compare(0, delimiter.size(), delimiter) != 0) return std::nullopt;
  for (;;) {
    at += delimiter.size();
    if (body.compare(at, 4, "--\r\n") == 0) return at + 4 == body.size() ? std::optional(parts) : std::nullopt;
    if (body.compare(at, 2, "\r\n") != 0) return std::nullopt;
    const auto head = body.find("\r\n\r\n", at);
    const auto end = body.find("\r\n" + delimiter, head);
    if (head == body.npos || end == body.npos) return std::nullopt;
    FormPart part;
    part.value = body.substr(head + 4, end - head - 4);
    for (std::size_t line = at + 2; line < head;) {
      const auto next = std::min(body.find("\r\n", line), head);
      const std::string field = body.substr(line, next - line);
      if (field.starts_with("Content-Disposition: form-data; ")) part.disposition = field.substr(32);
      if (field.starts_with("Content-Type: ")) part.type = field.substr(14);
      line = next + 2;
    }
    const auto name = part.disposition.find("name=\"");
    if (name == part.disposition.npos) return std::nullopt;
    const auto quote = part.disposition.find('"', name + 6);
    parts[part.disposition.substr(name + 6, quote - name - 6)] = part;
    at = end + 2;
  }
}

/// One event as it stood on the wire.
struct WireEvent {
  std::string type;
  boost::json::object data;
  std::string payload;
};

/// A Wyoming server that says what a test tells it to, and keeps what it heard.
class ScriptedWyoming {
 public:
  struct Script {
    std::string info = R"({"asr":[{"name":"scripted","models":[)"
                       R"({"name":"small","languages":["en_US","de"],"installed":true},)"
                       R"({"name":"large","languages":["fr"],"installed":false}]}]})";
    std::vector<std::string> answers = {"{\"type\":\"transcript\",\"data\":{\"text\":\"go forward\"}}\n"};
    bool hangUpAfterInfo = false;
    bool dataBehindTheLine = false;
  };

  ScriptedWyoming() : ScriptedWyoming(Script()) {}
  explicit ScriptedWyoming(Script script)
      : script_(std::move(script)),
        server_([this](LoopbackServer&, LoopbackServer::Socket socket) { return serve(std::move(socket)); }) {}

  std::string port() const { return server_.url().port; }
  int connections() const { return server_.connections(); }
  std::vector<WireEvent> heard() const {
    const std::lock_guard lock(mutex_);
    return heard_;
  }
  /// Connections that the client has ended.
  int left() const { return left_; }

 private:
  using Socket = LoopbackServer::Socket;

  Awaitable<void> serve(Socket socket) {
    try {
      for (std::string buffer;;) {
        WireEvent event = co_await read(socket, buffer);
        const std::string type = event.type;
        {
          const std::lock_guard lock(mutex_);
          heard_.push_back(std::move(event));
        }
        co_await answer(socket, type);
        if (type == "describe" && script_.hangUpAfterInfo) break;
      }
    } catch (const boost::system::system_error&) {
      ++left_;
    }
  }

  Awaitable<void> answer(Socket& socket, const std::string& type) {
    if (type == "describe") {
      const std::string& info = script_.info;
      co_await LoopbackServer::write(socket, script_.dataBehindTheLine
                                                 ? "{\"type\":\"info\",\"version\":\"1.5\",\"data_length\":" +
                                                       std::to_string(info.size()) + "}\n" + info
                                                 : "{\"type\":\"info\",\"data\":" + info + "}\n");
    }
    if (type == "audio-stop") {
      for (const std::string& text : script_.answers) co_await LoopbackServer::write(socket, text);
    }
  }

  static Awaitable<WireEvent> read(Socket& socket, std::string& buffer) {
    namespace asio = boost::asio;
    const std::size_t end =
        co_await asio::async_read_until(socket, asio::dynamic_buffer(buffer), '\n', asio::use_awaitable);
    const boost::json::object head = boost::json::parse(buffer.substr(0, end)).as_object();
    buffer.erase(0, end);
    WireEvent event{std::string(head.at("type").as_string()), {}, {}};
    if (head.contains("data")) event.data = head.at("data").as_object();
    const std::size_t size = head.contains("payload_length") ? head.at("payload_length").to_number<std::size_t>() : 0;
    while (buffer.size() < size) {
      char piece[4096];
      const std::size_t got = co_await socket.async_read_some(asio::buffer(piece), asio::use_awaitable);
      buffer.append(piece, got);
    }
    event.payload = buffer.substr(0, size);
    buffer.erase(0, size);
    co_return event;
  }

  Script script_;
  mutable std::mutex mutex_;
  std::vector<WireEvent> heard_;
  std::atomic<int> left_{0};
  LoopbackServer server_;
};

}  // namespace quillet::test
