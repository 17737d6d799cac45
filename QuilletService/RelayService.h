// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletService/Metrics.h"
#include "QuilletService/PairDirectory.h"

namespace quillet {

struct RelayLimits {
  std::chrono::milliseconds prepare{10'000};         ///< How long a desktop may take to answer a prepare.
  std::chrono::milliseconds longestWait{60'000};     ///< The most that one call waits for a delivery.
  std::chrono::milliseconds pendingLife{3'600'000};  ///< Then a delivery without result expires.
  std::chrono::milliseconds doneLife{86'400'000};    ///< Then a finished delivery is forgotten.
  std::int64_t backlogCount = 200;                   ///< Deliveries that may wait for one desktop…
  std::int64_t backlogBytes = 4'000'000;             ///< …and their size.
};

/// Carries sealed envelopes between phones and desktops: the phones' endpoints, and what comes and goes over a
/// desktop's socket. A delivery is kept until its result or its expiry, and goes out again on each new socket until
/// then; the desktop recognises repeats. The same envelope again is the same attempt; a newly sealed one for the same
/// utterance is delivered anew. Endpoints throw ServiceError; `phone` must outlive the call.
class RelayService {
 public:
  RelayService(Store& store, RelayHub& hub, PairDirectory& pairs, Metrics& metrics, const TimeSource& time,
               RelayLimits limits);

  /// The text of the answer's envelope. What is wrong with the request is thrown at once.
  Awaitable<std::string> prepare(const Device& phone, const std::string& macId, PassedPrepare request);
  PassedStatus submit(const Device& phone, const std::string& macId, const PassedDelivery& request);
  /// Returns at once for a finished delivery; otherwise when it finishes, or after `wait`.
  Awaitable<PassedStatus> status(const Device& phone, std::string macId, std::string utteranceId,
                                 std::chrono::milliseconds wait);
  /// Only what never left for the desktop can be cancelled; otherwise the status tells how far it got.
  PassedStatus cancel(const Device& phone, const std::string& macId, const std::string& utteranceId);
  PassedPresence presence(const Device& phone);
  /// All of a phone's endpoints for a computer ask this first.
  void requirePair(const Device& phone, const std::string& macId);

  /// A desktop's socket is open: what waits for it goes out.
  void connected(const Device& desktop, RelaySocket& socket);
  void disconnected(const Device& desktop, RelaySocket& socket);
  /// One text frame of a desktop. What can't be used is dropped. A desktop whose result can't be kept is disconnected.
  void handleFrame(const std::string& macId, std::string_view frame);
  void sweep();

 private:
  using Envelopes = std::vector<std::string>;
  void handle(const std::string& macId, const RelayClient::PrepareResult& answer, Envelopes& texts);
  void handle(const std::string& macId, const RelayClient::Received& received, Envelopes& texts);
  void handle(const std::string& macId, const RelayClient::Result& result, Envelopes& texts);
  void handle(const std::string& macId, const RelayClient::Presence& presence, Envelopes& texts);
  void keepResult(const DeliveryKey& key, std::string envelope);
  void forwardPending(const std::string& macId);
  /// Does the work. If that fails, disconnects the desktop, so that it comes again.
  template <typename Work>
  void orComeAgain(const std::string& macId, Work work);
  /// `known` is the delivery in whose place `added` would stand, if there is one.
  void requireRoom(const std::string& macId, const Delivery& added, const std::optional<Delivery>& known);
  bool forward(const DeliveryKey& key, const std::string& envelope);
  PassedStatus statusOf(const DeliveryKey& key, const std::optional<Delivery>& delivery) const;

  Store& store_;
  RelayHub& hub_;
  PairDirectory& pairs_;
  Metrics& metrics_;
  TimeSource time_;
  RelayLimits limits_;
};

}  // namespace quillet
