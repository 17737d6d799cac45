// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/RelayMessageHandler.h"

#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <utility>

#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr int kMostPending = 16;

InsertionOutcome outcomeOf(JournalState state) {
  switch (state) {
    case JournalState::inserted:
      return InsertionOutcome::inserted;
    case JournalState::refused:
      return InsertionOutcome::refused;
    case JournalState::attempting:
    case JournalState::uncertain:
      break;
  }
  return InsertionOutcome::uncertain;
}

JournalState stateOf(InsertionOutcome outcome) {
  switch (outcome) {
    case InsertionOutcome::inserted:
      return JournalState::inserted;
    case InsertionOutcome::refused:
      return JournalState::refused;
    case InsertionOutcome::uncertain:
      break;
  }
  return JournalState::uncertain;
}

PrepareResultPayload prepareResult(const PrepareRequestPayload& request, const PrepareDecision& decision) {
  PrepareResultPayload result{.requestId = request.requestId, .utteranceId = request.utteranceId};
  if (const auto* snapshot = std::get_if<TargetSnapshot>(&decision)) {
    result.status = PrepareStatus::ready;
    result.token = snapshot->token;
    result.appName = snapshot->appName;
    result.fieldLabel = snapshot->fieldLabel;
    result.expiresAt = snapshot->expiresAt;
  } else {
    const auto& refusal = std::get<TargetRefusal>(decision);
    result.reason = refusal.reason;
    result.appName = refusal.appName;
  }
  return result;
}

JournalEntry entryOf(const std::string& utteranceId, JournalState state, const PeerIdentity& peer, std::int64_t now) {
  return {.peerId = peer.deviceId, .utteranceId = utteranceId, .state = state, .createdAt = now, .updatedAt = now};
}

}  // namespace

RelayMessageHandler::RelayMessageHandler(std::weak_ptr<const void> owner, Executor mainThread, DeviceIdentity identity,
                                         PeerStore& peers, TargetGuard& targetGuard, InsertionJournal& journal,
                                         TextInserter& inserter, std::function<std::int64_t()> now)
    : owner_(std::move(owner)),
      mainThread_(std::move(mainThread)),
      identity_(std::move(identity)),
      peers_(peers),
      targetGuard_(targetGuard),
      journal_(journal),
      inserter_(inserter),
      now_(std::move(now)),
      chain_(mainThread_) {}

RelayMessageHandler::~RelayMessageHandler() = default;

void RelayMessageHandler::handle(const RelayServerMessage& message) {
  std::visit([this](const auto& frame) { receive(frame); }, message);
}

void RelayMessageHandler::receive(const RelayServer::Prepare& frame) {
  enqueue(frame);
}

void RelayMessageHandler::receive(const RelayServer::Deliver& frame) {
  send(RelayClient::Received{frame.utteranceId});
  if (pending_ < kMostPending) return enqueue(frame);
  if (const auto peer = peers_.peer(frame.from)) {
    refuseUnjournalled(frame.utteranceId, RefusalReason::busy, std::nullopt, peer->identity);
  }
}

void RelayMessageHandler::receive(const RelayServer::PairRevoked& frame) {
  targetGuard_.dropTokens(frame.peerDeviceId);
  try {
    peers_.remove(frame.peerDeviceId);
  } catch (const std::exception&) {
    Log::error("relay", "Could not remove revoked peer from disk");
  }
  if (const auto events = events_.lock()) events->peerRevoked(frame.peerDeviceId);
}

void RelayMessageHandler::receive(const RelayServer::Paired&) {
  boost::asio::post(mainThread_, [weak = events_] {
    if (const auto events = weak.lock()) events->peerPaired();
  });
}

void RelayMessageHandler::receive(const RelayServer::Unknown& frame) {
  Log::debug("relay", "Ignoring relay frame of type {}", frame.type);
}

void RelayMessageHandler::enqueue(Unit unit) {
  queue_.push_back(std::move(unit));
  if (++pending_ == 1) chain_.start([this, owner = owner_] { return runChain(owner); });
}

// A unit that runs keeps the owner, and this with it; between two units nothing does.
Awaitable<void> RelayMessageHandler::runChain(std::weak_ptr<const void> owner) {
  for (;;) {
    auto kept = owner.lock();
    if (!kept || stopped_) co_return;
    const Executor mainThread = mainThread_;
    co_await runFirst();
    const bool isLast = --pending_ == 0;
    kept.reset();
    if (isLast) co_return;
    // Others of the main thread, a revocation above all, get their turn between two units.
    co_await boost::asio::post(mainThread, boost::asio::use_awaitable);
  }
}

