// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <boost/core/demangle.hpp>
#include <map>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/APIResponse.h"
#include "QuilletKit/Protocol/PairingCrypto.h"
#include "QuilletKit/Protocol/RequestSigner.h"
#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletVectors/VectorCase.h"

/// One check for each kind of case, beside its name where it is short. A check throws Mismatch, or lets the kit's own
/// failure through.
namespace quillet::vectors {

/// The refusal of a function that reports by giving nothing.
struct Nothing {};

inline void checkBase64Decode(const Case& test) {
  const auto bytes = Base64URL::decode(test.inText("text"));
  if (!bytes) throw Nothing{};
  test.gives("bytesHex", Crypto::hexLower(*bytes));
}

/// How the vectors call a type; nearly always as the source does.
template <typename T>
std::string typeName() {
  if (std::is_same_v<T, RenameRequest>) return "Body";
  if (std::is_same_v<T, RelayClientMessage>) return "RelayClientMessage";
  if (std::is_same_v<T, RelayServerMessage>) return "RelayServerMessage";
  const std::string name = boost::core::demangle(typeid(T).name());
  return name.substr(name.rfind(':') + 1);
}

/// Calls `use` with the one of the types that has this name.
template <typename... Types, typename Use>
void withNamed(std::string_view name, Use use) {
  const bool known = ((typeName<Types>() == name && (use(std::type_identity<Types>{}), true)) || ...);
  if (!known) throw Mismatch("no type " + std::string(name));
}

template <typename Use>
void withType(std::string_view name, Use use) {
  withNamed<PrepareRequestPayload, PrepareResultPayload, DeliveryPayload, ResultPayload, ReadinessPayload, PeerIdentity,
            Envelope, PrepareRelayRequest, EnvelopeResponse, DeliveryRequest, DeliveryStatus, PresenceResponse,
            PresenceUpdate, RelayClientMessage, RelayServerMessage, ServiceConfig, RegisterRequest, RegisterResponse,
            RenameRequest, OK, PairSummary, PairsResponse, FeedbackRequest, CreatePairingRequest, CreatePairingResponse,
            ClaimPairingRequest, ClaimPairingResponse, ConfirmPairingRequest, PairingStatus, TranscribeMeta,
            TranscribeResponse, ErrorWrapper, APIErrorBody>(name, use);
}

/// The payload of a purpose.
template <typename Use>
void withPayload(const std::string& purpose, Use use) {
  const std::map<std::string, std::string> names{{"prepare", "PrepareRequestPayload"},
                                                 {"prepareResult", "PrepareResultPayload"},
                                                 {"delivery", "DeliveryPayload"},
                                                 {"result", "ResultPayload"},
                                                 {"readiness", "ReadinessPayload"}};
  withNamed<PrepareRequestPayload, PrepareResultPayload, DeliveryPayload, ResultPayload, ReadinessPayload>(
      names.at(purpose), use);
}

inline void checkEncode(const Case& test) {
  withType(test.inText("type"), [&]<typename T>(std::type_identity<T>) {
    requireJSON(test, JSONCoding::encode(decodeValue<T>(test.in("value"))), test.outText("json"));
  });
}

inline void checkDecode(const Case& test) {
  withType(test.inText("type"), [&]<typename T>(std::type_identity<T>) {
    const T value = JSONCoding::decode<T>(test.inText("json"));
    requireValue(value, test.out().at("value"), "value");
  });
}

template <typename T>
bool isRefused(const json::object& value) {
  try {
    JSONCoding::decode<T>(json::serialize(value));
    return false;
  } catch (const JSONCoding::DecodingError&) {
    return true;
  }
}

/// Which keys there are, which may be absent or null, and that the order is the sorted one.
inline void checkShape(const Case& test) {
  withType(test.inText("type"), [&]<typename T>(std::type_identity<T>) {
    require(JSONCoding::encode(JSONCoding::decode<T>(test.inText("json"))) == test.inText("json"), "JSON");
    const json::object whole = json::parse(test.inText("json")).as_object();
    for (const auto& member : whole) {
      const std::string key(member.key());
      json::object without = whole, with = whole;
      without.erase(key);
      with[key] = nullptr;
      const bool optional = std::ranges::count(test.in("optional").as_array(), json::value(key)) > 0;
      require(isRefused<T>(without) != optional && isRefused<T>(with) != optional, key);
      if (optional) requireValue(decodeValue<T>(with), without, key);
    }
  });
}

inline void checkServerFrame(const Case& test) {
  const auto frame = JSONCoding::decode<RelayServerMessage>(test.inText("json"));
  json::object expected = test.out().at("value").as_object();
  require(expected.contains("unknown") == std::holds_alternative<RelayServer::Unknown>(frame), "kind");
  expected.erase("unknown");
  json::object actual = json::parse(JSONCoding::encode(frame)).as_object();
  if (!expected.contains("type")) actual.erase("type");
  require(actual == expected, "frame");
}

inline void checkDeviceKind(const Case& test) {
  const auto kind = deviceKindFromModel(test.inText("model"));
  const json::value* expected = test.out().if_contains("kind");
  const bool expectsNone = expected == nullptr || expected->is_null();
  require(expectsNone ? !kind : kind && rawValue(*kind) == text(*expected), "kind");
}

inline EnvelopePurpose purposeOf(const Case& test) {
  const auto purpose = fromRaw<EnvelopePurpose>(test.inText("purpose"));
  if (!purpose) throw Mismatch("no such purpose");
  return *purpose;
}

inline Crypto::Nonce nonceOf(const Case& test) {
  const Bytes bytes = test.inBytes("nonceHex");
  Crypto::Nonce nonce{};
  require(bytes.size() == nonce.size(), "nonce length");
  std::copy(bytes.begin(), bytes.end(), nonce.begin());
  return nonce;
}

template <typename Payload>
void checkSealing(const Case& test, const Payload& payload) {
  const EnvelopePurpose purpose = purposeOf(test);
  const DeviceIdentity sender = test.device("sender");
  const PeerIdentity recipient = test.peer("recipientPeer", "recipient");
  if (!test.in().contains("nonceHex")) {
    Envelope::seal(payload, purpose, sender, recipient);
    return;
  }
  const std::string plaintext = JSONCoding::encode(payload);
  requireJSON(test, plaintext, text(test.mid().at("plaintext")));
  const Crypto::Nonce nonce = nonceOf(test);
  const Envelope sealed = Envelope::sealBytes(plaintext, purpose, sender, recipient, test.inBytes("saltHex"), nonce);
  require(Envelope::additionalData(purpose, sealed.from, sealed.to) == text(test.mid().at("additionalData")),
          "additional data");
  if (test.jsonExact()) requireValue(sealed, test.out().at("envelope"), "envelope");

  const DeviceIdentity opener = test.device("recipient");
  const PeerIdentity author = sender.peerIdentity("", DevicePlatform::ios);
  require(sealed.open<Payload>(purpose, opener, author) == payload, "reopened payload");
  const auto given = decodeValue<Envelope>(test.out().at("envelope"));
  require(given.open<Payload>(purpose, opener, author) == payload, "payload of the given envelope");
}

inline void checkSeal(const Case& test) {
  withPayload(test.inText("purpose"), [&]<typename Payload>(std::type_identity<Payload>) {
    checkSealing(test, decodeValue<Payload>(test.in("payload")));
  });
}

inline void checkOpen(const Case& test) {
  const auto envelope = JSONCoding::decode<Envelope>(test.inText("envelopeJson"));
  withPayload(test.inText("purpose"), [&]<typename Payload>(std::type_identity<Payload>) {
    const auto payload =
        envelope.open<Payload>(purposeOf(test), test.device("recipient"), test.peer("senderPeer", "sender"));
    requireValue(payload, test.out().at("payload"), "payload");
  });
}

inline void checkResultSign(const Case& test) {
  json::object fields = test.in("fields").as_object();
  fields["signature"] = "";
  const auto unsignedResult = decodeValue<ResultPayload>(fields);
  const ResultPayload& u = unsignedResult;
  require(ResultPayload::canonicalString(u.utteranceId, u.outcome, u.reason, u.at) == text(test.mid().at("canonical")),
          "canonical string");
  const DeviceIdentity signer = test.device("signer");
  const auto result = ResultPayload::makeSigned(u.utteranceId, u.outcome, u.reason, u.appName, u.method, u.at, signer);
  require(result.signature == test.outText("signature"), "signature");
  require(JSONCoding::encode(result) == test.outText("resultJson"), "JSON");
}

inline void checkResultVerify(const Case& test) {
  const auto result = JSONCoding::decode<ResultPayload>(test.inText("resultJson"));
  require(result.verify(test.peer("senderPeer", "sender")) == test.out().at("valid").as_bool(), "verdict");
}

inline ServiceURL parsedURL(const std::string& url) {
  const auto parsed = ServiceURL::parse(url);
  if (!parsed) throw Mismatch("the URL is refused");
  return *parsed;
}

inline void checkRequestSign(const Case& test) {
  const RequestSigner signer(identityIn(test.identities.begin()->value().as_object()));
  const Bytes body = test.inBytes("bodyHex");
  const std::int64_t timestamp = test.in("timestamp").to_number<std::int64_t>();
  require(RequestSigner::canonicalString(test.inText("method"), text(test.mid().at("pathWithQuery")), timestamp,
                                         test.inText("nonce"), body) == text(test.mid().at("canonical")),
          "canonical string");
  HTTPRequest request{test.inText("method"), parsedURL(test.inText("url")), {}, std::string(textOf(body))};
  signer.sign(request, timestamp, test.inText("nonce"));
  for (const auto& [name, value] : test.out().at("headers").as_object()) {
    const std::pair<std::string, std::string> header(name, text(value));
    require(std::find(request.headers.begin(), request.headers.end(), header) != request.headers.end(), header.first);
  }
}

inline void checkResponse(const Case& test) {
  try {
    withType(test.inText("type"), [&]<typename T>(std::type_identity<T>) {
      decodeResponse<T>(static_cast<int>(test.in("status").as_int64()), test.inText("bodyText"));
    });
  } catch (const APIError& error) {
    if (error.server() != nullptr && test.expectation() == "server") {
      require(error.server()->body.code == test.outText("code"), "code");
      require(error.server()->body.retryable == test.out().at("retryable").as_bool(), "retryable");
    }
    throw;
  }
}

inline PairingCrypto pairing(const Case& test, std::string_view privateKey) {
  return {test.inText("sessionId"),
          Crypto::keyFrom(test.inBytes("macEphemeralPublicKeyHex")),
          Crypto::keyFrom(test.inBytes("phoneEphemeralPublicKeyHex")),
          test.inText("macDeviceId"),
          test.inText("phoneDeviceId"),
          Crypto::keyFrom(test.inBytes(privateKey))};
}

inline void checkAgree(const Case& test) {
  for (const auto* side : {"macEphemeralPrivateKeyHex", "phoneEphemeralPrivateKeyHex"}) {
    const PairingCrypto crypto = pairing(test, side);
    require(Crypto::hexLower(crypto.transcriptHash()) == text(test.mid().at("transcriptHashHex")), "transcript hash");
    test.gives("phrase", crypto.verificationPhrase());
    test.gives("words", crypto.verificationWords());
  }
}

inline void checkSealIdentity(const Case& test) {
  const Crypto::Nonce nonce = nonceOf(test);
  const auto peer = test.peer("peer", "name");
  const std::string sealed = pairing(test, "ownPrivateKeyHex").sealIdentity(peer, nonce);
  if (test.jsonExact()) return require(sealed == test.outText("sealed"), "sealed identity");
  require(pairing(test, "ownPrivateKeyHex").openIdentity(sealed, peer.deviceId) == peer, "reopened identity");
}

inline void checkOpenIdentity(const Case& test) {
  const auto peer = pairing(test, "ownPrivateKeyHex").openIdentity(test.inText("sealed"), test.inText("expectedId"));
  requireValue(peer, test.out().at("peer"), "identity");
}

inline void checkInvitationText(const Case& test) {
  const PairingInvitation invitation{test.inText("sessionId"),
                                     Crypto::keyFrom(test.inBytes("macEphemeralPublicKeyHex"))};
  require(invitation.text() == test.outText("text"), "text");
}

inline void checkInvitationParse(const Case& test) {
  const auto invitation = PairingInvitation::parse(test.inText("text"));
  if (!invitation) throw Nothing{};
  require(invitation->sessionId == test.outText("sessionId"), "session id");
  require(Crypto::hexLower(invitation->macEphemeralPublicKey) == test.outText("macEphemeralPublicKeyHex"), "key");
}

inline void checkUploadBuild(const Case& test) {
  const auto meta = decodeValue<TranscribeMeta>(test.in("meta"));
  requireJSON(test, JSONCoding::encode(meta), text(test.mid().at("metaJson")));
  if (!test.jsonExact()) return;
  const std::string body = TranscribeBody::build(meta, test.inBytes("audioHex"));
  if (test.out().contains("bodyHex")) require(Crypto::hexLower(bytesOf(body)) == test.outText("bodyHex"), "body");
  if (test.out().contains("bodySha256")) {
    require(Crypto::hexLower(Crypto::sha256(bytesOf(body))) == test.outText("bodySha256"), "hash of the body");
  }
}

inline void checkUploadParse(const Case& test) {
  const Bytes body = test.inBytes("bodyHex");
  const auto parsed = TranscribeBody::parse(body);
  requireValue(parsed.meta, test.out().at("meta"), "metadata");
  require(Crypto::hexLower(parsed.audio) == test.outText("audioHex"), "audio");
}

struct Kind {
  std::string_view name;
  std::string_view inKey;  ///< Tells kinds of one name apart; empty where there is but one.
  void (*check)(const Case&);
};

inline constexpr Kind kKinds[] = {
    {"encode", "bytesHex", [](const Case& test) { test.gives("text", Base64URL::encode(test.inBytes("bytesHex"))); }},
    {"decode", "text", checkBase64Decode},
    {"encode", "type", checkEncode},
    {"decode", "type", checkDecode},
    {"shape", "", checkShape},
    {"serverFrame", "", checkServerFrame},
    {"clientFrame", "",
     [](const Case& test) {
       requireJSON(test, JSONCoding::encode(decodeValue<RelayClientMessage>(test.in("value"))), test.outText("json"));
     }},
    {"deviceKind", "", checkDeviceKind},
    {"email", "", [](const Case& test) { test.gives("ok", Feedback::isEmail(test.inText("text"))); }},
    {"seal", "", checkSeal},
    {"open", "", checkOpen},
    {"consistency", "", [](const Case& test) { test.gives("consistent", test.peer("peer", "name").isConsistent()); }},
    {"fingerprint", "",
     [](const Case& test) { test.gives("deviceId", DeviceIdentity::fingerprint(test.inBytes("publicKeyHex"))); }},
    {"sign", "fields", checkResultSign},
    {"verify", "resultJson", checkResultVerify},
    {"sign", "url", checkRequestSign},
    {"resolve", "",
     [](const Case& test) {
       test.gives("url", parsedURL(test.inText("baseURL")).resolve(test.inText("path")).text());
     }},
    {"webSocket", "", [](const Case& test) { test.gives("url", parsedURL(test.inText("url")).webSocket().text()); }},
    {"response", "", checkResponse},
    {"wordTable", "", [](const Case& test) { test.gives("words", pairingWords()); }},
    {"agree", "", checkAgree},
    {"construct", "", [](const Case& test) { pairing(test, "ownPrivateKeyHex"); }},
    {"sealIdentity", "", checkSealIdentity},
    {"openIdentity", "", checkOpenIdentity},
    {"invitationText", "", checkInvitationText},
    {"invitationParse", "", checkInvitationParse},
    {"codeNormalise", "", [](const Case& test) { test.gives("code", PairingCode::normalise(test.inText("text"))); }},
    {"codeDisplay", "", [](const Case& test) { test.gives("text", PairingCode::display(test.inText("text"))); }},
    {"build", "meta", checkUploadBuild},
    {"parse", "bodyHex", checkUploadParse},
};

/// Kinds of vectors for what the kit doesn't have; they are skipped.
inline constexpr std::string_view kKindsOfOthers[] = {"wavHeader"};

}  // namespace quillet::vectors
