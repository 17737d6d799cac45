// SPDX-License-Identifier: MIT
#pragma once

#include <boost/algorithm/hex.hpp>
#include <boost/json.hpp>

#include "QuilletKit/Base/Crypto.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletKit/Protocol/Envelope.h"

namespace quillet::vectors {

namespace json = boost::json;

/// What the kit gave isn't what the vector says.
struct Mismatch : std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline void require(bool fits, std::string_view what) {
  if (!fits) throw Mismatch(std::string(what) + " differs");
}

inline std::string text(const json::value& value) {
  return std::string(value.as_string());
}

inline Bytes fromHex(std::string_view hex) {
  Bytes bytes;
  boost::algorithm::unhex(hex.begin(), hex.end(), std::back_inserter(bytes));
  return bytes;
}

inline DeviceIdentity identityIn(const json::object& named) {
  return {Crypto::keyFrom(fromHex(text(named.at("signingSeedHex")))),
          Crypto::keyFrom(fromHex(text(named.at("agreementSeedHex"))))};
}

template <typename T>
T decodeValue(const json::value& value) {
  return JSONCoding::decode<T>(json::serialize(value));
}

/// One case of a vectors file, with the identities that its file names.
struct Case {
  const json::object& fields;
  const json::object& identities;

  std::string expectation() const { return text(fields.at("expect")); }
  const json::object& in() const { return fields.at("in").as_object(); }
  const json::object& mid() const { return fields.at("mid").as_object(); }
  const json::object& out() const { return fields.at("out").as_object(); }
  const json::value& in(std::string_view key) const { return in().at(key); }
  std::string inText(std::string_view key) const { return text(in(key)); }
  std::string outText(std::string_view key) const { return text(out().at(key)); }
  Bytes inBytes(std::string_view key) const { return fromHex(inText(key)); }
  bool jsonExact() const { return !fields.contains("jsonExact") || fields.at("jsonExact").as_bool(); }

  DeviceIdentity device(std::string_view inKey) const { return identityIn(identities.at(inText(inKey)).as_object()); }
  /// The identity given in full under `peerKey`, or named under `nameKey`.
  PeerIdentity peer(std::string_view peerKey, std::string_view nameKey) const {
    return decodeValue<PeerIdentity>(in().contains(peerKey) ? in(peerKey)
                                                            : identities.at(inText(nameKey)).as_object().at("peer"));
  }
  /// Requires that this is what stands under `key` of the answer.
  template <typename T>
  void gives(std::string_view key, const T& actual) const {
    require(json::value_from(actual) == out().at(key), key);
  }
};

template <typename T>
void requireValue(const T& actual, const json::value& expected, std::string_view what) {
  require(json::parse(JSONCoding::encode(actual)) == expected, what);
}

inline void requireJSON(const Case& test, std::string_view actual, std::string_view expected) {
  if (test.jsonExact()) return require(actual == expected, "JSON");
  require(json::parse(actual) == json::parse(expected), "JSON value");
}

/// How the vectors call the failure that is being handled; absent for one that isn't the kit's own.
inline std::optional<std::string> nameOfCurrentFailure() {
  try {
    throw;
  } catch (const EnvelopeError& error) {
    return error.what();
  } catch (const Crypto::KeyError&) {
    return "keyLibrary";
  } catch (const Crypto::BoxSizeError&) {
    return "aeadSize";
  } catch (const Crypto::AuthenticationError&) {
    return "aeadAuth";
  } catch (const JSONCoding::DecodingError&) {
    return "decoding";
  } catch (const APIError& error) {
    return error.server() != nullptr ? "server" : "decoding";
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace quillet::vectors
