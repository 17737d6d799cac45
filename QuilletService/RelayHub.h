// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Async/Event.h"
#include "QuilletKit/Protocol/WireModels.h"
#include "QuilletService/RelayBodies.h"
#include "QuilletService/Storage/DeliveryStore.h"

namespace quillet {

/// A desktop's open socket, as the hub sees it.
class RelaySocket {
 public:
  virtual ~RelaySocket() = default;
  /// Queues a text frame; a client that doesn't read them is dropped.
  virtual void send(std::string frame) = 0;
  /// Starts an orderly close. The owner detaches the socket when it has ended.
  virtual void close(int closeCode) = 0;
};

/// Who is connected, and who waits for something that a desktop will send. Holds no message. One thread.
class RelayHub {
 public:
  RelayHub(Executor executor, TimeSource time)
      : executor_(std::move(executor)), time_(std::move(time)), timekeeper_(executor_) {}
  ~RelayHub();
  RelayHub(const RelayHub&) = delete;
  RelayHub& operator=(const RelayHub&) = delete;

  /// Makes this the desktop's socket; an older one is closed. The socket is referenced until `detach`.
  void attach(const std::string& macId, RelaySocket& socket);
  /// False if another socket has taken its place. Otherwise what waits for the desktop's answer fails.
  bool detach(const std::string& macId, RelaySocket& socket);
  bool isOnline(const std::string& macId) const { return desks_.contains(macId); }
  /// False if the desktop isn't connected.
  bool send(const std::string& macId, const RelayServerMessage& message);
  bool send(const std::string& macId, std::string frame);
  void disconnect(const std::string& macId, int closeCode);
  /// Closes all sockets and ends all waits.
  void shutDown();

  /// Passes a prepare to the desktop and waits for its answer, whose envelope it gives as text. Throws ServiceError
  /// when none comes.
  Awaitable<std::string> prepare(std::string macId, std::string phoneId, PassedPrepare request, Duration limit);
  /// The desktop's answer; goes to whoever waits for it, if anyone still does.
  void answerPrepare(const std::string& macId, const std::string& phoneId, const std::string& requestId,
                     std::string envelope);

  /// Returns when `deliveryChanged` is called for the key, or after the limit.
  Awaitable<void> waitForDelivery(DeliveryKey key, Duration limit);
  void deliveryChanged(const DeliveryKey& key);
  /// Ends all waits of this pair.
  void pairEnded(const std::string& macId, const std::string& phoneId);
  std::size_t waiting() const { return deadlines_.size(); }
  std::size_t online() const { return desks_.size(); }

 private:
  struct Waiter;
  struct PendingPrepare;
  struct PendingDelivery;
  /// A connected desktop, and who waits for its answers; never more than a few.
  struct Desk {
    RelaySocket* socket = nullptr;
    std::vector<PendingPrepare*> prepares{};
  };
  using Deadlines = std::multimap<MonotonicTime, Waiter*>;
  Deadlines::iterator addDeadline(MonotonicTime deadline, Waiter& waiter);
  Awaitable<void> keepTime();

  Executor executor_;
  TimeSource time_;
  bool shutDown_ = false;
  std::unordered_map<std::string, Desk> desks_;
  std::unordered_multimap<std::string, Waiter*> deliveries_;
  Deadlines deadlines_;
  // One sleep serves all who wait. An answer in time leaves it as it is; it then looks once too often.
  MonotonicTime nextLook_ = MonotonicTime::max();
  Task timekeeper_;
};

}  // namespace quillet
