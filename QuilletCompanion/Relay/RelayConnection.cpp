// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/RelayConnection.h"

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/JSON/JSONCoding.h"

namespace quillet {
namespace {

constexpr std::chrono::seconds kPingPeriod{20};
constexpr std::chrono::seconds kPongTimeout{10};
constexpr std::size_t kMaximumMessageSize = 1'048'576;
constexpr double kFirstWait = 1.0;
constexpr double kLongestWait = 60.0;

/// WebSocket close codes, by why the connection is given up.
constexpr int kStartOver = 1000;
constexpr int kGoingAway = 1001;
constexpr int kFoundDead = 1006;

}  // namespace

RelayConnection::RelayConnection(Executor mainThread, MakeRequest makeRequest, MakeSocket makeSocket,
                                 SystemEvents& systemEvents, TimeSource time, std::function<double()> jitter)
    : mainThread_(mainThread),
      makeRequest_(std::move(makeRequest)),
      makeSocket_(std::move(makeSocket)),
      systemEvents_(systemEvents),
      time_(std::move(time)),
      jitter_(std::move(jitter)),
      backoff_{kFirstWait, kLongestWait, 0},
      receiveTask_(mainThread),
      pingTask_(mainThread),
      reconnectTask_(mainThread) {}

RelayConnection::~RelayConnection() {
  tearDown(kGoingAway);
}

void RelayConnection::start() {
  if (running_) return;
  running_ = true;
  observeSystem();
  if (!socket_ && !reconnectTask_.running()) connect();
}

void RelayConnection::stop() {
  running_ = false;
  tearDown(kGoingAway);
  reconnectTask_.cancel();
  observation_.reset();
  asleep_ = false;  // the wake will not be heard
  state_.set(Phase::stopped);
}

void RelayConnection::reconnectNow() {
  if (!running_ || asleep_) return;
  backoff_.attempt = 0;
  reconnectTask_.cancel();
  tearDown(kStartOver);
  connect();
}

bool RelayConnection::send(const RelayClientMessage& message) {
  if (!isConnected() || !socket_) return false;
  std::string frame;
  try {
    frame = JSONCoding::encode(message);
  } catch (const JSONCoding::EncodingError&) {
    return false;
  }
  socket_->sendText(std::move(frame), [weak = weak_from_this(), id = connectionId_](bool written) {
    const auto self = weak.lock();
    if (self && !written) self->socketFailed(id, false);
  });
  return true;
}

void RelayConnection::connect() {
  if (!running_ || asleep_) return;
  if (!networkAvailable_) return state_.set(Phase::offline);
  HTTPRequest request;
  try {
    request = makeRequest_();
  } catch (const std::exception&) {
    Log::error("relay", "Could not sign the relay request");
    return scheduleReconnect();
  }
  openSocket(std::move(request));
}

void RelayConnection::openSocket(HTTPRequest request) {
  const Identity id = ++connectionId_;
  state_.set(Phase::connecting);
  if (!isCurrent(id)) return;
  socket_ = makeSocket_(std::move(request), kMaximumMessageSize);
  socket_->resume();
  startReceiving(id);
  ping([weak = weak_from_this(), id](bool written) {
    const auto self = weak.lock();
    if (self && written) self->markConnected(id);
  });
}

void RelayConnection::markConnected(Identity id) {
  if (!isCurrent(id) || state_.get() != State(Phase::connecting)) return;
  backoff_.attempt = 0;
  state_.set(Phase::connected);
  hasEverConnected_.set(true);
  lastConnectedAt_.set(time_.now());
  if (!isCurrent(id)) return;
  Log::info("relay", "Relay connected");
  startPinging();
  if (onConnected) onConnected();
}

void RelayConnection::tearDown(int closeCode, std::shared_ptr<void> untilClosed) {
  ++connectionId_;
  receiveTask_.cancel();
  pingTask_.cancel();
  probeTasks_.clear();
  if (const auto socket = std::exchange(socket_, nullptr)) socket->cancel(closeCode, std::move(untilClosed));
  awaitingPong_ = false;
}

void RelayConnection::scheduleReconnect() {
  if (!running_ || asleep_) return;
  if (!networkAvailable_) return state_.set(Phase::offline);
  const std::chrono::milliseconds delay(static_cast<std::int64_t>(backoff_.nextDelay(jitter_()) * 1000));
  reconnectTask_.start([weak = weak_from_this(), time = time_, delay](Task::Token token) -> Awaitable<void> {
    co_await time.sleep(delay);
    if (token.cancelled()) co_return;  // after the sleep had ended
    if (const auto self = weak.lock()) self->connect();
  });
  state_.set(Reconnecting{time_.now() + delay.count()});
}

void RelayConnection::socketFailed(Identity id, bool refused) {
  if (!isCurrent(id)) return;
  tearDown(kFoundDead);
  if (!running_) return;
  if (refused) {
    const Identity before = connectionId_;
    if (onAuthenticationRejected) onAuthenticationRejected();
    if (!isCurrent(before)) return;  // the callback has started over, or stopped
  }
  scheduleReconnect();
}

void RelayConnection::noPong(Identity id) {
  if (!isCurrent(id) || !awaitingPong_) return;
  Log::standard("relay", "No pong from relay; reconnecting");
  socketFailed(id, false);
}

void RelayConnection::startReceiving(Identity id) {
  receiveTask_.start([weak = weak_from_this(), id]() -> Awaitable<void> {
    const auto current = [&] {
      auto self = weak.lock();
      return self && self->isCurrent(id) ? self : nullptr;
    };
    try {
      for (;;) {
        auto self = current();
        if (!self) co_return;
        Awaitable<WebSocketMessage> next = self->socket_->receive();
        self.reset();
        const WebSocketMessage message = co_await std::move(next);
        self = current();
        if (!self || !self->take(id, message)) co_return;
      }
    } catch (const TransportError&) {
    }
    const auto self = current();
    if (!self) co_return;
    const auto status = self->socket_->refusedStatus();
    self->socketFailed(id, status == 401 || status == 403);
  });
}

bool RelayConnection::take(Identity id, const WebSocketMessage& message) {
  markConnected(id);
  if (!isCurrent(id)) return false;
  if (!message.isText && !Unicode::isValidUTF8(message.data)) return true;
  awaitingPong_ = false;
  if (message.data == "pong") return true;
  std::optional<RelayServerMessage> frame;
  try {
    frame = JSONCoding::decode<RelayServerMessage>(message.data);
  } catch (const JSONCoding::DecodingError&) {
    Log::standard("relay", "Ignoring an undecodable relay frame");
    return true;
  }
  if (onMessage) onMessage(*frame);
  return isCurrent(id);
}

void RelayConnection::ping(std::function<void(bool)> completion) {
  socket_->sendText("ping", std::move(completion));
}

void RelayConnection::startPinging() {
  pingTask_.start([weak = weak_from_this(), id = connectionId_, time = time_]() -> Awaitable<void> {
    for (;;) {
      co_await time.sleep(kPingPeriod);
      auto self = weak.lock();
      if (!self || !self->isCurrent(id)) co_return;
      self->awaitingPong_ = true;
      self->ping({});
      self.reset();
      co_await time.sleep(kPongTimeout);
      self = weak.lock();
      if (!self || !self->isCurrent(id)) co_return;
      self->noPong(id);
    }
  });
}

void RelayConnection::probePath() {
  if (!isConnected() || !socket_) return;
  awaitingPong_ = true;
  ping({});
  std::erase_if(probeTasks_, [](const auto& task) { return !task->running(); });
  auto& probe = probeTasks_.emplace_back(std::make_unique<Task>(mainThread_));
  probe->start([weak = weak_from_this(), id = connectionId_, time = time_]() -> Awaitable<void> {
    co_await time.sleep(kPongTimeout);
    if (const auto self = weak.lock()) self->noPong(id);
  });
}

void RelayConnection::observeSystem() {
  const auto tell = [weak = weak_from_this()](auto member) {
    return [weak, member](auto... values) {
      const auto self = weak.lock();
      if (self && self->running_) ((*self).*member)(values...);
    };
  };
  auto observation = systemEvents_.observe({.willSleep = tell(&RelayConnection::willSleep),
                                            .didWake = tell(&RelayConnection::didWake),
                                            .networkPath = tell(&RelayConnection::networkPathChanged)});
  if (running_) observation_ = std::move(observation);
}

void RelayConnection::willSleep() {
  if (onWillSleep) onWillSleep();
  asleep_ = true;
  reconnectTask_.cancel();
  tearDown(kGoingAway, observation_ ? observation_->delaySleep() : nullptr);
  if (running_) state_.set(Phase::offline);
}

void RelayConnection::didWake() {
  asleep_ = false;
  reconnectNow();
}

void RelayConnection::networkPathChanged(bool available) {
  const bool was = std::exchange(networkAvailable_, available);
  if (!running_ || asleep_) return;
  if (!available) {
    reconnectTask_.cancel();
    tearDown(kGoingAway);
    state_.set(Phase::offline);
  } else if (!was || state_.get() == State(Phase::offline)) {
    reconnectNow();
  } else if (isConnected()) {
    probePath();
  }
}

}  // namespace quillet
