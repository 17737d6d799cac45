// SPDX-License-Identifier: MIT
#include "QuilletPhone/Phone.h"

#include <algorithm>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Identity/SecretStore.h"
#include "QuilletKit/Protocol/Identifier.h"
#include "QuilletPhone/PhoneFolder.h"

namespace quillet {
namespace {

constexpr auto kPollInterval = std::chrono::seconds(1);
constexpr std::int64_t kIdentityGraceMilliseconds = 5'000;
constexpr int kLongestWaitSeconds = 20;
constexpr int kNotFound = 404;
constexpr int kServerFailure = 500;

FileSecretStore keyStore(const std::filesystem::path& folder) {
  return {folder / "keys", "quillet-phone"};
}

std::runtime_error keysFailed(const std::filesystem::path& folder, const std::string& reason) {
  return std::runtime_error("The keys in \"" + (folder / "keys").string() + "\" can't be used: " + reason +
                            ". \"quillet-phone reset\" forgets this phone here.");
}

/// The service's failures in the phone's terms.
template <typename T>
Awaitable<T> asked(Awaitable<T> operation) {
  std::optional<PhoneError> failure;
  try {
    co_return co_await std::move(operation);
  } catch (const APIError& error) {
    failure = phoneError(error);
  }
  throw *failure;
}

/// Whether the service may have done what it was asked, only that its answer got lost or was none of its own.
bool isLost(const PhoneError& error) {
  if (error.exit == PhoneExit::unreachable) return true;
  return error.exit == PhoneExit::serviceRefused && (error.status == 0 || error.status >= kServerFailure);
}

/// Absent for an answer that got lost.
template <typename T>
Awaitable<std::optional<T>> unlessLost(Awaitable<T> operation) {
  try {
    co_return co_await asked(std::move(operation));
  } catch (const PhoneError& error) {
    if (!isLost(error)) throw;
  }
  co_return std::nullopt;
}

PhoneError uncertain(const std::string& reason, const std::string& utteranceId) {
  PhoneError error(PhoneExit::uncertain, reason + " The text may have gone in.");
  error.utteranceId = utteranceId;
  return error;
}

bool isOpen(DeliveryTransportState state) {
  return state == DeliveryTransportState::queued || state == DeliveryTransportState::received;
}

/// Opens what must come from the paired Mac.
template <typename Payload>
Payload opened(const Envelope& envelope, EnvelopePurpose purpose, const DeviceIdentity& own, const PeerIdentity& mac) {
  try {
    return envelope.open<Payload>(purpose, own, mac);
  } catch (const std::exception&) {
    throw PhoneError(PhoneExit::verificationFailed, "The answer could not be opened: it isn't from the paired Mac.");
  }
}

PhoneError noValidKey() {
  return {PhoneExit::verificationFailed, "The pairing session has no valid key."};
}

Crypto::Key macKeyOf(const ClaimPairingResponse& response, const std::optional<PairingInvitation>& invitation) {
  const auto raw = Base64URL::decode(response.macEphemeralPublicKey);
  if (!raw || raw->size() != Crypto::kKeySize) {
    throw noValidKey();
  }
  const auto key = Crypto::keyFrom(*raw);
  if (invitation && invitation->macEphemeralPublicKey != key) {
    throw PhoneError(PhoneExit::verificationFailed, "The service gave another key than the invitation.");
  }
  return key;
}

PeerIdentity macFrom(const Phone::Claim& claim, const std::string& sealedIdentity) {
  PeerIdentity mac;
  try {
    mac = claim.crypto.openIdentity(sealedIdentity, claim.macDeviceId);
  } catch (const std::exception&) {
    throw PhoneError(PhoneExit::verificationFailed, "Pairing could not be verified.");
  }
  if (mac.platform == DevicePlatform::ios) {
    throw PhoneError(PhoneExit::verificationFailed, "Pairing could not be verified: the other side is a phone.");
  }
  return mac;
}

}  // namespace

PhoneError phoneError(const APIError& error) {
  if (const auto* server = error.server()) {
    const char* advice = server->body.code == "clock_skew" ? " Check the clock of this device." : "";
    PhoneError refused(PhoneExit::serviceRefused, server->body.message + " (" + server->body.code + ")" + advice);
    refused.status = server->status;
    refused.code = server->body.code;
    return refused;
  }
  if (std::holds_alternative<APIError::Decoding>(error.detail)) {
    return {PhoneExit::serviceRefused, std::string("The service's answer makes no sense: ") + error.what()};
  }
  return {PhoneExit::unreachable, std::string("The service can't be reached: ") + error.what()};
}

Phone::Phone(PhoneState state, std::filesystem::path folder, const DeviceIdentity& identity, HTTPSession& session,
             TimeSource time)
    : state_(std::move(state)),
      folder_(std::move(folder)),
      identity_(identity),
      time_(std::move(time)),
      api_(serviceURL(state_.service), identity, session) {}

ServiceURL Phone::serviceURL(const std::string& text) {
  auto url = ServiceURL::parse(text);
  const bool isService = url && (url->scheme == "http" || url->scheme == "https");
  if (!isService)
    throw PhoneError(PhoneExit::usage, "The service's address \"" + text + "\" is not an http or https URL.");
  return *url;
}

DeviceIdentity Phone::loadIdentity(const std::filesystem::path& folder) {
  const File turn = takeTurn(folder);
  FileSecretStore secrets = keyStore(folder);
  try {
    return DeviceIdentity::loadOrCreate(secrets);
  } catch (const SecretStoreError& error) {
    throw keysFailed(folder, std::generic_category().message(error.status));
  } catch (const Crypto::KeyError&) {
    throw keysFailed(folder, "they are damaged");
  }
}

std::string Phone::makeId() {
  return Crypto::hexLower(Crypto::randomBytes(16));
}

Awaitable<void> Phone::registerDevice() {
  co_await asked(api_.registerDevice(DevicePlatform::ios, state_.name, "quillet-phone " QUILLET_VERSION));
}

Awaitable<Phone::Claim> Phone::claim(std::string invitationOrCode) {
  const auto invitation = PairingInvitation::parse(invitationOrCode);
  const Crypto::Key privateKey = Crypto::generatePrivateKey();
  const Crypto::Key publicKey = Crypto::x25519PublicKey(privateKey);
  ClaimPairingRequest request{.phoneEphemeralPublicKey = Base64URL::encode(publicKey), .phoneName = state_.name};
  if (invitation) {
    request.sessionId = invitation->sessionId;
  } else {
    request.code = PairingCode::normalise(invitationOrCode);
  }
  const ClaimPairingResponse response = co_await asked(api_.claimPairing(request));
  if (!Identifier::canStandInPath(response.sessionId)) {
    throw PhoneError(PhoneExit::serviceRefused, "The service gave a pairing session whose id can't be used.");
  }
  std::optional<PhoneError> failure;
  try {
    const auto macKey = macKeyOf(response, invitation);
    PairingCrypto crypto(response.sessionId, macKey, publicKey, response.macDeviceId, identity_.deviceId(), privateKey);
    co_return Claim{response.sessionId, response.macDeviceId, response.macName, response.expiresAt, std::move(crypto)};
  } catch (const PhoneError& error) {
    failure = error;
  } catch (const Crypto::KeyError&) {
    failure = noValidKey();
  }
  // Else the Mac would go on to show words.
  co_await cancelQuietly(response.sessionId);
  throw *failure;
}

Awaitable<void> Phone::cancelQuietly(std::string sessionId) {
  try {
    co_await api_.cancelPairing(std::move(sessionId));
  } catch (const APIError&) {
    // The service lets sessions expire by itself.
  }
}

Awaitable<void> Phone::cancelPairing(std::string sessionId) {
  co_await asked(api_.cancelPairing(std::move(sessionId)));
}

Awaitable<PeerIdentity> Phone::confirm(Claim claim) {
  PeerIdentity mac;
  std::exception_ptr failure;
  try {
    const PairingStatus status = co_await awaitPaired(claim);
    mac = macFrom(claim, *status.peerSealedIdentity);
    keep(mac);
  } catch (const std::exception&) {
    failure = std::current_exception();
  }
  if (failure) {
    // Else the Mac would keep a pair that this phone doesn't know of.
    co_await cancelQuietly(claim.sessionId);
    std::rethrow_exception(failure);
  }
  co_return mac;
}

Awaitable<PairingStatus> Phone::awaitPaired(const Claim& claim) {
  const std::string sealed = claim.crypto.sealIdentity(identity_.peerIdentity(state_.name, DevicePlatform::ios));
  PairingStatus status;
  bool confirms = true;
  for (;;) {
    // An answer that got lost is made up for by the next one, which may tell that the confirmation got lost, too.
    const auto answer = co_await unlessLost(confirms ? api_.confirmPairing(claim.sessionId, sealed)
                                                     : api_.pairingStatus(claim.sessionId));
    if (answer) status = *answer;
    confirms = answer && !status.phoneConfirmed;
    if (status.state == PairingState::paired && status.peerSealedIdentity) co_return status;
    if (status.state == PairingState::cancelled) throw PhoneError(PhoneExit::pairingFailed, "Pairing was cancelled.");
    if (status.state == PairingState::expired || time_.now() >= claim.expiresAt + kIdentityGraceMilliseconds) {
      throw PhoneError(PhoneExit::pairingFailed, "The pairing request expired.");
    }
    co_await time_.sleep(kPollInterval);
  }
}

void Phone::keep(const PeerIdentity& mac) {
  state_ = PhoneState::change(folder_, [&](PhoneState& state) {
    std::erase_if(state.macs, [&](const PairedMac& known) { return known.identity.deviceId == mac.deviceId; });
    state.macs.push_back({mac, time_.now()});
  });
}

Awaitable<std::vector<Phone::MacPresence>> Phone::presence() {
  const PresenceResponse response = co_await asked(api_.presence());
  std::vector<MacPresence> macs;
  for (const auto& mac : response.macs) {
    MacPresence entry{.macId = mac.macId, .online = mac.online, .lastSeenAt = mac.lastSeenAt};
    if (const auto* known = state_.mac(mac.macId)) {
      entry.readiness = openedReadiness(mac, known->identity);
      if (entry.readiness) learnName(mac.macId, entry.readiness->macName);
    }
    if (const auto* known = state_.mac(mac.macId)) entry.name = known->identity.name;  // as it is by now
    macs.push_back(std::move(entry));
  }
  co_return macs;
}

/// Absent when it was sealed for an earlier identity, or not by this Mac: nothing is known then.
std::optional<ReadinessPayload> Phone::openedReadiness(const PresenceResponse::Mac& mac,
                                                       const PeerIdentity& peer) const {
  if (!mac.readiness) return std::nullopt;
  try {
    return mac.readiness->envelope.open<ReadinessPayload>(EnvelopePurpose::readiness, identity_, peer);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

void Phone::learnName(const std::string& macId, const std::string& name) {
  const auto* known = state_.mac(macId);
  if (known == nullptr || known->identity.name == name || name.empty()) return;
  state_ = PhoneState::change(folder_, [&](PhoneState& state) {
    for (auto& mac : state.macs) {
      if (mac.identity.deviceId == macId) mac.identity.name = name;
    }
  });
}

Awaitable<PrepareResultPayload> Phone::prepare(PeerIdentity mac, std::string utteranceId) {
  const PrepareRequestPayload payload{makeId(), std::move(utteranceId), time_.now()};
  PrepareRelayRequest request{payload.requestId, Envelope::seal(payload, EnvelopePurpose::prepare, identity_, mac)};
  const EnvelopeResponse response = co_await asked(api_.prepareTarget(mac.deviceId, std::move(request)));
  auto result = opened<PrepareResultPayload>(response.envelope, EnvelopePurpose::prepareResult, identity_, mac);
  if (result.requestId != payload.requestId || result.utteranceId != payload.utteranceId) {
    throw PhoneError(PhoneExit::verificationFailed, "The answer belongs to another request.");
  }
  co_return result;
}

DeliveryRequest Phone::sealed(const PeerIdentity& mac, const std::string& utteranceId, std::string token,
                              std::string text) const {
  const DeliveryPayload payload{utteranceId, std::move(token), std::move(text), RecognitionMode::local, time_.now()};
  return {utteranceId, Envelope::seal(payload, EnvelopePurpose::delivery, identity_, mac)};
}

Awaitable<Phone::DeliveryReport> Phone::deliver(PeerIdentity mac, std::string utteranceId, std::string token,
                                                std::string text) {
  DeliveryRequest request = sealed(mac, utteranceId, std::move(token), std::move(text));
  const auto status = co_await unlessLost(api_.submitDelivery(mac.deviceId, std::move(request)));
  if (!status) throw uncertain("The service's answer got lost.", utteranceId);
  co_return reportFrom(*status, mac);
}

Awaitable<Phone::DeliveryReport> Phone::deliverAndWait(PeerIdentity mac, std::string utteranceId, std::string token,
                                                       std::string text, Duration limit) {
  const DeliveryRequest request = sealed(mac, utteranceId, std::move(token), std::move(text));
  const auto deadline = time_.monotonic() + limit;
  DeliveryStatus status;  // "unknown" until the service has told another
  bool submits = true, lost = false;
  for (;;) {
    std::optional<DeliveryStatus> answer;
    try {
      answer = co_await unlessLost(submits ? api_.submitDelivery(mac.deviceId, request)
                                           : api_.waitForDelivery(mac.deviceId, utteranceId, waitSeconds(deadline)));
    } catch (const PhoneError& refused) {
      if (!lost || status.state != DeliveryTransportState::unknown) throw;
      throw uncertain(refused.what(), utteranceId);
    }
    if (answer) status = *answer;
    lost = lost || !answer;
    const bool isUnknown = status.state == DeliveryTransportState::unknown;
    if ((!isUnknown && !isOpen(status.state)) || time_.monotonic() >= deadline) break;
    submits = answer && isUnknown;
    if (!answer || submits) co_await time_.sleep(kPollInterval);
  }
  if (status.state == DeliveryTransportState::unknown) {
    throw uncertain("The service didn't say what became of the delivery.", utteranceId);
  }
  co_return reportFrom(status, mac);
}

Awaitable<Phone::DeliveryReport> Phone::wait(PeerIdentity mac, std::string utteranceId, Duration limit) {
  const auto deadline = time_.monotonic() + limit;
  auto status = co_await asked(api_.waitForDelivery(mac.deviceId, utteranceId, waitSeconds(deadline)));
  while (isOpen(status.state) && time_.monotonic() < deadline) {
    auto answer = co_await unlessLost(api_.waitForDelivery(mac.deviceId, utteranceId, waitSeconds(deadline)));
    if (answer) {
      status = *std::move(answer);
    } else {
      co_await time_.sleep(kPollInterval);
    }
  }
  co_return reportFrom(status, mac);
}

int Phone::waitSeconds(MonotonicTime deadline) const {
  const auto left = std::chrono::ceil<std::chrono::seconds>(deadline - time_.monotonic()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, kLongestWaitSeconds));
}

Awaitable<Phone::DeliveryReport> Phone::cancelDelivery(PeerIdentity mac, std::string utteranceId) {
  const DeliveryStatus status = co_await asked(api_.cancelDelivery(mac.deviceId, std::move(utteranceId)));
  co_return reportFrom(status, mac);
}

Awaitable<void> Phone::unpair(std::string macId) {
  const auto isIt = [&](const PairedMac& known) { return known.identity.deviceId == macId; };
  const bool known = std::any_of(state_.macs.begin(), state_.macs.end(), isIt);
  try {
    co_await asked(api_.removePair(macId));
  } catch (const PhoneError& error) {
    if (error.status != kNotFound) throw;
    if (!known) throw PhoneError(PhoneExit::notReady, "No Mac with that id is paired.");
  }
  if (known) state_ = PhoneState::change(folder_, [&](PhoneState& state) { std::erase_if(state.macs, isIt); });
}

Awaitable<void> Phone::rename(std::string name) {
  co_await asked(api_.rename(name));
  state_ = PhoneState::change(folder_, [&](PhoneState& state) { state.name = name; });
}

Awaitable<void> Phone::deleteCloudData() {
  try {
    co_await asked(api_.deleteDevice());
  } catch (const PhoneError& error) {
    if (error.code != "device_revoked") throw;
  }
  reset(folder_);
}

void Phone::reset(const std::filesystem::path& folder) {
  if (std::error_code unclear; !std::filesystem::exists(folder, unclear) && !unclear) return;
  const File turn = takeTurn(folder);
  FileSecretStore secrets = keyStore(folder);
  try {
    DeviceIdentity::remove(secrets);
  } catch (const SecretStoreError& error) {
    throw std::runtime_error("The keys in \"" + (folder / "keys").string() +
                             "\" can't be removed: " + std::generic_category().message(error.status) + ".");
  }
  std::filesystem::remove(folder / "phone.json");
}

Phone::DeliveryReport Phone::reportFrom(const DeliveryStatus& status, const PeerIdentity& mac) const {
  DeliveryReport report{status.state, status.macOnline, std::nullopt};
  if (!status.resultEnvelope) return report;
  auto result = opened<ResultPayload>(*status.resultEnvelope, EnvelopePurpose::result, identity_, mac);
  if (result.utteranceId != status.utteranceId || !result.verify(mac)) {
    throw PhoneError(PhoneExit::verificationFailed, "The result's signature is not the paired Mac's.");
  }
  report.result = std::move(result);
  return report;
}

}  // namespace quillet
