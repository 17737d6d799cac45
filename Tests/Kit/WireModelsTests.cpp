// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/WireModels.h"

#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {
namespace {

using JSONCoding::DecodingError;

const std::string kEnvelope =
    R"({"box":"Ym94","from":"aa","purpose":"readiness","salt":"c2FsdA","to":"bb","v":4294967297})";

/// A type with all its keys in its JSON, and those that may be left out.
struct Shape {
  std::string json;
  std::set<std::string> optional;
  std::function<std::string(std::string_view)> recode;
};

template <typename T>
Shape shape(std::string json, std::set<std::string> optional = {}) {
  return {std::move(json), std::move(optional),
          [](std::string_view text) { return JSONCoding::encode(JSONCoding::decode<T>(text)); }};
}

std::vector<Shape> relayShapes() {
  return {
      shape<Envelope>(kEnvelope),
      shape<PeerIdentity>(R"({"agreementPublicKey":"a","deviceId":"d","name":"n","platform":"windows",)"
                          R"("signingPublicKey":"s"})"),
      shape<PrepareRequestPayload>(R"({"issuedAt":9007199254740993,"requestId":"r","utteranceId":"u"})"),
      shape<PrepareResultPayload>(R"({"appName":"A","expiresAt":9007199254740993,"fieldLabel":"F",)"
                                  R"("reason":"selectionChanged","requestId":"r","status":"ready","token":"t",)"
                                  R"("utteranceId":"u"})",
                                  {"appName", "expiresAt", "fieldLabel", "reason", "token"}),
      shape<DeliveryPayload>(R"({"createdAt":1,"mode":"local","text":"a/b","token":"t","utteranceId":"u"})"),
      shape<ResultPayload>(R"({"appName":"A","at":1,"method":"typing","outcome":"uncertain","reason":"asleep",)"
                           R"("signature":"s","utteranceId":"u"})",
                           {"appName", "method", "reason"}),
      shape<ReadinessPayload>(R"({"appName":"A","at":1,"deviceKind":"toaster","fieldLabel":"F","macName":"M",)"
                              R"("state":"noAccessibility"})",
                              {"appName", "deviceKind", "fieldLabel"}),
      shape<PrepareRelayRequest>(R"({"envelope":)" + kEnvelope + R"(,"requestId":"r"})"),
      shape<EnvelopeResponse>(R"({"envelope":)" + kEnvelope + "}"),
      shape<DeliveryRequest>(R"({"envelope":)" + kEnvelope + R"(,"utteranceId":"u"})"),
      shape<DeliveryStatus>(
          R"({"macOnline":true,"resultEnvelope":)" + kEnvelope + R"(,"state":"unknown","utteranceId":"u"})",
          {"resultEnvelope"}),
      shape<PresenceResponse>(R"({"macs":[{"lastSeenAt":1,"macId":"m","online":true,"readiness":{"at":2,"envelope":)" +
                              kEnvelope + R"(}},{"macId":"n","online":false}]})"),
      shape<RelayClientMessage>(R"({"envelope":)" + kEnvelope + R"(,"requestId":"r","to":"p","type":"prepareResult"})"),
      shape<RelayClientMessage>(R"({"envelope":)" + kEnvelope + R"(,"to":"p","type":"result","utteranceId":"u"})"),
      shape<RelayClientMessage>(R"({"type":"presence","updates":[{"envelope":)" + kEnvelope + R"(,"to":"p"}]})"),
      shape<RelayServerMessage>(R"({"envelope":)" + kEnvelope + R"(,"from":"f","requestId":"r","type":"prepare"})"),
      shape<RelayServerMessage>(R"({"envelope":)" + kEnvelope + R"(,"from":"f","type":"deliver","utteranceId":"u"})"),
      shape<RelayServerMessage>(R"({"peerDeviceId":"p","type":"paired"})"),
  };
}

std::vector<Shape> serviceShapes() {
  return {
      shape<ErrorWrapper>(R"({"error":{"code":"c","message":"m","retryable":true}})"),
      shape<ServiceConfig>(R"({"cloud":{"configVersion":"v","model":"m","region":"r","streaming":{"enabled":true,)"
                           R"("model":"s","region":"t"}},"maxRecordingSeconds":1,"maxUploadBytes":2,)"
                           R"("pairingTtlSeconds":3})"),
      shape<RegisterRequest>(R"({"agreementPublicKey":"a","appVersion":"1","deviceCheckToken":"t","name":"n",)"
                             R"("platform":"macos","signingPublicKey":"s"})",
                             {"deviceCheckToken"}),
      shape<RegisterResponse>(R"({"deviceId":"d","registeredAt":5})"),
      shape<RenameRequest>(R"({"name":"n"})"),
      shape<OK>(R"({"ok":true})"),
      shape<PairsResponse>(R"({"pairs":[{"pairedAt":1,"peerDeviceId":"d","peerLastSeenAt":2,"peerName":"n",)"
                           R"("peerPlatform":"ios"},{"pairedAt":1,"peerDeviceId":"e","peerName":"n",)"
                           R"("peerPlatform":"windows"}]})"),
      shape<FeedbackRequest>(R"({"appVersion":"1","message":"m","model":"k","os":"o","replyTo":"r"})", {"replyTo"}),
      shape<CreatePairingRequest>(R"({"macEphemeralPublicKey":"k","macName":"n"})"),
      shape<CreatePairingResponse>(R"({"code":"c","expiresAt":1,"sessionId":"s"})"),
      shape<ClaimPairingRequest>(R"({"code":"c","phoneEphemeralPublicKey":"k","phoneName":"n","sessionId":"s"})",
                                 {"code", "sessionId"}),
      shape<ClaimPairingResponse>(R"({"expiresAt":1,"macDeviceId":"d","macEphemeralPublicKey":"k","macName":"n",)"
                                  R"("sessionId":"s"})"),
      shape<ConfirmPairingRequest>(R"({"sealedIdentity":"s"})"),
      shape<PairingStatus>(R"({"expiresAt":1,"macConfirmed":true,"macDeviceId":"d","macName":"n",)"
                           R"("peerSealedIdentity":"i","phoneConfirmed":false,"phoneDeviceId":"p",)"
                           R"("phoneEphemeralPublicKey":"k","phoneName":"m","sessionId":"s","state":"claimed"})",
                           {"peerSealedIdentity", "phoneDeviceId", "phoneEphemeralPublicKey", "phoneName"}),
      shape<TranscribeMeta>(R"({"language":"auto","phrases":["a","b"],"speakers":true,"style":"clean",)"
                            R"("utteranceId":"u"})"),
      shape<TranscribeResponse>(R"({"configVersion":"v","durationMs":1,"model":"m","speakers":[{"speaker":1,)"
                                R"("text":"t"}],"text":"t","utteranceId":"u"})",
                                {"speakers"}),
  };
}

/// Which keys there are, which may be absent or null, and that the order is the sorted one.
void checkShape(const Shape& shape) {
  SCOPED_TRACE(shape.json);
  EXPECT_EQ(shape.recode(shape.json), shape.json);
  const boost::json::object whole = boost::json::parse(shape.json).as_object();
  for (const auto& member : whole) {
    boost::json::object without = whole, with = whole;
    without.erase(member.key());
    with[member.key()] = nullptr;
    if (shape.optional.contains(std::string(member.key()))) {
      EXPECT_EQ(boost::json::parse(shape.recode(boost::json::serialize(with))).as_object(), without) << member.key();
      EXPECT_NO_THROW(shape.recode(boost::json::serialize(without))) << member.key();
    } else {
      EXPECT_THROW(shape.recode(boost::json::serialize(without)), DecodingError) << member.key();
      EXPECT_THROW(shape.recode(boost::json::serialize(with)), DecodingError) << member.key();
    }
  }
}

TEST(WireModels, HaveTheirKeysOnTheWire) {
  for (const Shape& each : relayShapes()) checkShape(each);
}

TEST(ServiceModels, HaveTheirKeysOnTheWire) {
  for (const Shape& each : serviceShapes()) checkShape(each);
}

TEST(WireModels, FramesOfOtherTypesAreKeptOrRefused) {
  const auto frame = JSONCoding::decode<RelayServerMessage>(R"({"type":"Deliver","envelope":7,"from":null})");
  EXPECT_EQ(frame, RelayServerMessage(RelayServer::Unknown{"Deliver"}));
  EXPECT_THROW(JSONCoding::decode<RelayClientMessage>(R"({"type":"deliver"})"), DecodingError);
  EXPECT_THROW(JSONCoding::decode<RelayServerMessage>(R"({"type":5})"), DecodingError);
  const std::string purpose = R"({"envelope":{"box":"","from":"","purpose":"gossip","salt":"","to":"","v":1},)"
                              R"("from":"f","type":"deliver","utteranceId":"u"})";
  EXPECT_THROW(JSONCoding::decode<RelayServerMessage>(purpose), DecodingError);
}

TEST(ResultSignature, IsFalseForAKeyOrASignatureThatCannotBeOne) {
  const DeviceIdentity sender = DeviceIdentity::generate();
  const PeerIdentity peer = sender.peerIdentity("desk", DevicePlatform::macos);
  const ResultPayload good = ResultPayload::makeSigned("u-1", InsertionOutcome::refused, RefusalReason::locked, "Notes",
                                                       std::nullopt, 1'760'000'000'000, sender);
  ASSERT_TRUE(good.verify(peer));
  for (const std::string& signature : {std::string(), good.signature + "AAAA"}) {
    ResultPayload changed = good;
    changed.signature = signature;
    EXPECT_FALSE(changed.verify(peer)) << signature;
  }
  for (const std::string& key : {std::string(), std::string("not base64!"), Base64URL::encode(Bytes(31)),
                                 Base64URL::encode(Bytes(33)), Base64URL::encode(Bytes(32))}) {
    PeerIdentity stranger = peer;
    stranger.signingPublicKey = key;
    EXPECT_FALSE(good.verify(stranger)) << key;
  }
}

TEST(WireModels, DeviceKindComesFromTheModelsPrefix) {
  const std::pair<const char*, std::optional<DeviceKind>> cases[] = {{"MacBookPro18,3", DeviceKind::macBook},
                                                                     {"Mac\u00A0Book\u2003Air", DeviceKind::macBook},
                                                                     {" IMAC 24", DeviceKind::iMac},
                                                                     {"Mac\tmini", DeviceKind::macMini},
                                                                     {"mac studio", DeviceKind::macStudio},
                                                                     {"MacPro7,1", DeviceKind::macPro},
                                                                     {"Mac14,2", std::nullopt},
                                                                     {"My iMac", std::nullopt},
                                                                     {"windowsLaptop", std::nullopt},
                                                                     {"", std::nullopt}};
  for (const auto& [model, kind] : cases) EXPECT_EQ(deviceKindFromModel(model), kind) << model;
  std::string listed;
  for (const DeviceKind kind : allDeviceKinds()) listed.append(rawValue(kind)).append(" ");
  EXPECT_EQ(listed, "macBook iMac macMini macStudio macPro windowsLaptop windowsDesktop ");
}

}  // namespace
}  // namespace quillet
