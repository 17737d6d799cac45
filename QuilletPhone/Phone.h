// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuilletKit/APIClient.h"
#include "QuilletKit/Clock.h"
#include "QuilletKit/PairingCrypto.h"
#include "QuilletPhone/PhoneState.h"

namespace quillet {

/// How a command ended; the values are the program's exit codes.
enum class PhoneExit {
  done = 0,
  failure = 1,  ///< Of this machine: files, keys.
  usage = 2,
  notReady = 3,            ///< No `init` yet, or no such Mac paired.
  unreachable = 4,         ///< The service can't be reached.
  serviceRefused = 5,      ///< The service said no.
  targetRefused = 6,       ///< The Mac said no; nothing was inserted.
  uncertain = 7,           ///< The text may have gone in.
  pairingFailed = 8,       ///< Cancelled, expired or not confirmed.
  verificationFailed = 9,  ///< An answer that isn't from the paired Mac.
  noAnswer = 10            ///< Delivered to the service, no result in time.
};

struct PhoneError : std::runtime_error {
  PhoneError(PhoneExit how, const std::string& message) : std::runtime_error(message), exit(how) {}
  PhoneExit exit;
  /// With `serviceRefused`: the HTTP status and the service's word for it.
  int status = 0;
  std::string code;
};

/// The phone's half of every protocol. Operations throw PhoneError.
class Phone {
 public:
  /// A claimed pairing session whose words have yet to be compared.
  struct Claim {
    std::string sessionId, macDeviceId, macName;
    std::int64_t expiresAt = 0;
    PairingCrypto crypto;
  };
  struct MacPresence {
    std::string macId, name;
    bool online = false;
    std::optional<std::int64_t> lastSeenAt;
    std::optional<ReadinessPayload> readiness;  ///< Opened; absent when none came or it can't be opened.
  };
  struct DeliveryReport {
    DeliveryTransportState state = DeliveryTransportState::unknown;
    bool macOnline = false;
    std::optional<ResultPayload> result;  ///< Verified.
  };

  /// `session` outlives the phone.
  Phone(PhoneState state, std::filesystem::path folder, DeviceIdentity identity, HTTPSession& session, TimeSource time);

  /// The keys, made when there are none. Throws what DeviceIdentity::loadOrCreate throws.
  static DeviceIdentity loadIdentity(const std::filesystem::path& folder);

  Awaitable<void> registerDevice();
  /// By invitation text when it parses as one, else by typed code.
  Awaitable<Claim> claim(std::string invitationOrCode);
  /// After the person confirmed the words: exchanges identities, waits for the Mac, stores it.
  Awaitable<PeerIdentity> confirm(Claim claim);
  Awaitable<void> cancelPairing(std::string sessionId);
  /// Also learns the names that the Macs have now.
  Awaitable<std::vector<MacPresence>> presence();
  Awaitable<PrepareResultPayload> prepare(PeerIdentity mac, std::string utteranceId);
  Awaitable<DeliveryReport> deliver(PeerIdentity mac, std::string utteranceId, std::string token, std::string text);
  /// Until there is a result, the delivery ended otherwise, or the time is over.
  Awaitable<DeliveryReport> wait(PeerIdentity mac, std::string utteranceId, Duration limit);
  Awaitable<DeliveryReport> cancelDelivery(PeerIdentity mac, std::string utteranceId);
  /// Also forgets a Mac that the service doesn't know as paired any more.
  Awaitable<void> unpair(PeerIdentity mac);
  Awaitable<void> rename(std::string name);
  /// Deletes this phone at the service, then here. Nothing has changed when it throws.
  Awaitable<void> deleteCloudData();
  /// Forgets keys and pairs here.
  void reset();

  const PhoneState& state() const { return state_; }
  std::string deviceId() const { return identity_.deviceId(); }
  static std::string makeId();

 private:
  Awaitable<void> cancelQuietly(std::string sessionId);
  Awaitable<PeerIdentity> awaitPaired(const Claim& claim, PairingStatus status);
  std::optional<ReadinessPayload> openedReadiness(const PresenceResponse::Mac& mac, const PeerIdentity& peer) const;
  void learnName(const std::string& macId, const std::string& name);
  DeliveryReport reportFrom(const DeliveryStatus& status, const PeerIdentity& mac) const;

  PhoneState state_;
  std::filesystem::path folder_;
  DeviceIdentity identity_;
  TimeSource time_;
  APIClient api_;
};

/// What to say of an error of the service, and how to exit.
PhoneError phoneError(const APIError& error);

}  // namespace quillet