// A prepare waits for a dictation that is being inserted, too: it moves the caret that the answer stands for.
Awaitable<void> RelayMessageHandler::runFirst() {
  auto unit = std::move(queue_.front());
  queue_.pop_front();
  auto turn = co_await inserter_.turn();
  if (stopped_) co_return;
  if (const auto* prepare = std::get_if<RelayServer::Prepare>(&unit)) {
    handlePrepare(*prepare);
    co_return;
  }
  co_await handleDelivery(std::get<RelayServer::Deliver>(std::move(unit)), std::move(turn));
}

std::optional<PeerIdentity> RelayMessageHandler::verifiedPeer(const std::string& from, const Envelope& envelope) const {
  if (envelope.from != from || envelope.to != identity_.deviceId()) return std::nullopt;
  const auto peer = peers_.peer(from);
  if (!peer) return std::nullopt;
  return peer->identity;
}

void RelayMessageHandler::handlePrepare(const RelayServer::Prepare& frame) {
  const auto peer = verifiedPeer(frame.from, frame.envelope);
  if (!peer) return Log::standard("relay", "Dropped prepare from an unknown sender");
  PrepareRequestPayload request;
  try {
    request = frame.envelope.open<PrepareRequestPayload>(EnvelopePurpose::prepare, identity_, *peer);
  } catch (const std::exception&) {
    return Log::standard("relay", "Dropped prepare that failed to open");
  }
  if (request.requestId != frame.requestId) {
    return Log::standard("relay", "Dropped prepare with mismatched request id");
  }
  answerPrepare(request, *peer);
}

void RelayMessageHandler::answerPrepare(const PrepareRequestPayload& request, const PeerIdentity& peer) {
  const auto result = prepareResult(request, targetGuard_.prepare(peer.deviceId));
  Envelope envelope;
  try {
    envelope = Envelope::seal(result, EnvelopePurpose::prepareResult, identity_, peer);
  } catch (const std::exception&) {
    return Log::error("relay", "Could not seal a prepare result");
  }
  send(RelayClient::PrepareResult{request.requestId, peer.deviceId, std::move(envelope)});
}

Awaitable<void> RelayMessageHandler::handleDelivery(RelayServer::Deliver frame, TextInserter::Turn turn) {
  const auto peer = verifiedPeer(frame.from, frame.envelope);
  if (!peer) {
    Log::standard("relay", "Dropped delivery from an unknown sender");
    co_return;
  }
  journal_.catchUp();
  if (replay(frame.utteranceId, *peer)) co_return;
  auto payload = openDelivery(frame, *peer);
  if (!payload || payload->utteranceId != frame.utteranceId) {
    refuseUnjournalled(frame.utteranceId, RefusalReason::tokenUnknown, std::nullopt, *peer);
    co_return;
  }
  if (journal_.isUnread()) co_return answerUnjournalled(frame.utteranceId, InsertionOutcome::uncertain, {}, {}, *peer);
  const std::int64_t now = now_();
  auto snapshot = spendToken(*payload, *peer, now);
  if (snapshot) co_await attempt(std::move(*payload), std::move(*snapshot), *peer, now, std::move(turn));
}

