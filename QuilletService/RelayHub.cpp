// SPDX-License-Identifier: MIT
#include "QuilletService/RelayHub.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/execution/outstanding_work.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/prefer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/container/small_vector.hpp>

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

/// A coroutine that waits, as what goes on with it. Owns it: destroyed instead of called, it takes the coroutine along,
/// when the executor comes to it.
struct RelayHub::Sleeper {
  using Resume = boost::asio::async_result<boost::asio::use_awaitable_t<>, void()>::handler_type;
  Resume resume;
  Executor work;  ///< Keeps the loop running meanwhile.
};

/// Those that go on. They do so at once rather than by way of the executor's queue, and may do anything then, so they
/// are first taken from the lists.
class RelayHub::Woken {
 public:
  void add(Waiter& waiter);
  void run() {
    for (Sleeper& sleeper : sleepers_) std::move(sleeper.resume)();
  }

 private:
  boost::container::small_vector<Sleeper, 1> sleepers_;
};

struct RelayHub::Waiter {
  std::string macId;
  std::optional<Envelope> envelope{};
  bool offline = false;
  bool orphaned = false;  ///< The hub is gone.
  std::optional<Sleeper> sleeper{};
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
    if (waiter->sleeper) boost::asio::get_associated_cancellation_slot(waiter->sleeper->resume).clear();
    abandoned.add(*waiter);
  }
}

void RelayHub::attach(const std::string& macId, RelaySocket& socket) {
  RelaySocket*& current = sockets_[macId];
  RelaySocket* const older = std::exchange(current, &socket);
  if (older != nullptr && older != &socket) older->close(kReplacedCloseCode);
}

bool RelayHub::detach(const std::string& macId, RelaySocket& socket) {
  const auto found = sockets_.find(macId);
  if (found == sockets_.end() || found->second != &socket) return false;
  sockets_.erase(found);
  Woken woken;
  for (auto& [key, waiter] : prepares_) {
    if (waiter->macId != macId) continue;
    waiter->offline = true;
    woken.add(*waiter);
  }
  woken.run();
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
  timekeeper_.cancel();
  Woken woken;
  for (auto& [deadline, waiter] : deadlines_) woken.add(*waiter);
  woken.run();
}

Awaitable<PrepareOutcome> RelayHub::prepare(std::string macId, std::string phoneId, PrepareRelayRequest request,
                                            Duration limit) {
  if (prepareCounts_[macId] >= kPreparesPerDesktop) co_return PrepareFailure::tooMany;
  Waiter waiter{.macId = macId};
  struct Count {
    RelayHub& hub;
    const Waiter& waiter;
    Count(RelayHub& owner, const Waiter& counted) : hub(owner), waiter(counted) { ++hub.prepareCounts_[waiter.macId]; }
    ~Count() {
      if (waiter.orphaned) return;
      const auto count = hub.prepareCounts_.find(waiter.macId);
      if (--count->second == 0) hub.prepareCounts_.erase(count);
    }
  } const count(*this, waiter);

  const std::string key = prepareKey(macId, phoneId, request.requestId);
  if (!send(macId, RelayServer::Prepare{request.requestId, phoneId, std::move(request.envelope)})) {
    co_return PrepareFailure::offline;
  }
  co_await wait(prepares_, key, waiter, limit);
  if (waiter.envelope) co_return *std::move(waiter.envelope);
  co_return waiter.offline || waiter.orphaned || shutDown_ ? PrepareFailure::offline : PrepareFailure::timedOut;
}

void RelayHub::answerPrepare(const std::string& macId, RelayClient::PrepareResult answer) {
  Woken woken;
  const auto [first, last] = prepares_.equal_range(prepareKey(macId, answer.to, answer.requestId));
  for (auto waiting = first; waiting != last; ++waiting) {
    Waiter& waiter = *waiting->second;
    if (std::next(waiting) == last) {
      waiter.envelope = std::move(answer.envelope);
    } else {
      waiter.envelope = answer.envelope;
    }
    woken.add(waiter);
  }
  woken.run();
}

Awaitable<void> RelayHub::waitForDelivery(DeliveryKey key, Duration limit) {
  Waiter waiter{.macId = key.macId};
  co_await wait(deliveries_, deliveryKey(key), waiter, limit);
}

void RelayHub::deliveryChanged(const DeliveryKey& key) {
  Woken woken;
  const auto [first, last] = deliveries_.equal_range(deliveryKey(key));
  for (auto waiting = first; waiting != last; ++waiting) woken.add(*waiting->second);
  woken.run();
}

void RelayHub::pairEnded(const std::string& macId, const std::string& phoneId) {
  const std::string start = prepareKey(macId, phoneId, "");
  Woken woken;
  for (Waiters* waiters : {&prepares_, &deliveries_}) {
    for (auto& [key, waiter] : *waiters) {
      if (key.starts_with(start)) woken.add(*waiter);
    }
  }
  woken.run();
}

/// One entry in the lists of who waits.
struct RelayHub::Registration {
  Registration(RelayHub& owner, Waiters& waiters, std::string key, Waiter& registered, MonotonicTime deadline)
      : hub(owner),
        list(waiters),
        waiter(registered),
        position(list.emplace(std::move(key), &waiter)),
        timed(hub.addDeadline(deadline, waiter)) {}
  ~Registration() {
    if (waiter.orphaned) return;
    list.erase(position);
    hub.deadlines_.erase(timed);
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

  RelayHub& hub;
  Waiters& list;
  Waiter& waiter;
  Waiters::iterator position;
  Deadlines::iterator timed;
};

Awaitable<void> RelayHub::wait(Waiters& waiters, std::string key, Waiter& waiter, Duration limit) {
  if (shutDown_) co_return;
  const Registration registration(*this, waiters, std::move(key), waiter, time_.monotonic() + limit);
  co_await boost::asio::async_initiate<const boost::asio::use_awaitable_t<>, void()>(
      [this, &waiter](auto resume) {
        if (auto slot = boost::asio::get_associated_cancellation_slot(resume); slot.is_connected()) {
          slot.assign([this, &waiter](boost::asio::cancellation_type) { cancel(waiter); });
        }
        waiter.sleeper.emplace(Sleeper{
            std::move(resume), boost::asio::prefer(executor_, boost::asio::execution::outstanding_work.tracked)});
      },
      boost::asio::use_awaitable);
}

void RelayHub::cancel(Waiter& waiter) {
  if (!waiter.sleeper) return;
  // Not at once: what cancels may be in the midst of its own destruction.
  boost::asio::post(
      executor_, [sleeper = *std::exchange(waiter.sleeper, std::nullopt)]() mutable { std::move(sleeper.resume)(); });
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
