// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "QuilletCompanion/Relay/Backoff.h"
#include "QuilletCompanion/Relay/RelayTransport.h"
#include "QuilletCompanion/Relay/SystemEvents.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/Observable.h"
#include "QuilletKit/Network/WebSocketTask.h"

namespace quillet {

/// Keeps one WebSocket open to the relay for as long as the application wants it. Knows frames, not meaning. Main
/// thread only; late callbacks of an old socket carry an old connection id and do nothing.
class RelayConnection final : public RelayTransport, public std::enable_shared_from_this<RelayConnection> {
 public:
  struct Reconnecting {
    std::int64_t at = 0;  ///< Milliseconds since 1970.
    bool operator==(const Reconnecting&) const = default;
  };
  enum class Phase { stopped, offline, connecting, connected };
  using State = std::variant<Reconnecting, Phase>;

  /// Gives a freshly signed request for every attempt; may throw.
  using MakeRequest = std::function<HTTPRequest()>;
  using MakeSocket = std::function<std::unique_ptr<WebSocketTask>(HTTPRequest, std::size_t maximumMessageSize)>;

  RelayConnection(Executor mainThread, MakeRequest makeRequest, MakeSocket makeSocket, SystemEvents& systemEvents,
                  TimeSource time, std::function<double()> jitter = &Backoff::drawJitter);
  ~RelayConnection() override;

  std::function<void(const RelayServerMessage&)> onMessage;
  std::function<void()> onConnected;
  std::function<void()> onWillSleep;
  std::function<void()> onAuthenticationRejected;

  void start();
  void stop();
  void reconnectNow();
  bool send(const RelayClientMessage& message) override;

  const Observable<State>& state() const { return state_; }
  /// Milliseconds since 1970.
  const Observable<std::optional<std::int64_t>>& lastConnectedAt() const { return lastConnectedAt_; }
  const Observable<bool>& hasEverConnected() const { return hasEverConnected_; }
  bool isConnected() const { return state_.get() == State(Phase::connected); }

 private:
  using Identity = std::uint64_t;

  bool isCurrent(Identity id) const { return id == connectionId_; }
  void connect();
  void openSocket(HTTPRequest request);
  void markConnected(Identity id);
  void tearDown(int closeCode, std::shared_ptr<void> untilClosed = nullptr);
  void scheduleReconnect();
  void socketFailed(Identity id, bool refused);
  void noPong(Identity id);

  void startReceiving(Identity id);
  /// False when the loop is to end.
  bool take(Identity id, const WebSocketMessage& message);
  void startPinging();
  void probePath();
  void ping(std::function<void(bool)> completion);

  void observeSystem();
  void willSleep();
  void didWake();
  void networkPathChanged(bool available);

  Executor mainThread_;
  MakeRequest makeRequest_;
  MakeSocket makeSocket_;
  SystemEvents& systemEvents_;
  TimeSource time_;
  std::function<double()> jitter_;

  Observable<State> state_{Phase::stopped};
  Observable<std::optional<std::int64_t>> lastConnectedAt_;
  Observable<bool> hasEverConnected_{false};

  std::unique_ptr<WebSocketTask> socket_;
  Identity connectionId_ = 0;  ///< Moves on with every socket and every tear-down.
  bool awaitingPong_ = false;
  Backoff backoff_;
  bool running_ = false;
  bool asleep_ = false;
  bool networkAvailable_ = true;
  std::unique_ptr<SystemEvents::Observation> observation_;
  Task receiveTask_;
  Task pingTask_;
  Task reconnectTask_;
  std::vector<std::unique_ptr<Task>> probeTasks_;
};

}  // namespace quillet
