// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletKit/Protocol/PairingCrypto.h"
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
  noAnswer = 10,           ///< Delivered to the service, no result in time.
  cancelled = 11,          ///< The delivery was taken back; nothing was inserted.
  tooLate = 12             ///< To cancel: the text is on its way to the Mac, or in.
};

struct PhoneError : std::runtime_error {
  PhoneError(PhoneExit how, const std::string& message) : std::runtime_error(message), exit(how) {}
  PhoneExit exit;
  /// With `serviceRefused`: the HTTP status and the service's word for it.
  int status = 0;
  std::string code;
  std::string utteranceId;  ///< Of the delivery that it is about, if any.
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
  Phone(PhoneState state, std::filesystem::path folder, const DeviceIdentity& identity, HTTPSession& session,
        TimeSource time);

  /// Throws PhoneError(usage) for what is none.
  static ServiceURL serviceURL(const std::string& text);
  /// The keys, made when there are none. Throws std::runtime_error for keys that can't be read or kept.
  static DeviceIdentity loadIdentity(const std::filesystem::path& folder);

  Awaitable<void> registerDevice();
  /// By invitation text when it parses as one, else by typed code.
  Awaitable<Claim> claim(std::string invitationOrCode);
  /// After the person confirmed the words: exchanges identities, waits for the Mac, stores it. Leaves no pair when it
  /// throws.
  Awaitable<PeerIdentity> confirm(Claim claim);
  Awaitable<void> cancelPairing(std::string sessionId);
  /// Also learns the names that the Macs have now.
  Awaitable<std::vector<MacPresence>> presence();
  Awaitable<PrepareResultPayload> prepare(PeerIdentity mac, std::string utteranceId);
  /// Throws PhoneError(uncertain) when the service may have taken the text without its answer arriving.
  Awaitable<DeliveryReport> deliver(PeerIdentity mac, std::string utteranceId, std::string token, std::string text);
  /// The same and then `wait`, through answers that get lost: asks again, and submits the same envelope once more when
  /// the service doesn't know of it. Throws PhoneError(uncertain) when that isn't clear at the limit.
  Awaitable<DeliveryReport> deliverAndWait(PeerIdentity mac, std::string utteranceId, std::string token,
                                           std::string text, Duration limit);
  /// Until there is a result, the delivery ended otherwise, or the time is over. Once the service has answered, later
  /// answers may get lost.
  Awaitable<DeliveryReport> wait(PeerIdentity mac, std::string utteranceId, Duration limit);
  Awaitable<DeliveryReport> cancelDelivery(PeerIdentity mac, std::string utteranceId);
  /// Also forgets a Mac that the service doesn't know as paired any more, and ends a pairing that only the service
  /// knows of. Throws PhoneError(notReady) when neither does.
  Awaitable<void> unpair(std::string macId);
  Awaitable<void> rename(std::string name);
  /// Deletes this phone at the service, then here. Nothing has changed when it throws.
  Awaitable<void> deleteCloudData();
  /// Forgets keys and pairs here, also damaged ones.
  static void reset(const std::filesystem::path& folder);

  const PhoneState& state() const { return state_; }
  std::string deviceId() const { return identity_.deviceId(); }
  static std::string makeId();

 private:
  Awaitable<void> cancelQuietly(std::string sessionId);
  Awaitable<PairingStatus> awaitPaired(const Claim& claim);
  void keep(const PeerIdentity& mac);
  DeliveryRequest sealed(const PeerIdentity& mac, const std::string& utteranceId, std::string token,
                         std::string text) const;
  int waitSeconds(MonotonicTime deadline) const;
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
