// SPDX-License-Identifier: MIT
#include "QuilletService/RelayHub.h"

#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "QuilletKit/JSONCoding.h"

namespace quillet {
namespace {

constexpr int kReplacedCloseCode = 1000;
constexpr int kGoingAwayCloseCode = 1001;
constexpr int kPreparesPerDesktop = 64;

std::string prepareKey(const std::string& macId, const std::string& phoneId, const std::string& requestId) {
  return macId + '|' + phoneId + '|' + requestId;
}

std::string deliveryKey(const DeliveryKey& key) {
  return prepareKey(key.macId, key.phoneId, key.utteranceId);
}

}  // namespace

struct RelayHub::Waiter {
  Waiter(const Executor& executor, std::string desktop)
      : signal(executor, MonotonicTime::max()), macId(std::move(desktop)) {}
  void open() { signal.expires_at(MonotonicTime::min()); }

  boost::asio::steady_timer signal;
  std::string macId;
  std::optional<Envelope> envelope;
  bool offline = false;
};

void RelayHub::attach(const std::string& macId, RelaySocket& socket) {
  RelaySocket*& current = sockets_[macId];
  RelaySocket* const older = std::exchange(current, &socket);
  if (older != nullptr && older != &socket) older->close(kReplacedCloseCode);
}

bool RelayHub::detach(const std::string& macId, RelaySocket& socket) {
  const auto found = sockets_.find(macId);
  if (found == sockets_.end() || found->second != &socket) return false;
  sockets_.erase(found);
  for (auto& [key, waiter] : prepares_) {
    if (waiter->macId != macId) continue;
    waiter->offline = true;
    waiter->open();
  }
  return true;
}

bool RelayHub::send(const std::string& macId, const RelayServerMessage& message) {
  const auto found = sockets_.find(macId);
  if (found == sockets_.end()) return false;
  found->second->send(JSONCoding::encode(message));
  return true;
}

void RelayHub::disconnect(const std::string& macId, int closeCode) {
  const auto found = sockets_.find(macId);
  if (found != sockets_.end()) found->second->close(closeCode);
}

void RelayHub::shutDown() {
  shutDown_ = true;
  for (auto& [macId, socket] : sockets_) socket->close(kGoingAwayCloseCode);
  for (auto& [key, waiter] : prepares_) waiter->open();
  for (auto& [key, waiter] : deliveries_) waiter->open();
  timekeeper_.cancel();
}

Awaitable<PrepareOutcome> RelayHub::prepare(std::string macId, std::string phoneId, PrepareRelayRequest request,
                                            Duration limit) {
  if (prepareCounts_[macId] >= kPreparesPerDesktop) co_return PrepareFailure::tooMany;
  struct Count {
    RelayHub& hub;
    const std::string& macId;
    Count(RelayHub& owner, const std::string& mac) : hub(owner), macId(mac) { ++hub.prepareCounts_[macId]; }
    ~Count() {
      if (--hub.prepareCounts_[macId] == 0) hub.prepareCounts_.erase(macId);
    }
  } const count(*this, macId);

  const std::string key = prepareKey(macId, phoneId, request.requestId);
  if (!send(macId, RelayServer::Prepare{request.requestId, phoneId, std::move(request.envelope)})) {
    co_return PrepareFailure::offline;
  }
  Waiter waiter(executor_, macId);
  co_await wait(prepares_, key, waiter, limit);
  if (waiter.envelope) co_return *std::move(waiter.envelope);
  co_return waiter.offline || shutDown_ ? PrepareFailure::offline : PrepareFailure::timedOut;
}

void RelayHub::answerPrepare(const std::string& macId, const RelayClient::PrepareResult& answer) {
  const auto [first, last] = prepares_.equal_range(prepareKey(macId, answer.to, answer.requestId));
  for (auto waiting = first; waiting != last; ++waiting) {
    waiting->second->envelope = answer.envelope;
    waiting->second->open();
  }
}

Awaitable<void> RelayHub::waitForDelivery(DeliveryKey key, Duration limit) {
  Waiter waiter(executor_, key.macId);
  co_await wait(deliveries_, deliveryKey(key), waiter, limit);
}

void RelayHub::deliveryChanged(const DeliveryKey& key) {
  wake(deliveries_, deliveryKey(key));
}

void RelayHub::pairEnded(const std::string& macId, const std::string& phoneId) {
  const std::string start = prepareKey(macId, phoneId, "");
  for (Waiters* waiters : {&prepares_, &deliveries_}) {
    for (auto& [key, waiter] : *waiters) {
      if (key.starts_with(start)) waiter->open();
    }
  }
}

void RelayHub::wake(Waiters& waiters, const std::string& key) {
  const auto [first, last] = waiters.equal_range(key);
  for (auto waiting = first; waiting != last; ++waiting) waiting->second->open();
}

/// One entry in the lists of who waits.
struct RelayHub::Registration {
  Registration(RelayHub& owner, Waiters& waiters, std::string key, Waiter& waiter, MonotonicTime deadline)
      : hub(owner),
        list(waiters),
        position(list.emplace(std::move(key), &waiter)),
        timed(hub.addDeadline(deadline, waiter)) {}
  ~Registration() {
    list.erase(position);
    hub.deadlines_.erase(timed);
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

  RelayHub& hub;
  Waiters& list;
  Waiters::iterator position;
  Deadlines::iterator timed;
};

Awaitable<void> RelayHub::wait(Waiters& waiters, std::string key, Waiter& waiter, Duration limit) {
  if (shutDown_) co_return;
  const Registration registration(*this, waiters, std::move(key), waiter, time_.monotonic() + limit);
  boost::system::error_code opened;
  co_await waiter.signal.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, opened));
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
    for (auto due = deadlines_.begin(); due != deadlines_.end() && due->first <= now; ++due) due->second->open();
    // Who was woken leaves the list when it runs, which is before this goes on.
    co_await boost::asio::post(executor_, boost::asio::use_awaitable);
    if (isCancelled(co_await boost::asio::this_coro::cancellation_state)) co_return;
  }
  nextLook_ = MonotonicTime::max();
}

}  // namespace quillet
