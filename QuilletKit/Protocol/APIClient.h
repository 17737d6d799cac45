// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletKit/Protocol/APIError.h"
#include "QuilletKit/Protocol/RequestSigner.h"
#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {

/// What the pairing flow needs of the service. Operations throw APIError or the cancellation error.
class PairingAPI {
 public:
  virtual ~PairingAPI() = default;
  virtual Awaitable<CreatePairingResponse> createPairingSession(Bytes macEphemeralPublicKey, std::string macName) = 0;
  virtual Awaitable<PairingStatus> pairingStatus(std::string sessionId) = 0;
  virtual Awaitable<PairingStatus> confirmPairing(std::string sessionId, std::string sealedIdentity) = 0;
  virtual Awaitable<PairingStatus> cancelPairing(std::string sessionId) = 0;
};

/// The HTTP client of the cloud service. Immutable; safe from any thread; operations may overlap and resume on the
/// awaiting executor. Nothing is retried here. Ids that can't stand in a path (see Identifier) fail the
/// call with APIError::Transport.
class APIClient final : public PairingAPI {
 public:
  using DeviceCheckToken = std::function<Awaitable<std::optional<std::string>>()>;

  APIClient(ServiceURL baseURL, DeviceIdentity identity, HTTPSession& session, DeviceCheckToken deviceCheckToken = {});

  Awaitable<ServiceConfig> config();
  Awaitable<RegisterResponse> registerDevice(DevicePlatform platform, std::string name, std::string appVersion);
  Awaitable<OK> rename(std::string name);
  Awaitable<OK> sendFeedback(FeedbackRequest feedback);
  Awaitable<PairsResponse> pairs();
  Awaitable<OK> removePair(std::string peerDeviceId);
  Awaitable<OK> deleteDevice();
  Awaitable<TranscribeResponse> transcribe(TranscribeMeta meta, Bytes audio);

  Awaitable<CreatePairingResponse> createPairingSession(Bytes macEphemeralPublicKey, std::string macName) override;
  Awaitable<PairingStatus> pairingStatus(std::string sessionId) override;
  Awaitable<PairingStatus> confirmPairing(std::string sessionId, std::string sealedIdentity) override;
  Awaitable<PairingStatus> cancelPairing(std::string sessionId) override;

  // The phone's half.
  Awaitable<ClaimPairingResponse> claimPairing(ClaimPairingRequest request);
  Awaitable<EnvelopeResponse> prepareTarget(std::string macId, PrepareRelayRequest request);
  Awaitable<DeliveryStatus> submitDelivery(std::string macId, DeliveryRequest request);
  Awaitable<DeliveryStatus> waitForDelivery(std::string macId, std::string utteranceId, int seconds);
  Awaitable<DeliveryStatus> cancelDelivery(std::string macId, std::string utteranceId);
  Awaitable<PresenceResponse> presence();

  /// GET /v1/mac/connect with a fresh signature; the URL's scheme is "ws" or "wss".
  HTTPRequest relayRequest() const;
  Awaitable<HTTPRequest> transcriptionStreamRequest(std::string utteranceId, RecognitionLanguage language);

  const DeviceIdentity& identity() const { return identity_; }

 private:
  HTTPRequest makeRequest(std::string method, const std::string& path, std::string body, std::string_view contentType,
                          int timeoutSeconds) const;
  HTTPRequest bare(std::string method, const std::string& path) const;
  template <typename Body>
  HTTPRequest withJSON(std::string method, const std::string& path, const Body& body, int timeoutSeconds = 30) const;
  Awaitable<void> addDeviceCheck(HTTPRequest& request) const;
  template <typename Response>
  Awaitable<Response> exchange(HTTPRequest request);

  ServiceURL baseURL_;
  DeviceIdentity identity_;
  HTTPSession& session_;
  RequestSigner signer_;
  DeviceCheckToken deviceCheckToken_;
};

}  // namespace quillet
