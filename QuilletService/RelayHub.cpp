// SPDX-License-Identifier: MIT
#include "QuilletService/RelayHub.h"

#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletService/ServiceError.h"

namespace quillet {
namespace {

constexpr int kReplacedCloseCode = 1000;
constexpr int kGoingAwayCloseCode = 1001;
constexpr std::size_t kPreparesPerDesktop = 64;

std::string deliveryKey(const DeliveryKey& key) {
  return key.macId + '|' + key.phoneId + '|' + key.utteranceId;
}

ServiceError offline() {
  return {503, "mac_offline", "The computer isn't connected.", true};
}

}  // namespace

/// Someone who waits, until a time at the latest.
struct RelayHub::Waiter {
  Waiter(RelayHub& owner, Duration limit) : hub(owner), timed(hub.addDeadline(hub.time_.monotonic() + limit, *this)) {}
  ~Waiter() {
    if (!orphaned) hub.deadlines_.erase(timed);
  }
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;

  RelayHub& hub;
  Deadlines::iterator timed;
  bool orphaned = false;  ///< The hub is gone.
  Event news{};
};

/// Stands in its desktop's list as long as it lives, or until the desktop is gone.
struct RelayHub::PendingPrepare : Waiter {
  PendingPrepare(RelayHub& owner, Duration limit, const std::string& mac, const std::string& phone,
                 const std::string& request)
      : Waiter(owner, limit), macId(mac), phoneId(phone), requestId(request) {
    hub.desks_.find(macId)->second.prepares.push_back(this);
  }
  ~PendingPrepare() {
    if (!orphaned && !offline) std::erase(hub.desks_.find(macId)->second.prepares, this);
  }

  const std::string &macId, &phoneId, &requestId;
  std::optional<std::string> envelope{};
  bool offline = false;
  bool unpaired = false;
};

struct RelayHub::PendingDelivery : Waiter {
  PendingDelivery(RelayHub& owner, Duration limit, const DeliveryKey& key)
      : Waiter(owner, limit), listed(hub.deliveries_.emplace(deliveryKey(key), this)) {}
  ~PendingDelivery() {
    if (!orphaned) hub.deliveries_.erase(listed);
  }

  std::unordered_multimap<std::string, Waiter*>::iterator listed;
};

RelayHub::~RelayHub() {
  for (auto& [deadline, waiter] : deadlines_) {
    waiter->orphaned = true;
    waiter->news.abandon();
  }
}

void RelayHub::attach(const std::string& macId, RelaySocket& socket) {
  RelaySocket* const older = std::exchange(desks_[macId].socket, &socket);
  if (older != nullptr && older != &socket) older->close(kReplacedCloseCode);
}

bool RelayHub::detach(const std::string& macId, RelaySocket& socket) {
  const auto found = desks_.find(macId);
  if (found == desks_.end() || found->second.socket != &socket) return false;
  const auto gone = desks_.extract(found);
  for (PendingPrepare* pending : gone.mapped().prepares) {
    pending->offline = true;
    pending->news.wake();
  }
  return true;
}

bool RelayHub::send(const std::string& macId, const RelayServerMessage& message) {
  return isOnline(macId) && send(macId, JSONCoding::encode(message));
}

bool RelayHub::send(const std::string& macId, std::string frame) {
  const auto found = desks_.find(macId);
  if (found == desks_.end()) return false;
  found->second.socket->send(std::move(frame));
  return true;
}

void RelayHub::disconnect(const std::string& macId, int closeCode) {
  const auto found = desks_.find(macId);
  if (found != desks_.end()) found->second.socket->close(closeCode);
}

void RelayHub::shutDown() {
  shutDown_ = true;
  for (auto& [macId, desk] : desks_) desk.socket->close(kGoingAwayCloseCode);
  timekeeper_.cancel();
  for (auto& [deadline, waiter] : deadlines_) waiter->news.wake();
}

Awaitable<std::string> RelayHub::prepare(std::string macId, std::string phoneId, PassedPrepare request,
                                         Duration limit) {
  const auto found = desks_.find(macId);
  if (found == desks_.end() || shutDown_) throw offline();
  const Desk& desk = found->second;
  if (desk.prepares.size() >= kPreparesPerDesktop) throw Refusal::tooManyRequests();
  PendingPrepare pending(*this, limit, macId, phoneId, request.requestId);
  desk.socket->send(RelayText::prepare(request.requestId, phoneId, request.envelope.text));
  co_await pending.news.wait();
  if (pending.unpaired) throw Refusal::notPaired(403);
  if (pending.envelope) co_return *std::move(pending.envelope);
  if (pending.offline || pending.orphaned || shutDown_) throw offline();
  throw ServiceError(504, "mac_timeout", "The computer didn't answer in time.", true);
}

void RelayHub::answerPrepare(const std::string& macId, const std::string& phoneId, const std::string& requestId,
                             std::string envelope) {
  const auto desk = desks_.find(macId);
  if (desk == desks_.end()) return;
  PendingPrepare* last = nullptr;
  for (PendingPrepare* pending : desk->second.prepares) {
    if (pending->requestId != requestId || pending->phoneId != phoneId) continue;
    if (last != nullptr) last->envelope = envelope;
    last = pending;
    pending->news.wake();
  }
  if (last != nullptr) last->envelope = std::move(envelope);
}

Awaitable<void> RelayHub::waitForDelivery(DeliveryKey key, Duration limit) {
  if (shutDown_) co_return;
  PendingDelivery pending(*this, limit, key);
  co_await pending.news.wait();
}

void RelayHub::deliveryChanged(const DeliveryKey& key) {
  const auto [first, last] = deliveries_.equal_range(deliveryKey(key));
  for (auto waiting = first; waiting != last; ++waiting) waiting->second->news.wake();
}

void RelayHub::pairEnded(const std::string& macId, const std::string& phoneId) {
  if (const auto desk = desks_.find(macId); desk != desks_.end()) {
    for (PendingPrepare* pending : desk->second.prepares) {
      if (pending->phoneId != phoneId) continue;
      pending->unpaired = true;
      pending->news.wake();
    }
  }
  const std::string start = deliveryKey({macId, phoneId, ""});
  for (auto& [key, waiter] : deliveries_) {
    if (key.starts_with(start)) waiter->news.wake();
  }
}

RelayHub::Deadlines::iterator RelayHub::addDeadline(MonotonicTime deadline, Waiter& waiter) {
  const auto position = deadlines_.emplace(deadline, &waiter);
  if (deadline < nextLook_) {
    nextLook_ = deadline;
    timekeeper_.start([this] { return keepTime(); });
  }
  return position;
}

Awaitable<void> RelayHub::keepTime() {
  while (!deadlines_.empty()) {
    nextLook_ = deadlines_.begin()->first;
    co_await time_.sleep(nextLook_ - time_.monotonic());
    if (isCancelled(co_await boost::asio::this_coro::cancellation_state)) co_return;
    const MonotonicTime now = time_.monotonic();
    for (auto due = deadlines_.begin(); due != deadlines_.end() && due->first <= now; ++due) due->second->news.wake();
    co_await boost::asio::post(executor_, boost::asio::use_awaitable);  // those that were woken leave the list first
  }
  nextLook_ = MonotonicTime::max();
}

}  // namespace quillet
