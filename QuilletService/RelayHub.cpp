// SPDX-License-Identifier: MIT
#include "QuilletService/RelayHub.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/container/small_vector.hpp>

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

/// A coroutine that waits, as what goes on with it. Owns it: destroyed instead of called, it takes the coroutine along,
/// when the executor comes to it. What keeps the loop running meanwhile is the timekeeper.
using Sleeper = boost::asio::async_result<boost::asio::use_awaitable_t<>, void()>::handler_type;

}  // namespace

/// Those that go on. They do so at once rather than by way of the executor's queue, and may do anything then, so they
/// are first taken from the lists.
class RelayHub::Woken {
 public:
  void add(Waiter& waiter);
  void run() {
    for (Sleeper& sleeper : sleepers_) std::move(sleeper)();
  }

 private:
  boost::container::small_vector<Sleeper, 1> sleepers_;
};

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
  std::optional<Sleeper> sleeper{};
};

/// Stands in its desktop's list as long as it lives, or until the desktop is gone.
struct RelayHub::PendingPrepare : Waiter {
  PendingPrepare(RelayHub& owner, Duration limit, const std::string& mac, const RelayServer::Prepare& message)
      : Waiter(owner, limit), macId(mac), sent(message) {
    hub.desks_.find(macId)->second.prepares.push_back(this);
  }
  ~PendingPrepare() {
    if (!orphaned && !offline) std::erase(hub.desks_.find(macId)->second.prepares, this);
  }

  const std::string& macId;
  const RelayServer::Prepare& sent;
  std::optional<Envelope> envelope{};
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

void RelayHub::Woken::add(Waiter& waiter) {
  if (!waiter.sleeper) return;
  sleepers_.push_back(*std::move(waiter.sleeper));
  waiter.sleeper.reset();
}

RelayHub::~RelayHub() {
  // Whoever still waits never goes on.
  Woken abandoned;
  for (auto& [deadline, waiter] : deadlines_) {
    waiter->orphaned = true;
    if (waiter->sleeper) boost::asio::get_associated_cancellation_slot(*waiter->sleeper).clear();
    abandoned.add(*waiter);
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
  Woken woken;
  for (PendingPrepare* pending : gone.mapped().prepares) {
    pending->offline = true;
    woken.add(*pending);
  }
  woken.run();
  return true;
}

bool RelayHub::send(const std::string& macId, const RelayServerMessage& message) {
  const auto found = desks_.find(macId);
  if (found == desks_.end()) return false;
  found->second.socket->send(JSONCoding::encode(message));
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
  Woken woken;
  for (auto& [deadline, waiter] : deadlines_) woken.add(*waiter);
  woken.run();
}

Awaitable<EnvelopeResponse> RelayHub::prepare(std::string macId, std::string phoneId, PrepareRelayRequest request,
                                              Duration limit) {
  const auto found = desks_.find(macId);
  if (found == desks_.end() || shutDown_) throw offline();
  const Desk& desk = found->second;
  if (desk.prepares.size() >= kPreparesPerDesktop) throw Refusal::tooManyRequests();
  const RelayServerMessage message =
      RelayServer::Prepare{std::move(request.requestId), std::move(phoneId), std::move(request.envelope)};
  PendingPrepare pending(*this, limit, macId, std::get<RelayServer::Prepare>(message));
  desk.socket->send(JSONCoding::encode(message));
  co_await wait(pending);
  if (pending.unpaired) throw Refusal::notPaired(403);
  if (pending.envelope) co_return EnvelopeResponse{*std::move(pending.envelope)};
  if (pending.offline || pending.orphaned || shutDown_) throw offline();
  throw ServiceError(504, "mac_timeout", "The computer didn't answer in time.", true);
}

void RelayHub::answerPrepare(const std::string& macId, RelayClient::PrepareResult answer) {
  const auto desk = desks_.find(macId);
  if (desk == desks_.end()) return;
  Woken woken;
  PendingPrepare* last = nullptr;
  for (PendingPrepare* pending : desk->second.prepares) {
    if (pending->sent.requestId != answer.requestId || pending->sent.from != answer.to) continue;
    if (last != nullptr) last->envelope = answer.envelope;
    last = pending;
    woken.add(*pending);
  }
  if (last != nullptr) last->envelope = std::move(answer.envelope);
  woken.run();
}

Awaitable<void> RelayHub::waitForDelivery(DeliveryKey key, Duration limit) {
  if (shutDown_) co_return;
  PendingDelivery pending(*this, limit, key);
  co_await wait(pending);
}

void RelayHub::deliveryChanged(const DeliveryKey& key) {
  Woken woken;
  const auto [first, last] = deliveries_.equal_range(deliveryKey(key));
  for (auto waiting = first; waiting != last; ++waiting) woken.add(*waiting->second);
  woken.run();
}

void RelayHub::pairEnded(const std::string& macId, const std::string& phoneId) {
  Woken woken;
  if (const auto desk = desks_.find(macId); desk != desks_.end()) {
    for (PendingPrepare* pending : desk->second.prepares) {
      if (pending->sent.from != phoneId) continue;
      pending->unpaired = true;
      woken.add(*pending);
    }
  }
  const std::string start = deliveryKey({macId, phoneId, ""});
  for (auto& [key, waiter] : deliveries_) {
    if (key.starts_with(start)) woken.add(*waiter);
  }
  woken.run();
}

Awaitable<void> RelayHub::wait(Waiter& waiter) {
  return boost::asio::async_initiate<const boost::asio::use_awaitable_t<>, void()>(
      [this, &waiter](auto resume) {
        if (auto slot = boost::asio::get_associated_cancellation_slot(resume); slot.is_connected()) {
          slot.assign([this, &waiter](boost::asio::cancellation_type) { cancel(waiter); });
        }
        waiter.sleeper.emplace(std::move(resume));
      },
      boost::asio::use_awaitable);
}

void RelayHub::cancel(Waiter& waiter) {
  if (!waiter.sleeper) return;
  // Not at once: what cancels may be in the midst of its own destruction.
  boost::asio::post(executor_,
                    [sleeper = *std::exchange(waiter.sleeper, std::nullopt)]() mutable { std::move(sleeper)(); });
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
    Woken woken;
    for (auto due = deadlines_.begin(); due != deadlines_.end() && due->first <= now; ++due) woken.add(*due->second);
    woken.run();
  }
  nextLook_ = MonotonicTime::max();
}

}  // namespace quillet