std::optional<DeliveryPayload> RelayMessageHandler::openDelivery(const RelayServer::Deliver& frame,
                                                                 const PeerIdentity& peer) const {
  try {
    return frame.envelope.open<DeliveryPayload>(EnvelopePurpose::delivery, identity_, peer);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<TargetSnapshot> RelayMessageHandler::spendToken(const DeliveryPayload& payload, const PeerIdentity& peer,
                                                              std::int64_t now) {
  auto found = targetGuard_.lookup(payload.token, peer.deviceId);
  if (const auto* reason = std::get_if<RefusalReason>(&found)) {
    // It may be a token of an earlier run, which may have inserted the text.
    if (*reason == RefusalReason::tokenUnknown && !journal_.knowsThePast()) {
      finishEntry(entryOf(payload.utteranceId, JournalState::uncertain, peer, now), peer);
      return std::nullopt;
    }
    refuseTerminally(payload.utteranceId, *reason, std::nullopt, peer, now);
    return std::nullopt;
  }
  auto& snapshot = std::get<TargetSnapshot>(found);
  targetGuard_.consume(payload.token);
  if (const auto reason = targetGuard_.validate(snapshot, true)) {
    refuseTerminally(payload.utteranceId, *reason, snapshot.appName, peer, now);
    return std::nullopt;
  }
  return std::move(snapshot);
}

Awaitable<void> RelayMessageHandler::attempt(DeliveryPayload payload, TargetSnapshot snapshot, PeerIdentity peer,
                                             std::int64_t now, TextInserter::Turn turn) {
  auto entry = entryOf(payload.utteranceId, JournalState::attempting, peer, now);
  entry.appName = snapshot.appName;
  if (!recordAttempt(entry, peer)) co_return;
  const auto report = co_await inserter_.insert(std::move(turn), std::move(payload.text), std::move(snapshot));
  finishAttempt(std::move(entry), report, peer);
}

bool RelayMessageHandler::recordAttempt(const JournalEntry& entry, const PeerIdentity& peer) {
  try {
    if (journal_.isDurable()) {
      journal_.record(entry);
      return true;
    }
  } catch (const std::exception&) {
  }
  Log::error("insertion", "Journal write failed; refusing to insert");
  refuseUnjournalled(entry.utteranceId, RefusalReason::busy, entry.appName, peer);
  return false;
}

void RelayMessageHandler::finishAttempt(JournalEntry entry, const InsertionReport& report, const PeerIdentity& peer) {
  Log::info("insertion", "Insertion finished: {} {} {}", rawValue(report.outcome),
            report.method ? rawValue(*report.method) : "-", report.reason ? rawValue(*report.reason) : "-");
  entry.state = stateOf(report.outcome);
  entry.reason = report.reason;
  entry.method = report.method;
  entry.updatedAt = now_();
  finishEntry(std::move(entry), peer);
  if (report.outcome != InsertionOutcome::inserted) return;
  if (const auto events = events_.lock()) events->insertionSucceeded(peer.name);
}

void RelayMessageHandler::refuseTerminally(const std::string& utteranceId, RefusalReason reason,
                                           std::optional<std::string> appName, const PeerIdentity& peer,
                                           std::int64_t now) {
  auto entry = entryOf(utteranceId, JournalState::refused, peer, now);
  entry.reason = reason;
  entry.appName = std::move(appName);
  finishEntry(std::move(entry), peer);
}

void RelayMessageHandler::refuseUnjournalled(const std::string& utteranceId, RefusalReason reason,
                                             std::optional<std::string> appName, const PeerIdentity& peer) {
  answerUnjournalled(utteranceId, InsertionOutcome::refused, reason, std::move(appName), peer);
}

void RelayMessageHandler::answerUnjournalled(const std::string& utteranceId, InsertionOutcome outcome,
                                             std::optional<RefusalReason> reason, std::optional<std::string> appName,
                                             const PeerIdentity& peer) {
  std::optional<ResultPayload> result;
  try {
    result =
        ResultPayload::makeSigned(utteranceId, outcome, reason, std::move(appName), std::nullopt, now_(), identity_);
  } catch (const std::exception&) {
    return;
  }
  sendResult(*result, peer);
}

bool RelayMessageHandler::replay(const std::string& utteranceId, const PeerIdentity& peer) {
  auto known = journal_.entry(peer.deviceId, utteranceId);
  if (!known) return false;
  replayEntry(std::move(*known), peer);
  return true;
}

void RelayMessageHandler::replayEntry(JournalEntry entry, const PeerIdentity& peer) {
  if (entry.state == JournalState::attempting) entry.state = JournalState::uncertain;
  if (entry.result && entry.result->outcome == outcomeOf(entry.state)) return sendResult(*entry.result, peer);
  entry.updatedAt = now_();
  finishEntry(std::move(entry), peer);
}

void RelayMessageHandler::finishEntry(JournalEntry entry, const PeerIdentity& peer) {
  try {
    entry.result = ResultPayload::makeSigned(entry.utteranceId, outcomeOf(entry.state), entry.reason, entry.appName,
                                             entry.method, now_(), identity_);
  } catch (const std::exception&) {
    Log::error("relay", "Could not sign a result");
  }
  try {
    journal_.record(entry);
  } catch (const std::exception&) {
    Log::error("insertion", "Journal write of the final state failed");
  }
  if (entry.result) sendResult(*entry.result, peer);
}

void RelayMessageHandler::sendResult(const ResultPayload& result, const PeerIdentity& peer) {
  Envelope envelope;
  try {
    envelope = Envelope::seal(result, EnvelopePurpose::result, identity_, peer);
  } catch (const std::exception&) {
    return Log::error("relay", "Could not seal a result");
  }
  send(RelayClient::Result{result.utteranceId, peer.deviceId, std::move(envelope)});
}

void RelayMessageHandler::send(const RelayClientMessage& message) {
  if (const auto transport = transport_.lock()) transport->send(message);
}

}  // namespace quillet
