// SPDX-License-Identifier: MIT
#pragma once

#include <deque>

#include "QuilletKit/Async/Event.h"
#include "QuilletKit/Network/WebSocketTask.h"

namespace quillet::test {

/// A WebSocket whose other end is the test, through the shared Line. Nothing happens by itself.
class FakeWebSocket final : public WebSocketTask {
 public:
  struct Line {
    HTTPRequest request;
    std::size_t maximumMessageSize = 0;
    bool resumed = false;
    bool destroyed = false;
    std::vector<std::string> sent;
    std::vector<std::function<void(bool)>> completions;
    std::optional<int> cancelledWith;
    std::shared_ptr<void> untilClosed;
    std::optional<int> refused;

    /// Answers the completion of everything sent so far.
    void complete(bool written) {
      for (auto& completion : std::exchange(completions, {})) {
        if (completion) completion(written);
      }
    }
    void deliver(std::string text, bool isText = true) {
      incoming.push_back({isText, std::move(text)});
      changed.wake();
    }
    void fail(std::optional<int> status = {}) {
      refused = status;
      failed = true;
      changed.wake();
    }

    std::deque<WebSocketMessage> incoming;
    bool failed = false;
    Event changed;
  };

  explicit FakeWebSocket(std::shared_ptr<Line> line) : line_(std::move(line)) {}
  ~FakeWebSocket() override { line_->destroyed = true; }

  void resume() override { line_->resumed = true; }
  void sendText(std::string text, std::function<void(bool)> completion) override {
    line_->sent.push_back(std::move(text));
    line_->completions.push_back(std::move(completion));
  }
  Awaitable<void> send(WebSocketMessage message) override { return written(line_, std::move(message)); }
  Awaitable<WebSocketMessage> receive() override { return next(line_); }
  std::optional<int> refusedStatus() const override { return line_->refused; }
  void cancel(int closeCode, std::shared_ptr<void> untilClosed) override {
    line_->cancelledWith = closeCode;
    line_->untilClosed = std::move(untilClosed);
  }

 private:
  static Awaitable<void> written(std::shared_ptr<Line> line, WebSocketMessage message) {
    if (line->failed || line->cancelledWith) throw TransportError("The connection was lost.");
    line->sent.push_back(std::move(message.data));
    co_return;
  }
  static Awaitable<WebSocketMessage> next(std::shared_ptr<Line> line) {
    while (line->incoming.empty() && !line->failed) co_await line->changed.wait();
    if (line->incoming.empty()) throw TransportError("The connection was lost.");
    WebSocketMessage message = std::move(line->incoming.front());
    line->incoming.pop_front();
    co_return message;
  }

  std::shared_ptr<Line> line_;
};

}  // namespace quillet::test
