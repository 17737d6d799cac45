// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/APIClient.h"

#include <string_view>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Base/PercentCoding.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/APIResponse.h"
#include "QuilletKit/Protocol/Identifier.h"
#include "QuilletKit/Protocol/PairingCrypto.h"

namespace quillet {
namespace {

constexpr int kUsual = 30;
constexpr int kConfig = 15;
constexpr int kTranscribe = 90;
constexpr int kPrepare = 12;
constexpr int kStream = 8;
constexpr std::string_view kJSON = "application/json";
constexpr std::string_view kUpload = "application/vnd.qlt.transcribe";

std::chrono::milliseconds seconds(int count) {
  return std::chrono::seconds(count);
}

/// The id, if it can be one segment of a path.
const std::string& segment(const std::string& id) {
  if (!Identifier::canStandInPath(id)) throw APIError(APIError::Transport{"The id can't be part of an address."});
  return id;
}

std::string session(const std::string& id) {
  return "/v1/pairing/sessions/" + segment(id);
}
std::string mac(const std::string& id) {
  return "/v1/macs/" + segment(id);
}
std::string delivery(const std::string& macId, const std::string& utteranceId) {
  return mac(macId) + "/deliveries/" + segment(utteranceId);
}

std::string textKey(const Crypto::Key& key) {
  return Base64URL::encode(key);
}

}  // namespace

APIClient::APIClient(ServiceURL baseURL, DeviceIdentity identity, HTTPSession& session,
                     DeviceCheckToken deviceCheckToken)
    : baseURL_(std::move(baseURL)),
      identity_(std::move(identity)),
      session_(session),
      signer_(identity_),
      deviceCheckToken_(std::move(deviceCheckToken)) {}

HTTPRequest APIClient::makeRequest(std::string method, const std::string& path, std::string body,
                                   std::string_view contentType, int timeoutSeconds) const {
  HTTPRequest request{std::move(method), baseURL_.resolve(path), {}, std::move(body), seconds(timeoutSeconds)};
  if (!request.body.empty()) request.headers.emplace_back("Content-Type", contentType);
  request.headers.emplace_back("User-Agent", "Quillet/1");
  signer_.sign(request, Clock::now());
  return request;
}

HTTPRequest APIClient::bare(std::string method, const std::string& path) const {
  return makeRequest(std::move(method), path, {}, {}, kUsual);
}

template <typename Body>
HTTPRequest APIClient::withJSON(std::string method, const std::string& path, const Body& body,
                                int timeoutSeconds) const {
  return makeRequest(std::move(method), path, JSONCoding::encode(body), kJSON, timeoutSeconds);
}

Awaitable<void> APIClient::addDeviceCheck(HTTPRequest& request) const {
  if (!deviceCheckToken_) co_return;
  if (auto token = co_await deviceCheckToken_()) request.headers.emplace_back("X-QLT-DeviceCheck", std::move(*token));
}

template <typename Response>
Awaitable<Response> APIClient::exchange(HTTPRequest request) {
  HTTPResponse response;
  try {
    response = co_await session_.send(std::move(request));
  } catch (const TransportError& error) {
    throw APIError(APIError::Transport{error.what()});
  }
  co_return decodeResponse<Response>(response.status, response.body);
}

Awaitable<ServiceConfig> APIClient::config() {
  HTTPRequest request{"GET", baseURL_.resolve("/v1/config"), {}, {}, seconds(kConfig)};
  co_return co_await exchange<ServiceConfig>(std::move(request));
}

Awaitable<RegisterResponse> APIClient::registerDevice(DevicePlatform platform, std::string name,
                                                      std::string appVersion) {
  RegisterRequest body{textKey(identity_.signingPublicKey()),
                       textKey(identity_.agreementPublicKey()),
                       platform,
                       std::move(name),
                       std::move(appVersion),
                       std::nullopt};
  if (deviceCheckToken_) body.deviceCheckToken = co_await deviceCheckToken_();
  co_return co_await exchange<RegisterResponse>(withJSON("POST", "/v1/devices/register", body));
}

Awaitable<OK> APIClient::rename(std::string name) {
  co_return co_await exchange<OK>(withJSON("PATCH", "/v1/devices/me", RenameRequest{std::move(name)}));
}

Awaitable<OK> APIClient::sendFeedback(FeedbackRequest feedback) {
  co_return co_await exchange<OK>(withJSON("POST", "/v1/feedback", feedback));
}

Awaitable<PairsResponse> APIClient::pairs() {
  co_return co_await exchange<PairsResponse>(bare("GET", "/v1/pairs"));
}

Awaitable<OK> APIClient::removePair(std::string peerDeviceId) {
  co_return co_await exchange<OK>(bare("DELETE", "/v1/pairs/" + segment(peerDeviceId)));
}

Awaitable<OK> APIClient::deleteDevice() {
  co_return co_await exchange<OK>(bare("POST", "/v1/devices/me/delete"));
}

Awaitable<TranscribeResponse> APIClient::transcribe(TranscribeMeta meta, Bytes audio) {
  std::string upload = TranscribeBody::build(meta, std::exchange(audio, {}));
  HTTPRequest request = makeRequest("POST", "/v1/transcribe", std::move(upload), kUpload, kTranscribe);
  co_await addDeviceCheck(request);
  co_return co_await exchange<TranscribeResponse>(std::move(request));
}

Awaitable<CreatePairingResponse> APIClient::createPairingSession(Bytes macEphemeralPublicKey, std::string macName) {
  const CreatePairingRequest body{Base64URL::encode(macEphemeralPublicKey), std::move(macName)};
  co_return co_await exchange<CreatePairingResponse>(withJSON("POST", "/v1/pairing/sessions", body));
}

Awaitable<PairingStatus> APIClient::pairingStatus(std::string sessionId) {
  co_return co_await exchange<PairingStatus>(bare("GET", session(sessionId)));
}

Awaitable<PairingStatus> APIClient::confirmPairing(std::string sessionId, std::string sealedIdentity) {
  const ConfirmPairingRequest body{std::move(sealedIdentity)};
  co_return co_await exchange<PairingStatus>(withJSON("POST", session(sessionId) + "/confirm", body));
}

Awaitable<PairingStatus> APIClient::cancelPairing(std::string sessionId) {
  co_return co_await exchange<PairingStatus>(bare("POST", session(sessionId) + "/cancel"));
}

Awaitable<ClaimPairingResponse> APIClient::claimPairing(ClaimPairingRequest request) {
  if (request.code) request.code = PairingCode::normalise(*request.code);
  co_return co_await exchange<ClaimPairingResponse>(withJSON("POST", "/v1/pairing/claim", request));
}

Awaitable<EnvelopeResponse> APIClient::prepareTarget(std::string macId, PrepareRelayRequest request) {
  co_return co_await exchange<EnvelopeResponse>(withJSON("POST", mac(macId) + "/prepare", request, kPrepare));
}

Awaitable<DeliveryStatus> APIClient::submitDelivery(std::string macId, DeliveryRequest request) {
  co_return co_await exchange<DeliveryStatus>(withJSON("POST", mac(macId) + "/deliveries", request));
}

Awaitable<DeliveryStatus> APIClient::waitForDelivery(std::string macId, std::string utteranceId, int waitSeconds) {
  const std::string path = delivery(macId, utteranceId) + "?wait=" + std::to_string(waitSeconds);
  co_return co_await exchange<DeliveryStatus>(makeRequest("GET", path, {}, {}, waitSeconds + 10));
}

Awaitable<DeliveryStatus> APIClient::cancelDelivery(std::string macId, std::string utteranceId) {
  co_return co_await exchange<DeliveryStatus>(bare("DELETE", delivery(macId, utteranceId)));
}

Awaitable<PresenceResponse> APIClient::presence() {
  co_return co_await exchange<PresenceResponse>(bare("GET", "/v1/presence"));
}

HTTPRequest APIClient::relayRequest() const {
  HTTPRequest request = bare("GET", "/v1/mac/connect");
  request.url = request.url.webSocket();
  return request;
}

Awaitable<HTTPRequest> APIClient::transcriptionStreamRequest(std::string utteranceId, RecognitionLanguage language) {
  const std::string path = "/v1/transcribe/stream?utteranceId=" + PercentCoding::encode(utteranceId) +
                           "&language=" + PercentCoding::encode(rawValue(language));
  HTTPRequest request = makeRequest("GET", path, {}, {}, kStream);
  co_await addDeviceCheck(request);
  request.url = request.url.webSocket();
  co_return request;
}

}  // namespace quillet
