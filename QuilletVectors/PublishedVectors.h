// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "QuilletVectors/VectorCase.h"

/// The published test files of the algorithms ("testGroups" of "tests"), run against Crypto. Each check says whether
/// the kit did right; absent where its interface leaves no room for the case.
namespace quillet::vectors {

inline Bytes hexAt(const json::object& test, std::string_view key) {
  return fromHex(text(test.at(key)));
}
inline bool isInvalid(const json::object& test) {
  return test.at("result").as_string() == "invalid";
}

inline bool hasFlag(const json::object& test, std::string_view flag) {
  for (const auto& each : test.at("flags").as_array()) {
    if (each.as_string() == flag) return true;
  }
  return false;
}

inline std::optional<bool> checkAEAD(const json::object&, const json::object& test) {
  const Bytes nonceBytes = hexAt(test, "iv");
  Crypto::Nonce nonce{};
  if (nonceBytes.size() != nonce.size()) return std::nullopt;
  std::copy(nonceBytes.begin(), nonceBytes.end(), nonce.begin());
  const Crypto::Key key = Crypto::keyFrom(hexAt(test, "key"));
  Bytes box = nonceBytes;
  for (const auto* part : {"ct", "tag"}) {
    const Bytes bytes = hexAt(test, part);
    box.insert(box.end(), bytes.begin(), bytes.end());
  }
  const Bytes message = hexAt(test, "msg");
  const Bytes associated = hexAt(test, "aad");
  try {
    const bool opens = Crypto::open(key, box, associated) == message;
    return !isInvalid(test) && opens && Crypto::seal(key, nonce, message, associated) == box;
  } catch (const Crypto::AuthenticationError&) {
    return isInvalid(test);
  }
}

inline std::optional<bool> checkVerify(const json::object& group, const json::object& test) {
  const Crypto::Key key = Crypto::keyFrom(fromHex(text(group.at("publicKey").as_object().at("pk"))));
  return Crypto::verify(key, hexAt(test, "msg"), hexAt(test, "sig")) != isInvalid(test);
}

inline std::optional<bool> checkHKDF(const json::object&, const json::object& test) {
  const auto size = test.at("size").to_number<std::size_t>();
  const Bytes secret = hexAt(test, "ikm"), salt = hexAt(test, "salt"), info = hexAt(test, "info");
  const Bytes expected = hexAt(test, "okm");
  try {
    return Crypto::hkdf(secret, salt, info, size) == expected && !isInvalid(test);
  } catch (const std::exception&) {
    return isInvalid(test);
  }
}

inline std::optional<bool> checkAgreement(const json::object&, const json::object& test) {
  try {
    const Crypto::Key secret =
        Crypto::sharedSecret(Crypto::keyFrom(hexAt(test, "private")), Crypto::keyFrom(hexAt(test, "public")));
    return Crypto::hexLower(secret) == text(test.at("shared")) && !hasFlag(test, "ZeroSharedSecret");
  } catch (const Crypto::KeyError&) {
    return isInvalid(test) || hasFlag(test, "ZeroSharedSecret");
  }
}

struct Algorithm {
  std::string_view name;
  std::optional<bool> (*check)(const json::object& group, const json::object& test);
};

inline constexpr Algorithm kAlgorithms[] = {
    {"CHACHA20-POLY1305", checkAEAD}, {"EDDSA", checkVerify}, {"HKDF-SHA-256", checkHKDF}, {"XDH", checkAgreement}};

}  // namespace quillet::vectors
