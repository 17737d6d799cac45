// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <map>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletKit/Protocol/PairingCrypto.h"

namespace quillet::test {

/// One service and one phone in memory. Sessions live for `lifetimeMs`; a switch for each way in which a call fails.
class FakePairingAPI final : public PairingAPI {
 public:
  enum class Call { create, status, confirm };
  /// Thrown by the next calls of a kind, each once; then the calls succeed again.
  std::map<Call, std::deque<APIError>> failures;
  /// Thrown by every call of every kind while present.
  std::optional<APIError> outage;
  /// Awaited before a new session is answered with; the session exists by then.
  std::function<Awaitable<void>()> beforeCreated;

  std::function<std::int64_t()> now;
  std::int64_t lifetimeMs = 120'000;
  PairingStatus status;  ///< Of the newest session.
  std::vector<Bytes> macKeys;
  std::vector<std::string> cancelled, sealedIdentities;
  int confirmations = 0;

  explicit FakePairingAPI(std::function<std::int64_t()> clock) : now(std::move(clock)) {}

  static APIError server(int code, std::string message) {
    return APIError(APIError::Server{code, {"code", std::move(message), false}});
  }
  static APIError transport() { return APIError(APIError::Transport{"no network"}); }

  DeviceIdentity phone = DeviceIdentity::generate();
  Crypto::Key phoneEphemeralKey = Crypto::generatePrivateKey();

  void claim(std::string phoneName) {
    status.state = PairingState::claimed;
    status.phoneName = std::move(phoneName);
    status.phoneDeviceId = phone.deviceId();
    status.phoneEphemeralPublicKey = Base64URL::encode(Crypto::x25519PublicKey(phoneEphemeralKey));
  }
  PairingCrypto phoneCrypto(const std::string& macDeviceId) const {
    return {status.sessionId,
            Crypto::keyFrom(macKeys.back()),
            Crypto::x25519PublicKey(phoneEphemeralKey),
            macDeviceId,
            phone.deviceId(),
            phoneEphemeralKey};
  }
  void pair(const std::string& macDeviceId, DevicePlatform platform = DevicePlatform::ios) {
    status.state = PairingState::paired;
    status.peerSealedIdentity = phoneCrypto(macDeviceId).sealIdentity(phone.peerIdentity("Ada's phone", platform));
  }

  Awaitable<CreatePairingResponse> createPairingSession(Bytes macEphemeralPublicKey, std::string) override {
    meet(Call::create);
    macKeys.push_back(std::move(macEphemeralPublicKey));
    status = {.sessionId = "session" + std::to_string(macKeys.size()), .expiresAt = now() + lifetimeMs};
    const CreatePairingResponse created{status.sessionId, "ABCD1234", status.expiresAt};
    if (beforeCreated) co_await beforeCreated();
    co_return created;
  }
  Awaitable<PairingStatus> pairingStatus(std::string) override {
    meet(Call::status);
    co_return status;
  }
  Awaitable<PairingStatus> confirmPairing(std::string, std::string sealedIdentity) override {
    ++confirmations;
    meet(Call::confirm);
    sealedIdentities.push_back(std::move(sealedIdentity));
    co_return status;
  }
  Awaitable<PairingStatus> cancelPairing(std::string sessionId) override {
    cancelled.push_back(std::move(sessionId));
    if (outage) throw *outage;
    co_return status;
  }

 private:
  void meet(Call call) {
    if (outage) throw *outage;
    auto& due = failures[call];
    if (due.empty()) return;
    const APIError error = due.front();
    due.pop_front();
    throw error;
  }
};

}  // namespace quillet::test
