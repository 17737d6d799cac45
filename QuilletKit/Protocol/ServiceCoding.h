// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/ServiceModels.h"

/// How the types of ServiceModels.h look in JSON, for sources that code types which hold them.
namespace quillet {

constexpr auto jsonFields(std::type_identity<APIErrorBody>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("code", &APIErrorBody::code), field("message", &APIErrorBody::message),
                            field("retryable", &APIErrorBody::retryable));
}

constexpr auto jsonFields(std::type_identity<ErrorWrapper>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("error", &ErrorWrapper::error));
}

constexpr auto jsonFields(std::type_identity<ServiceConfig::Cloud::Streaming>) {
  using JSONCoding::field;
  using Streaming = ServiceConfig::Cloud::Streaming;
  return JSONCoding::fields(field("enabled", &Streaming::enabled), field("model", &Streaming::model),
                            field("region", &Streaming::region));
}

constexpr auto jsonFields(std::type_identity<ServiceConfig::Cloud>) {
  using JSONCoding::field;
  using Cloud = ServiceConfig::Cloud;
  return JSONCoding::fields(field("configVersion", &Cloud::configVersion), field("model", &Cloud::model),
                            field("region", &Cloud::region), field("streaming", &Cloud::streaming));
}

constexpr auto jsonFields(std::type_identity<ServiceConfig>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("cloud", &ServiceConfig::cloud),
                            field("maxRecordingSeconds", &ServiceConfig::maxRecordingSeconds),
                            field("maxUploadBytes", &ServiceConfig::maxUploadBytes),
                            field("pairingTtlSeconds", &ServiceConfig::pairingTtlSeconds));
}

constexpr auto jsonFields(std::type_identity<RegisterRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("agreementPublicKey", &RegisterRequest::agreementPublicKey),
                            field("appVersion", &RegisterRequest::appVersion),
                            field("deviceCheckToken", &RegisterRequest::deviceCheckToken),
                            field("name", &RegisterRequest::name), field("platform", &RegisterRequest::platform),
                            field("signingPublicKey", &RegisterRequest::signingPublicKey));
}

constexpr auto jsonFields(std::type_identity<RegisterResponse>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("deviceId", &RegisterResponse::deviceId),
                            field("registeredAt", &RegisterResponse::registeredAt));
}

constexpr auto jsonFields(std::type_identity<RenameRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("name", &RenameRequest::name));
}

constexpr auto jsonFields(std::type_identity<OK>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("ok", &OK::ok));
}

constexpr auto jsonFields(std::type_identity<PairSummary>) {
  using JSONCoding::field;
  return JSONCoding::fields(
      field("pairedAt", &PairSummary::pairedAt), field("peerDeviceId", &PairSummary::peerDeviceId),
      field("peerLastSeenAt", &PairSummary::peerLastSeenAt), field("peerName", &PairSummary::peerName),
      field("peerPlatform", &PairSummary::peerPlatform));
}

constexpr auto jsonFields(std::type_identity<PairsResponse>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("pairs", &PairsResponse::pairs));
}

constexpr auto jsonFields(std::type_identity<FeedbackRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("appVersion", &FeedbackRequest::appVersion),
                            field("message", &FeedbackRequest::message), field("model", &FeedbackRequest::model),
                            field("os", &FeedbackRequest::os), field("replyTo", &FeedbackRequest::replyTo));
}

constexpr auto jsonFields(std::type_identity<CreatePairingRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("macEphemeralPublicKey", &CreatePairingRequest::macEphemeralPublicKey),
                            field("macName", &CreatePairingRequest::macName));
}

constexpr auto jsonFields(std::type_identity<CreatePairingResponse>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("code", &CreatePairingResponse::code),
                            field("expiresAt", &CreatePairingResponse::expiresAt),
                            field("sessionId", &CreatePairingResponse::sessionId));
}

constexpr auto jsonFields(std::type_identity<ClaimPairingRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("code", &ClaimPairingRequest::code),
                            field("phoneEphemeralPublicKey", &ClaimPairingRequest::phoneEphemeralPublicKey),
                            field("phoneName", &ClaimPairingRequest::phoneName),
                            field("sessionId", &ClaimPairingRequest::sessionId));
}

constexpr auto jsonFields(std::type_identity<ClaimPairingResponse>) {
  using JSONCoding::field;
  return JSONCoding::fields(
      field("expiresAt", &ClaimPairingResponse::expiresAt), field("macDeviceId", &ClaimPairingResponse::macDeviceId),
      field("macEphemeralPublicKey", &ClaimPairingResponse::macEphemeralPublicKey),
      field("macName", &ClaimPairingResponse::macName), field("sessionId", &ClaimPairingResponse::sessionId));
}

constexpr auto jsonFields(std::type_identity<ConfirmPairingRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("sealedIdentity", &ConfirmPairingRequest::sealedIdentity));
}

constexpr auto jsonFields(std::type_identity<PairingStatus>) {
  using JSONCoding::field;
  return JSONCoding::fields(
      field("expiresAt", &PairingStatus::expiresAt), field("macConfirmed", &PairingStatus::macConfirmed),
      field("macDeviceId", &PairingStatus::macDeviceId), field("macName", &PairingStatus::macName),
      field("peerSealedIdentity", &PairingStatus::peerSealedIdentity),
      field("phoneConfirmed", &PairingStatus::phoneConfirmed), field("phoneDeviceId", &PairingStatus::phoneDeviceId),
      field("phoneEphemeralPublicKey", &PairingStatus::phoneEphemeralPublicKey),
      field("phoneName", &PairingStatus::phoneName), field("sessionId", &PairingStatus::sessionId),
      field("state", &PairingStatus::state));
}

constexpr auto jsonFields(std::type_identity<TranscribeMeta>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("language", &TranscribeMeta::language), field("phrases", &TranscribeMeta::phrases),
                            field("speakers", &TranscribeMeta::speakers), field("style", &TranscribeMeta::style),
                            field("utteranceId", &TranscribeMeta::utteranceId));
}

constexpr auto jsonFields(std::type_identity<SpeakerTurn>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("speaker", &SpeakerTurn::speaker), field("text", &SpeakerTurn::text));
}

constexpr auto jsonFields(std::type_identity<TranscribeResponse>) {
  using JSONCoding::field;
  return JSONCoding::fields(
      field("configVersion", &TranscribeResponse::configVersion), field("durationMs", &TranscribeResponse::durationMs),
      field("model", &TranscribeResponse::model), field("speakers", &TranscribeResponse::speakers),
      field("text", &TranscribeResponse::text), field("utteranceId", &TranscribeResponse::utteranceId));
}

}  // namespace quillet
