// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletKit/Protocol/Envelope.h"

/// Every message that crosses a device boundary. Times are milliseconds since 1970-01-01 UTC; binary values are
/// unpadded base64url. Enumerator names equal the raw strings on the wire (see RawValue.h).
namespace quillet {

enum class PrepareStatus { ready, refused };
enum class RefusalReason {
  noField,
  secureField,
  locked,
  noAccessibility,
  focusChanged,
  appChanged,
  selectionChanged,
  tokenExpired,
  tokenUnknown,
  unsupportedTarget,
  busy,
  asleep
};
enum class RecognitionMode { cloud, local };
enum class InsertionOutcome { inserted, refused, uncertain };
enum class InsertionMethod { accessibility, typing };
enum class ReadinessState { ready, noField, locked, noAccessibility, asleep };
enum class DeviceKind { macBook, iMac, macMini, macStudio, macPro, windowsLaptop, windowsDesktop };
enum class DeliveryTransportState { queued, received, result, cancelled, expired, unknown };
enum class PairingState { open, claimed, paired, cancelled, expired };
enum class RecognitionLanguage { automatic /* "auto" */, en, nl, fr, de };
enum class TranscriptStyle { verbatim, clean };

constexpr auto rawNames(std::type_identity<PrepareStatus>) {
  return rawTable<2>({"ready", "refused"});
}
constexpr auto rawNames(std::type_identity<RefusalReason>) {
  return rawTable<12>({"noField", "secureField", "locked", "noAccessibility", "focusChanged", "appChanged",
                       "selectionChanged", "tokenExpired", "tokenUnknown", "unsupportedTarget", "busy", "asleep"});
}
constexpr auto rawNames(std::type_identity<RecognitionMode>) {
  return rawTable<2>({"cloud", "local"});
}
constexpr auto rawNames(std::type_identity<InsertionOutcome>) {
  return rawTable<3>({"inserted", "refused", "uncertain"});
}
constexpr auto rawNames(std::type_identity<InsertionMethod>) {
  return rawTable<2>({"accessibility", "typing"});
}
constexpr auto rawNames(std::type_identity<ReadinessState>) {
  return rawTable<5>({"ready", "noField", "locked", "noAccessibility", "asleep"});
}
constexpr auto rawNames(std::type_identity<DeviceKind>) {
  return rawTable<7>({"macBook", "iMac", "macMini", "macStudio", "macPro", "windowsLaptop", "windowsDesktop"});
}
constexpr auto rawNames(std::type_identity<DeliveryTransportState>) {
  return rawTable<6>({"queued", "received", "result", "cancelled", "expired", "unknown"});
}
constexpr auto rawNames(std::type_identity<PairingState>) {
  return rawTable<5>({"open", "claimed", "paired", "cancelled", "expired"});
}
constexpr auto rawNames(std::type_identity<RecognitionLanguage>) {
  return rawTable<5>({"auto", "en", "nl", "fr", "de"});
}
constexpr auto rawNames(std::type_identity<TranscriptStyle>) {
  return rawTable<2>({"verbatim", "clean"});
}

/// The kind that a hardware model string names by its prefix; absent when it names none.
std::optional<DeviceKind> deviceKindFromModel(std::string_view model);
/// All seven, in declared order.
const std::vector<DeviceKind>& allDeviceKinds();

// --- End-to-end payloads (inside envelopes) ---

struct PrepareRequestPayload {
  std::string requestId, utteranceId;
  std::int64_t issuedAt = 0;
  bool operator==(const PrepareRequestPayload&) const = default;
};

struct PrepareResultPayload {
  std::string requestId, utteranceId;
  PrepareStatus status = PrepareStatus::refused;
  std::optional<std::string> token, appName, fieldLabel;
  std::optional<RefusalReason> reason;
  std::optional<std::int64_t> expiresAt;
  bool operator==(const PrepareResultPayload&) const = default;
};

struct DeliveryPayload {
  std::string utteranceId, token, text;
  RecognitionMode mode = RecognitionMode::cloud;
  std::int64_t createdAt = 0;
  bool operator==(const DeliveryPayload&) const = default;
};

struct ResultPayload {
  std::string utteranceId;
  InsertionOutcome outcome = InsertionOutcome::refused;
  std::optional<RefusalReason> reason;
  std::optional<std::string> appName;
  std::optional<InsertionMethod> method;
  std::int64_t at = 0;
  std::string signature;  ///< Ed25519 over the canonical string.

