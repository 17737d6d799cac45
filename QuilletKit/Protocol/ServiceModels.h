// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/Protocol/WireModels.h"

/// HTTP bodies of the cloud service, other than those that carry envelopes.
namespace quillet {

struct APIErrorBody {
  std::string code, message;
  bool retryable = false;
  bool operator==(const APIErrorBody&) const = default;
};
/// On the wire an APIErrorBody is the one key `error`.
struct ErrorWrapper {
  APIErrorBody error;
};

struct ServiceConfig {
  struct Cloud {
    struct Streaming {
      bool enabled = false;
      std::string model, region;
      bool operator==(const Streaming&) const = default;
    };
    std::string model, region, configVersion;
    std::optional<Streaming> streaming;
    bool operator==(const Cloud&) const = default;
  };
  std::int64_t maxRecordingSeconds = 300;
  std::int64_t maxUploadBytes = 16'000'000;
  std::int64_t pairingTtlSeconds = 120;
  Cloud cloud{"MAI-Transcribe-2", "Azure AI Speech · East US", "unknown", std::nullopt};
  bool operator==(const ServiceConfig&) const = default;
};

struct RegisterRequest {
  std::string signingPublicKey, agreementPublicKey;
  DevicePlatform platform = DevicePlatform::macos;
  std::string name, appVersion;
  std::optional<std::string> deviceCheckToken;
};
struct RegisterResponse {
  std::string deviceId;
  std::int64_t registeredAt = 0;
};
struct RenameRequest {
  std::string name;
};
struct OK {
  bool ok = false;
};
struct PairSummary {
  std::string peerDeviceId, peerName;
  DevicePlatform peerPlatform = DevicePlatform::ios;
  std::int64_t pairedAt = 0;
  std::optional<std::int64_t> peerLastSeenAt;
  bool operator==(const PairSummary&) const = default;
};
struct PairsResponse {
  std::vector<PairSummary> pairs;
};
struct FeedbackRequest {
  std::string message;
  std::optional<std::string> replyTo;
  std::string appVersion, os, model;
};

namespace Feedback {
inline constexpr std::size_t kMaximumMessageCharacters = 5000;
/// The rule for `replyTo`: at most 254 characters, one "@", a dot after it, no blank or punctuation of addresses.
bool isEmail(std::string_view text);
}  // namespace Feedback

struct CreatePairingRequest {
  std::string macEphemeralPublicKey, macName;
};
struct CreatePairingResponse {
  std::string sessionId, code;
  std::int64_t expiresAt = 0;
};
struct ClaimPairingRequest {
  std::optional<std::string> sessionId, code;
  std::string phoneEphemeralPublicKey, phoneName;
};
struct ClaimPairingResponse {
  std::string sessionId, macDeviceId, macName, macEphemeralPublicKey;
  std::int64_t expiresAt = 0;
};
struct ConfirmPairingRequest {
  std::string sealedIdentity;
};
struct PairingStatus {
  std::string sessionId;
  PairingState state = PairingState::open;
  std::int64_t expiresAt = 0;
  std::string macName, macDeviceId;
  std::optional<std::string> phoneName, phoneDeviceId, phoneEphemeralPublicKey;
  bool macConfirmed = false, phoneConfirmed = false;
  std::optional<std::string> peerSealedIdentity;
};

struct TranscribeMeta {
  std::string utteranceId;
  RecognitionLanguage language = RecognitionLanguage::automatic;
  TranscriptStyle style = TranscriptStyle::verbatim;
  std::vector<std::string> phrases;
  bool speakers = false;
  bool operator==(const TranscribeMeta&) const = default;
};
struct SpeakerTurn {
  std::int64_t speaker = 0;
  std::string text;
};
struct TranscribeResponse {
  std::string utteranceId, text;
  std::optional<std::vector<SpeakerTurn>> speakers;
  std::int64_t durationMs = 0;
  std::string model, configVersion;
};

/// The upload format application/vnd.qlt.transcribe: big-endian length, metadata as JSON, audio.
namespace TranscribeBody {
std::string build(const TranscribeMeta& meta, ByteView audio);
struct Parsed {
  TranscribeMeta meta;
  ByteView audio;  ///< Into the given bytes.
};
/// Throws JSONCoding::DecodingError.
Parsed parse(ByteView body);
}  // namespace TranscribeBody

}  // namespace quillet
