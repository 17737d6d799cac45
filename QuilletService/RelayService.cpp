// SPDX-License-Identifier: MIT
#include "QuilletService/RelayService.h"

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletService/ServiceError.h"
#include "QuilletService/Validation.h"

namespace quillet {
namespace {

/// "Internal error" of the WebSocket protocol: the desktop comes again.
constexpr int kTroubleCloseCode = 1011;

bool isPending(DeliveryTransportState state) {
  return state == DeliveryTransportState::queued || state == DeliveryTransportState::received;
}

std::string_view shortened(const std::string& deviceId) {
  return std::string_view(deviceId).substr(0, 8);
}

}  // namespace

RelayService::RelayService(Store& store, RelayHub& hub, PairDirectory& pairs, Metrics& metrics, const TimeSource& time,
                           RelayLimits limits)
    : store_(store), hub_(hub), pairs_(pairs), metrics_(metrics), time_(time), limits_(limits) {}

Awaitable<std::string> RelayService::prepare(const Device& phone, const std::string& macId, PassedPrepare request) {
  requirePair(phone, macId);
  Validation::requireId(request.requestId, "requestId");
  Validation::requireRoute(request.envelope.envelope, EnvelopePurpose::prepare, phone.id, macId);
  ++metrics_.preparesSent;
  return hub_.prepare(macId, phone.id, std::move(request), limits_.prepare);
}

PassedStatus RelayService::submit(const Device& phone, const std::string& macId, const PassedDelivery& request) {
  requirePair(phone, macId);
  Validation::requireId(request.utteranceId, "utteranceId");
  Validation::requireRoute(request.envelope.envelope, EnvelopePurpose::delivery, phone.id, macId);
  const DeliveryKey key{macId, phone.id, request.utteranceId};
  auto known = store_.deliveries.delivery(key);
  if (known && known->state == DeliveryTransportState::cancelled) return statusOf(key, known);

  Delivery delivery{.envelope = request.envelope.text};
  if (known && known->envelope == delivery.envelope) return statusOf(key, known);
  requireRoom(macId, delivery, known);
  delivery.sent = hub_.isOnline(macId) || (known && known->sent);
  store_.deliveries.save(key, delivery, time_.now());
  ++metrics_.deliveriesSubmitted;
  forward(key, delivery.envelope);
  return statusOf(key, delivery);
}

Awaitable<PassedStatus> RelayService::status(const Device& phone, std::string macId, std::string utteranceId,
                                             std::chrono::milliseconds wait) {
  requirePair(phone, macId);
  const DeliveryKey key{macId, phone.id, utteranceId};
  auto delivery = store_.deliveries.delivery(key);
  if (wait.count() > 0 && delivery && isPending(delivery->state)) {
    co_await hub_.waitForDelivery(key, std::min(wait, limits_.longestWait));
    requirePair(phone, macId);
    delivery = store_.deliveries.delivery(key);
  }
  co_return statusOf(key, delivery);
}

PassedStatus RelayService::cancel(const Device& phone, const std::string& macId, const std::string& utteranceId) {
  requirePair(phone, macId);
  const DeliveryKey key{macId, phone.id, utteranceId};
  auto delivery = store_.deliveries.delivery(key);
  if (delivery && delivery->state == DeliveryTransportState::queued && !delivery->sent) {
    delivery->state = DeliveryTransportState::cancelled;
    delivery->envelope.clear();
    store_.deliveries.save(key, *delivery, time_.now());
    hub_.deliveryChanged(key);
  }
  return statusOf(key, delivery);
}

PassedPresence RelayService::presence(const Device& phone) {
  if (phone.isDesktop()) throw Refusal::wrongPlatform("Only a phone can read presence.");
  PassedPresence response;
  for (const Pair& pair : store_.devices.pairsOf(phone.id)) {
    PassedPresence::Mac mac{.macId = pair.macId, .online = hub_.isOnline(pair.macId)};
    if (const auto device = store_.devices.device(pair.macId)) mac.lastSeenAt = device->lastSeenAt;
    if (auto stored = store_.deliveries.presence(pair.macId, phone.id)) {
      mac.readiness = {std::move(stored->envelope), stored->at};
    }
    response.macs.push_back(std::move(mac));
  }
  return response;
}

template <typename Work>
void RelayService::orComeAgain(const std::string& macId, Work work) {
  try {
    work();
  } catch (const DatabaseError& e) {
    store_.health.failed(e.code);
    hub_.disconnect(macId, kTroubleCloseCode);
  }
}

void RelayService::connected(const Device& desktop, RelaySocket& socket) {
  hub_.attach(desktop.id, socket);
  store_.noteSeen(desktop.id, time_.now());
  Log::info("relay", "{} connected", desktop.shortId());
  orComeAgain(desktop.id, [&] { forwardPending(desktop.id); });
}

void RelayService::forwardPending(const std::string& macId) {
  for (PendingDelivery& waiting : store_.deliveries.pending(macId)) {
    store_.deliveries.markSent(waiting.key);  // first, since what has left can't be cancelled any more
    if (!forward(waiting.key, waiting.envelope)) return;
  }
}

void RelayService::disconnected(const Device& desktop, RelaySocket& socket) {
  if (!hub_.detach(desktop.id, socket)) return;
  store_.noteSeen(desktop.id, time_.now());
  Log::info("relay", "{} disconnected", desktop.shortId());
}

void RelayService::handleFrame(const std::string& macId, std::string_view frame) {
  try {
    auto parsed = DesktopFrame::parse(frame);
    std::visit([&](const auto& content) { handle(macId, content, parsed.envelopes); }, parsed.message);
  } catch (const JSONCoding::DecodingError&) {
    Log::standard("relay", "Ignoring an undecodable frame of {}", shortened(macId));
  } catch (const DatabaseError& e) {
    store_.health.failed(e.code);
  }
}

void RelayService::handle(const std::string& macId, const RelayClient::PrepareResult& answer, Envelopes& texts) {
  if (!Validation::fitsRoute(answer.envelope, EnvelopePurpose::prepareResult, macId, answer.to)) return;
  hub_.answerPrepare(macId, answer.to, answer.requestId, std::move(texts.front()));
}

void RelayService::handle(const std::string& macId, const RelayClient::Received& received, Envelopes&) {
  // Waiting calls are for results; they go on waiting.
  store_.deliveries.markReceived(macId, received.utteranceId, time_.now());
}

void RelayService::handle(const std::string& macId, const RelayClient::Result& result, Envelopes& texts) {
  if (!Validation::fitsRoute(result.envelope, EnvelopePurpose::result, macId, result.to)) return;
  // A result that isn't kept must come again, which it does with the delivery on the desktop's next socket.
  orComeAgain(macId, [&] { keepResult({macId, result.to, result.utteranceId}, std::move(texts.front())); });
}

void RelayService::keepResult(const DeliveryKey& key, std::string envelope) {
  auto delivery = store_.deliveries.delivery(key);
  if (!delivery) return;
  delivery->state = DeliveryTransportState::result;
  delivery->result = std::move(envelope);
  store_.deliveries.save(key, *delivery, time_.now());
  ++metrics_.resultsReturned;
  hub_.deliveryChanged(key);
}

void RelayService::handle(const std::string& macId, const RelayClient::Presence& presence, Envelopes& texts) {
  const std::int64_t now = time_.now();
  Transaction transaction(store_.database);
  for (std::size_t i = 0; i < presence.updates.size(); ++i) {
    const PresenceUpdate& update = presence.updates[i];
    const bool fits = Validation::fitsRoute(update.envelope, EnvelopePurpose::readiness, macId, update.to);
    if (!fits || !pairs_.arePaired(macId, update.to)) continue;
    store_.deliveries.savePresence(macId, update.to, {std::move(texts.at(i)), now});
  }
  transaction.commit();
  store_.noteSeen(macId, now);
}

void RelayService::sweep() {
  const std::int64_t now = time_.now();
  for (const DeliveryKey& key :
       store_.deliveries.expire(now - limits_.pendingLife.count(), now - limits_.doneLife.count(), now)) {
    ++metrics_.deliveriesExpired;
    hub_.deliveryChanged(key);
  }
}

void RelayService::requirePair(const Device& phone, const std::string& macId) {
  if (phone.isDesktop()) throw Refusal::wrongPlatform("Only a phone can address a computer.");
  if (!pairs_.arePaired(macId, phone.id)) throw Refusal::notPaired(403);
}

void RelayService::requireRoom(const std::string& macId, const Delivery& added, const std::optional<Delivery>& known) {
  const Backlog backlog = store_.deliveries.backlog(macId);
  const bool replaces = known && isPending(known->state);
  const auto freed = replaces ? static_cast<std::int64_t>(known->envelope.size()) : 0;
  const std::int64_t bytes = backlog.bytes - freed + static_cast<std::int64_t>(added.envelope.size());
  if ((!replaces && backlog.count >= limits_.backlogCount) || bytes > limits_.backlogBytes) {
    throw ServiceError(429, "queue_full", "Too much waits for this computer already.", true);
  }
}

bool RelayService::forward(const DeliveryKey& key, const std::string& envelope) {
  return hub_.isOnline(key.macId) && hub_.send(key.macId, RelayText::deliver(key.utteranceId, key.phoneId, envelope));
}

PassedStatus RelayService::statusOf(const DeliveryKey& key, const std::optional<Delivery>& delivery) const {
  PassedStatus status{.utteranceId = key.utteranceId, .macOnline = hub_.isOnline(key.macId)};
  if (!delivery) return status;
  status.state = delivery->state;
  status.resultEnvelope = delivery->result;
  return status;
}

}  // namespace quillet
