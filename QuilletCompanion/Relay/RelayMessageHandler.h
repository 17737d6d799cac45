// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "QuilletCompanion/Relay/InsertionJournal.h"
#include "QuilletCompanion/Relay/PeerStore.h"
#include "QuilletCompanion/Relay/RelayTransport.h"
#include "QuilletCompanion/Target/TargetGuard.h"
#include "QuilletCompanion/Target/TextInserter.h"
#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Decides what happens to a decoded frame: who sent it, what the target guard says, what the journal remembers, and
/// what goes back. Deliveries and prepares run one at a time, in order of arrival. An attempt is in the journal before
/// its text goes to the inserter, and a delivery that finds an entry never gets there. Main thread only.
class RelayMessageHandler {
 public:
  /// `now` in milliseconds since 1970. The references belong to `owner`, as the handler does: what runs keeps it, and
  /// nothing begins once it is gone.
  RelayMessageHandler(std::weak_ptr<const void> owner, Executor mainThread, DeviceIdentity identity, PeerStore& peers,
                      TargetGuard& targetGuard, InsertionJournal& journal, TextInserter& inserter,
                      std::function<std::int64_t()> now);
  ~RelayMessageHandler();

  void setTransport(std::weak_ptr<RelayTransport> transport) { transport_ = std::move(transport); }
  void setEvents(std::weak_ptr<RelayEventSink> events) { events_ = std::move(events); }

  /// Returns at once; what may suspend is queued.
  void handle(const RelayServerMessage& message);
  /// Drops what waits. An insertion that runs goes on to its end and is journalled.
  void stop() { stopped_ = true; }

 private:
  using Unit = std::variant<RelayServer::Prepare, RelayServer::Deliver>;

  void receive(const RelayServer::Prepare& frame);
  void receive(const RelayServer::Deliver& frame);
  void receive(const RelayServer::PairRevoked& frame);
  void receive(const RelayServer::Paired& frame);
  void receive(const RelayServer::Unknown& frame);

  void enqueue(Unit unit);
  Awaitable<void> runChain(std::weak_ptr<const void> owner);
  Awaitable<void> runFirst();

  std::optional<PeerIdentity> verifiedPeer(const std::string& from, const Envelope& envelope) const;
  void handlePrepare(const RelayServer::Prepare& frame);
  void answerPrepare(const PrepareRequestPayload& request, const PeerIdentity& peer);

  Awaitable<void> handleDelivery(RelayServer::Deliver frame, TextInserter::Turn turn);
  std::optional<DeliveryPayload> openDelivery(const RelayServer::Deliver& frame, const PeerIdentity& peer) const;
  /// `now` is when the delivery's turn came, the date of the entry that it gets.
  std::optional<TargetSnapshot> spendToken(const DeliveryPayload& payload, const PeerIdentity& peer, std::int64_t now);
  Awaitable<void> attempt(DeliveryPayload payload, TargetSnapshot snapshot, PeerIdentity peer, std::int64_t now,
                          TextInserter::Turn turn);
  bool recordAttempt(const JournalEntry& entry, const PeerIdentity& peer);
  void finishAttempt(JournalEntry entry, const InsertionReport& report, const PeerIdentity& peer);
  void refuseTerminally(const std::string& utteranceId, RefusalReason reason, std::optional<std::string> appName,
                        const PeerIdentity& peer, std::int64_t now);
  void refuseUnjournalled(const std::string& utteranceId, RefusalReason reason, std::optional<std::string> appName,
                          const PeerIdentity& peer);
  void answerUnjournalled(const std::string& utteranceId, InsertionOutcome outcome, std::optional<RefusalReason> reason,
                          std::optional<std::string> appName, const PeerIdentity& peer);
  /// Answers from the journal. False if it doesn't know the utterance.
  bool replay(const std::string& utteranceId, const PeerIdentity& peer);
  void replayEntry(JournalEntry entry, const PeerIdentity& peer);
  void finishEntry(JournalEntry entry, const PeerIdentity& peer);

  void sendResult(const ResultPayload& result, const PeerIdentity& peer);
  void send(const RelayClientMessage& message);

  std::weak_ptr<const void> owner_;
  Executor mainThread_;
  DeviceIdentity identity_;
  PeerStore& peers_;
  TargetGuard& targetGuard_;
  InsertionJournal& journal_;
  TextInserter& inserter_;
  std::function<std::int64_t()> now_;
  std::weak_ptr<RelayTransport> transport_;
  std::weak_ptr<RelayEventSink> events_;
  std::deque<Unit> queue_;  ///< What waits, without the unit that runs.
  int pending_ = 0;         ///< What waits and what runs.
  bool stopped_ = false;
  Task chain_;  ///< Runs while `pending_` is above 0.
};

}  // namespace quillet
