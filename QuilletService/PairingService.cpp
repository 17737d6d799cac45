// SPDX-License-Identifier: MIT
#include "QuilletService/PairingService.h"

#include <utility>

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Protocol/PairingCrypto.h"
#include "QuilletService/ServiceError.h"
#include "QuilletService/Validation.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;

// O, I and L are missing: typed, they count as 0 and 1.
constexpr std::string_view kCodeAlphabet = "0123456789ABCDEFGHJKMNPQRSTUVWXYZ";
constexpr std::size_t kCodeLength = 8;
constexpr int kSessionsPerMinute = 30;
constexpr int kClaimsPerMinute = 10;
constexpr std::size_t kLongestSealedIdentity = 8192;
constexpr std::int64_t kKeptAfterExpiry = 3'600'000;

std::string randomCode() {
  // The largest multiple of the alphabet's size in a byte, so that every character is equally likely.
  constexpr std::size_t kFair = 256 - 256 % kCodeAlphabet.size();
  std::string code;
  while (code.size() < kCodeLength) {
    for (const std::uint8_t byte : Crypto::randomBytes(kCodeLength)) {
      if (byte < kFair && code.size() < kCodeLength) code += kCodeAlphabet[byte % kCodeAlphabet.size()];
    }
  }
  return code;
}

bool isOver(PairingState state) {
  return state == PairingState::cancelled || state == PairingState::expired;
}

[[noreturn]] void refuseClaim(PairingState state) {
  if (state == PairingState::expired) throw ServiceError(410, "pairing_expired", "This pairing code has expired.");
  if (state == PairingState::cancelled) throw ServiceError(410, "pairing_cancelled", "The pairing was cancelled.");
  throw ServiceError(409, "already_claimed", "Another device has used this pairing code.");
}

}  // namespace

PairingService::PairingService(Store& store, PairDirectory& pairs, const TimeSource& time,
                               std::chrono::milliseconds timeToLive)
    : store_(store),
      pairs_(pairs),
      time_(time),
      timeToLive_(timeToLive),
      createLimit_(kSessionsPerMinute, 1min, time),
      claimLimit_(kClaimsPerMinute, 1min, time) {}

CreatePairingResponse PairingService::create(const Device& device, const CreatePairingRequest& request) {
  if (!device.isDesktop()) throw Refusal::wrongPlatform("Only a desktop can open a pairing session.");
  Validation::publicKey(request.macEphemeralPublicKey, "macEphemeralPublicKey");
  Validation::requireName(request.macName);
  if (!createLimit_.admit(device.id)) throw Refusal::tooManyRequests();

  PairingSession session;
  session.id = Crypto::hexLower(Crypto::randomBytes(16));
  session.code = unusedCode();
  session.expiresAt = time_.now() + timeToLive_.count();
  session.macId = device.id;
  session.macName = request.macName;
  session.macKey = request.macEphemeralPublicKey;
  store_.pairings.save(session);
  return {session.id, session.code, session.expiresAt};
}

ClaimPairingResponse PairingService::claim(const Device& device, const ClaimPairingRequest& request) {
  if (device.isDesktop()) throw Refusal::wrongPlatform("Only a phone can claim a pairing session.");
  if (request.sessionId.has_value() == request.code.has_value()) {
    throw Refusal::badRequest("Exactly one of sessionId and code is needed.");
  }
  Validation::publicKey(request.phoneEphemeralPublicKey, "phoneEphemeralPublicKey");
  Validation::requireNameSize(request.phoneName);
  if (!claimLimit_.admit(device.id)) throw Refusal::tooManyRequests();

  auto session = findToClaim(request);
  if (!session) throw Refusal::notFound("There is no such pairing code.");
  const bool repeated = session->state == PairingState::claimed && session->phoneId == device.id &&
                        session->phoneKey == request.phoneEphemeralPublicKey;
  if (repeated) return claimResponse(*session);
  if (session->state != PairingState::open) refuseClaim(session->state);

  session->state = PairingState::claimed;
  session->expiresAt = time_.now() + timeToLive_.count();
  session->phoneId = device.id;
  session->phoneName = request.phoneName;
  session->phoneKey = request.phoneEphemeralPublicKey;
  store_.pairings.save(*session);
  return claimResponse(*session);
}

