// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/WireModels.h"

/// How the types of WireModels.h, Envelope and PeerIdentity look in JSON, for sources that code types which hold them.
namespace quillet {

constexpr auto jsonFields(std::type_identity<PeerIdentity>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("agreementPublicKey", &PeerIdentity::agreementPublicKey),
                            field("deviceId", &PeerIdentity::deviceId), field("name", &PeerIdentity::name),
                            field("platform", &PeerIdentity::platform),
                            field("signingPublicKey", &PeerIdentity::signingPublicKey));
}

constexpr auto jsonFields(std::type_identity<Envelope>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("box", &Envelope::box), field("from", &Envelope::from),
                            field("purpose", &Envelope::purpose), field("salt", &Envelope::salt),
                            field("to", &Envelope::to), field("v", &Envelope::v));
}

constexpr auto jsonFields(std::type_identity<PrepareRequestPayload>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("issuedAt", &PrepareRequestPayload::issuedAt),
                            field("requestId", &PrepareRequestPayload::requestId),
                            field("utteranceId", &PrepareRequestPayload::utteranceId));
}

constexpr auto jsonFields(std::type_identity<PrepareResultPayload>) {
  using JSONCoding::field;
  return JSONCoding::fields(
      field("appName", &PrepareResultPayload::appName), field("expiresAt", &PrepareResultPayload::expiresAt),
      field("fieldLabel", &PrepareResultPayload::fieldLabel), field("reason", &PrepareResultPayload::reason),
      field("requestId", &PrepareResultPayload::requestId), field("status", &PrepareResultPayload::status),
      field("token", &PrepareResultPayload::token), field("utteranceId", &PrepareResultPayload::utteranceId));
}

constexpr auto jsonFields(std::type_identity<DeliveryPayload>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("createdAt", &DeliveryPayload::createdAt), field("mode", &DeliveryPayload::mode),
                            field("text", &DeliveryPayload::text), field("token", &DeliveryPayload::token),
                            field("utteranceId", &DeliveryPayload::utteranceId));
}

constexpr auto jsonFields(std::type_identity<ResultPayload>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("appName", &ResultPayload::appName), field("at", &ResultPayload::at),
                            field("method", &ResultPayload::method), field("outcome", &ResultPayload::outcome),
                            field("reason", &ResultPayload::reason), field("signature", &ResultPayload::signature),
                            field("utteranceId", &ResultPayload::utteranceId));
}

constexpr auto jsonFields(std::type_identity<ReadinessPayload>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("appName", &ReadinessPayload::appName), field("at", &ReadinessPayload::at),
                            field("deviceKind", &ReadinessPayload::deviceKind),
                            field("fieldLabel", &ReadinessPayload::fieldLabel),
                            field("macName", &ReadinessPayload::macName), field("state", &ReadinessPayload::state));
}

constexpr auto jsonFields(std::type_identity<PresenceUpdate>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("envelope", &PresenceUpdate::envelope), field("to", &PresenceUpdate::to));
}

constexpr auto jsonFields(std::type_identity<PrepareRelayRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("envelope", &PrepareRelayRequest::envelope),
                            field("requestId", &PrepareRelayRequest::requestId));
}

constexpr auto jsonFields(std::type_identity<EnvelopeResponse>) {
  return JSONCoding::fields(JSONCoding::field("envelope", &EnvelopeResponse::envelope));
}

constexpr auto jsonFields(std::type_identity<DeliveryRequest>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("envelope", &DeliveryRequest::envelope),
                            field("utteranceId", &DeliveryRequest::utteranceId));
}

constexpr auto jsonFields(std::type_identity<DeliveryStatus>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("macOnline", &DeliveryStatus::macOnline),
                            field("resultEnvelope", &DeliveryStatus::resultEnvelope),
                            field("state", &DeliveryStatus::state), field("utteranceId", &DeliveryStatus::utteranceId));
}

constexpr auto jsonFields(std::type_identity<PresenceResponse::Mac::Readiness>) {
  using JSONCoding::field;
  using Readiness = PresenceResponse::Mac::Readiness;
  return JSONCoding::fields(field("at", &Readiness::at), field("envelope", &Readiness::envelope));
}

constexpr auto jsonFields(std::type_identity<PresenceResponse::Mac>) {
  using JSONCoding::field;
  using Mac = PresenceResponse::Mac;
  return JSONCoding::fields(field("lastSeenAt", &Mac::lastSeenAt), field("macId", &Mac::macId),
                            field("online", &Mac::online), field("readiness", &Mac::readiness));
}

constexpr auto jsonFields(std::type_identity<PresenceResponse>) {
  return JSONCoding::fields(JSONCoding::field("macs", &PresenceResponse::macs));
}

namespace RelayClient {

constexpr auto jsonFields(std::type_identity<PrepareResult>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("envelope", &PrepareResult::envelope), field("requestId", &PrepareResult::requestId),
                            field("to", &PrepareResult::to), JSONCoding::constant("type", "prepareResult"));
}

constexpr auto jsonFields(std::type_identity<Received>) {
  return JSONCoding::fields(JSONCoding::constant("type", "received"),
                            JSONCoding::field("utteranceId", &Received::utteranceId));
}

constexpr auto jsonFields(std::type_identity<Result>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("envelope", &Result::envelope), field("to", &Result::to),
                            JSONCoding::constant("type", "result"), field("utteranceId", &Result::utteranceId));
}

constexpr auto jsonFields(std::type_identity<Presence>) {
  return JSONCoding::fields(JSONCoding::constant("type", "presence"), JSONCoding::field("updates", &Presence::updates));
}

}  // namespace RelayClient

namespace RelayServer {

constexpr auto jsonFields(std::type_identity<Prepare>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("envelope", &Prepare::envelope), field("from", &Prepare::from),
                            field("requestId", &Prepare::requestId), JSONCoding::constant("type", "prepare"));
}

constexpr auto jsonFields(std::type_identity<Deliver>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("envelope", &Deliver::envelope), field("from", &Deliver::from),
                            JSONCoding::constant("type", "deliver"), field("utteranceId", &Deliver::utteranceId));
}

constexpr auto jsonFields(std::type_identity<PairRevoked>) {
  return JSONCoding::fields(JSONCoding::field("peerDeviceId", &PairRevoked::peerDeviceId),
                            JSONCoding::constant("type", "pairRevoked"));
}

constexpr auto jsonFields(std::type_identity<Paired>) {
  return JSONCoding::fields(JSONCoding::field("peerDeviceId", &Paired::peerDeviceId),
                            JSONCoding::constant("type", "paired"));
}

constexpr auto jsonFields(std::type_identity<Unknown>) {
  return JSONCoding::fields(JSONCoding::field("type", &Unknown::type));
}

}  // namespace RelayServer

}  // namespace quillet