  static ResultPayload makeSigned(std::string utteranceId, InsertionOutcome outcome,
                                  std::optional<RefusalReason> reason, std::optional<std::string> appName,
                                  std::optional<InsertionMethod> method, std::int64_t at, const DeviceIdentity& sender);
  bool verify(const PeerIdentity& sender) const;
  static std::string canonicalString(std::string_view utteranceId, InsertionOutcome outcome,
                                     std::optional<RefusalReason> reason, std::int64_t at);
  bool operator==(const ResultPayload&) const = default;
};

struct ReadinessPayload {
  std::string macName;
  ReadinessState state = ReadinessState::noField;
  std::optional<std::string> appName, fieldLabel, deviceKind;
  std::int64_t at = 0;
  bool operator==(const ReadinessPayload&) const = default;
};

// --- Relay frames ---

struct PresenceUpdate {
  std::string to;
  Envelope envelope;
  bool operator==(const PresenceUpdate&) const = default;
};

/// Frames that a desktop sends. JSONCoding encodes; the service decodes them (see QuilletService).
namespace RelayClient {
struct PrepareResult {
  std::string requestId, to;
  Envelope envelope;
  bool operator==(const PrepareResult&) const = default;
};
struct Received {
  std::string utteranceId;
  bool operator==(const Received&) const = default;
};
struct Result {
  std::string utteranceId, to;
  Envelope envelope;
  bool operator==(const Result&) const = default;
};
struct Presence {
  std::vector<PresenceUpdate> updates;
  bool operator==(const Presence&) const = default;
};
}  // namespace RelayClient
using RelayClientMessage =
    std::variant<RelayClient::PrepareResult, RelayClient::Received, RelayClient::Result, RelayClient::Presence>;

/// Frames that a desktop gets. JSONCoding decodes; the service encodes them.
namespace RelayServer {
struct Prepare {
  std::string requestId, from;
  Envelope envelope;
  bool operator==(const Prepare&) const = default;
};
struct Deliver {
  std::string utteranceId, from;
  Envelope envelope;
  bool operator==(const Deliver&) const = default;
};
struct PairRevoked {
  std::string peerDeviceId;
  bool operator==(const PairRevoked&) const = default;
};
struct Paired {
  std::string peerDeviceId;
  bool operator==(const Paired&) const = default;
};
struct Unknown {
  std::string type;
  bool operator==(const Unknown&) const = default;
};
}  // namespace RelayServer
using RelayServerMessage = std::variant<RelayServer::Prepare, RelayServer::Deliver, RelayServer::PairRevoked,
                                        RelayServer::Paired, RelayServer::Unknown>;

// --- HTTP bodies of the relay ---

struct PrepareRelayRequest {
  std::string requestId;
  Envelope envelope;
};
struct EnvelopeResponse {
  Envelope envelope;
};
struct DeliveryRequest {
  std::string utteranceId;
  Envelope envelope;
};
struct DeliveryStatus {
  std::string utteranceId;
  DeliveryTransportState state = DeliveryTransportState::unknown;
  bool macOnline = false;
  std::optional<Envelope> resultEnvelope;
};
struct PresenceResponse {
  struct Mac {
    struct Readiness {
      Envelope envelope;
      std::int64_t at = 0;
    };
    std::string macId;
    bool online = false;
    std::optional<std::int64_t> lastSeenAt;
    std::optional<Readiness> readiness;
  };
  std::vector<Mac> macs;
};

}  // namespace quillet
