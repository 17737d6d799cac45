// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/WebSocketTask.h"

#include <boost/asio/post.hpp>
#include <map>
#include <vector>

#include "QuilletKit/Async/RunOn.h"
#include "QuilletKit/Network/WebSocketPeer.h"

namespace quillet {
namespace {

namespace asio = boost::asio;

/// The face of a WebSocketPeer on the callbacks' thread. The peer lives on the network thread and outlives this for as
/// long as a polite end takes.
class BeastWebSocketTask final : public WebSocketTask {
 public:
  BeastWebSocketTask(Executor callbacks, std::shared_ptr<WebSocketPeer> peer, Executor network)
      : callbacks_(std::move(callbacks)), network_(std::move(network)), peer_(std::move(peer)) {}

  ~BeastWebSocketTask() override {
    // The peer goes along: its socket has to die on the network thread.
    asio::post(network_, [peer = std::move(peer_)] { peer->abandon(); });
  }

  void resume() override {
    asio::post(network_, [peer = peer_] { peer->start(); });
  }

  void sendText(std::string text, std::function<void(bool)> completion) override {
    const auto id = ++lastId_;
    completions_->emplace(id, std::move(completion));
    auto written = [waiting = std::weak_ptr(completions_), id, callbacks = callbacks_](bool success) {
      asio::post(callbacks, [waiting, id, success] { complete(waiting, id, success); });
    };
    asio::post(network_, [peer = peer_, text = std::move(text), written = std::move(written)]() mutable {
      peer->send({true, std::move(text)}, std::move(written));
    });
  }

  Awaitable<void> send(WebSocketMessage message) override {
    return runOn(network_, WebSocketPeer::sent(peer_, std::move(message)));
  }

  Awaitable<WebSocketMessage> receive() override { return runOn(network_, WebSocketPeer::next(peer_)); }

  std::optional<int> refusedStatus() const override {
    const int status = peer_->refusedStatus;
    return status == 0 ? std::nullopt : std::optional(status);
  }

  void cancel(int closeCode, std::shared_ptr<void> untilClosed) override {
    asio::post(network_, [peer = peer_, closeCode, kept = std::move(untilClosed)]() mutable {
      peer->close(closeCode, std::move(kept));
    });
  }

 private:
  using Completions = std::map<std::uint64_t, std::function<void(bool)>>;

  static void complete(const std::weak_ptr<Completions>& waiting, std::uint64_t id, bool success) {
    const auto completions = waiting.lock();
    if (!completions) return;
    auto node = completions->extract(id);
    if (!node.empty() && node.mapped()) node.mapped()(success);
  }

  Executor callbacks_;
  Executor network_;
  std::shared_ptr<WebSocketPeer> peer_;
  std::shared_ptr<Completions> completions_ = std::make_shared<Completions>();
  std::uint64_t lastId_ = 0;
};

}  // namespace

std::unique_ptr<WebSocketTask> makeWebSocketTask(HTTPSession& session, Executor callbacks, HTTPRequest request,
                                                 std::size_t maximumMessageSize) {
  auto peer = std::make_shared<WebSocketPeer>(session.network(), session.tls_, std::move(request), maximumMessageSize);
  return std::make_unique<BeastWebSocketTask>(std::move(callbacks), std::move(peer), session.network());
}

}  // namespace quillet
