// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletKit/Network/HTTPRequest.h"

namespace quillet {

/// Proves that a request comes from the holder of an identity.
class RequestSigner {
 public:
  explicit RequestSigner(DeviceIdentity identity);

  /// Sets the four signature headers. `timestamp` in milliseconds since 1970.
  void sign(HTTPRequest& request, std::int64_t timestamp) const;
  void sign(HTTPRequest& request, std::int64_t timestamp, std::string_view nonce) const;

  /// Six lines: "QLT1", method, path with query, timestamp, nonce, lowercase hexadecimal SHA-256 of the body.
  static std::string canonicalString(std::string_view method, std::string_view pathWithQuery, std::int64_t timestamp,
                                     std::string_view nonce, ByteView body);
  /// The same of a body's SHA-256.
  static std::string canonicalString(std::string_view method, std::string_view pathWithQuery, std::int64_t timestamp,
                                     std::string_view nonce, const Crypto::Digest& bodyHash);

 private:
  DeviceIdentity identity_;
  std::string deviceId_;
};

}  // namespace quillet
