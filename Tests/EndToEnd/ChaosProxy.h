// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <deque>
#include <random>

#include "Tests/Doubles/LoopbackServer.h"

namespace quillet::test {

/// Stands between a desktop's relay socket and the service and mistreats the frames of both directions: holds them up,
/// drops, fragments, repeats and reorders them, also on a later connection, and cuts connections, some within a frame.
class ChaosProxy {
 public:
  /// Shares in which a frame meets each fate.
  struct Odds {
    double drop = 0.01, cut = 0.003, repeat = 0.1, keepForLater = 0.05, delay = 0.3, fragment = 0.2;
  };
  struct Counts {
    std::atomic<int> forwarded, dropped, cut, repeated, keptForLater, delayed, fragmented;
  };

  ChaosProxy(std::uint32_t seed, boost::asio::ip::tcp::endpoint service, Odds odds);

  /// The same request by way of the proxy.
  HTTPRequest through(HTTPRequest request) const;
  /// From now on every frame goes through unharmed.
  void calmDown() { calm_ = true; }
  const Counts& counts() const { return counts_; }

 private:
  using WebSocket = LoopbackServer::WebSocket;
  struct Link;

  Awaitable<void> serve(LoopbackServer& server, LoopbackServer::Socket socket);
  static Awaitable<bool> connect(Link& link, LoopbackServer::Request request);
  Awaitable<void> pump(std::shared_ptr<Link> link, bool down);
  /// False when the connection is to be cut.
  Awaitable<bool> mistreat(WebSocket& out, std::string frame, std::deque<std::string>& later);
  Awaitable<void> forward(WebSocket& out, const std::string& frame);
  Awaitable<void> breakOff(WebSocket& out);
  bool happens(double share) { return !calm_ && std::bernoulli_distribution(share)(random_); }
  int draw(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

  std::mt19937 random_;  ///< The proxy's thread only, as `later_`.
  boost::asio::ip::tcp::endpoint service_;
  Odds odds_;
  Counts counts_{};
  std::atomic<bool> calm_{false};
  std::deque<std::string> later_[2];  ///< For each direction; outlive connections.
  LoopbackServer server_;
};

}  // namespace quillet::test