PairingStatus PairingService::status(const Device& device, const std::string& sessionId) {
  return statusFor(device, sessionFor(device, sessionId));
}

PairingStatus PairingService::confirm(const Device& device, const std::string& sessionId,
                                      const ConfirmPairingRequest& request) {
  if (request.sealedIdentity.empty() || request.sealedIdentity.size() > kLongestSealedIdentity) {
    throw Refusal::badRequest("sealedIdentity is missing or too long.");
  }
  PairingSession session = sessionFor(device, sessionId);
  if (session.state == PairingState::open) {
    throw ServiceError(409, "not_claimed", "No phone has used this pairing code yet.");
  }
  if (session.state != PairingState::claimed) return statusFor(device, session);

  (device.isDesktop() ? session.macSealed : session.phoneSealed) = request.sealedIdentity;
  if (session.macSealed && session.phoneSealed) {
    session.state = PairingState::paired;
    pairs_.add({session.macId, *session.phoneId, time_.now()}, [&] { store_.pairings.save(session); });
    Log::info("service", "Paired {} with a phone", std::string_view(session.macId).substr(0, 8));
  } else {
    store_.pairings.save(session);
  }
  return statusFor(device, session);
}

PairingStatus PairingService::cancel(const Device& device, const std::string& sessionId) {
  PairingSession session = sessionFor(device, sessionId);
  if (isOver(session.state)) return statusFor(device, session);
  const bool paired = std::exchange(session.state, PairingState::cancelled) == PairingState::paired;
  session.macSealed.reset();
  session.phoneSealed.reset();
  const auto save = [&] { store_.pairings.save(session); };
  if (!paired || !pairs_.remove(session.macId, *session.phoneId, !device.isDesktop(), save)) save();
  return statusFor(device, session);
}

void PairingService::sweep() {
  createLimit_.sweep();
  claimLimit_.sweep();
  store_.pairings.removeExpiredBefore(time_.now() - kKeptAfterExpiry);
}

PairingSession PairingService::sessionFor(const Device& device, const std::string& sessionId) {
  auto session = store_.pairings.session(sessionId);
  if (!session || (session->macId != device.id && session->phoneId != device.id)) {
    throw Refusal::notFound("There is no such pairing session.");
  }
  applyExpiry(*session);
  return *std::move(session);
}

std::optional<PairingSession> PairingService::findToClaim(const ClaimPairingRequest& request) {
  auto session = request.sessionId ? store_.pairings.session(*request.sessionId)
                                   : store_.pairings.sessionWithCode(PairingCode::normalise(*request.code));
  if (session) applyExpiry(*session);
  return session;
}

void PairingService::applyExpiry(PairingSession& session) const {
  const bool unfinished = session.state == PairingState::open || session.state == PairingState::claimed;
  if (unfinished && time_.now() >= session.expiresAt) session.state = PairingState::expired;
}

std::string PairingService::unusedCode() {
  for (;;) {
    std::string code = randomCode();
    if (!store_.pairings.sessionWithCode(code)) return code;
  }
}

PairingStatus PairingService::statusFor(const Device& device, const PairingSession& session) {
  const bool desktop = device.isDesktop();
  PairingStatus status{
      .sessionId = session.id,
      .state = session.state,
      .expiresAt = session.expiresAt,
      .macName = session.macName,
      .macDeviceId = session.macId,
      .phoneName = session.phoneName,
      .phoneDeviceId = session.phoneId,
      .phoneEphemeralPublicKey = session.phoneKey,
      .macConfirmed = session.macSealed.has_value(),
      .phoneConfirmed = session.phoneSealed.has_value(),
  };
  const bool ownConfirmed = desktop ? status.macConfirmed : status.phoneConfirmed;
  if (ownConfirmed) status.peerSealedIdentity = desktop ? session.phoneSealed : session.macSealed;
  return status;
}

ClaimPairingResponse PairingService::claimResponse(const PairingSession& session) {
  return {session.id, session.macId, session.macName, session.macKey, session.expiresAt};
}

}  // namespace quillet
