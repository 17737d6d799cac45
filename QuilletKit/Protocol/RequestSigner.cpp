// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/RequestSigner.h"

#include <algorithm>
#include <array>
#include <boost/beast/core/string.hpp>
#include <iterator>

#include "QuilletKit/Base/Base64URL.h"

namespace quillet {
namespace {

constexpr std::size_t kNonceBytes = 16;

char upperOf(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

void setHeader(HTTPRequest& request, std::string name, std::string value) {
  std::erase_if(request.headers, [&](const auto& header) { return boost::beast::iequals(header.first, name); });
  request.headers.emplace_back(std::move(name), std::move(value));
}

}  // namespace

RequestSigner::RequestSigner(DeviceIdentity identity) : identity_(identity), deviceId_(identity_.deviceId()) {}

void RequestSigner::sign(HTTPRequest& request, std::int64_t timestamp) const {
  std::array<std::uint8_t, kNonceBytes> nonce;
  Crypto::fillRandom(nonce);
  sign(request, timestamp, Base64URL::encode(nonce));
}

void RequestSigner::sign(HTTPRequest& request, std::int64_t timestamp, std::string_view nonce) const {
  if (request.url.host.empty()) return;
  const std::string canonical =
      canonicalString(request.method, request.url.target, timestamp, nonce, bytesOf(request.body));
  const Crypto::Signature signature = Crypto::sign(identity_.signingKey, bytesOf(canonical));
  setHeader(request, "X-QLT-Device", deviceId_);
  setHeader(request, "X-QLT-Timestamp", std::to_string(timestamp));
  setHeader(request, "X-QLT-Nonce", std::string(nonce));
  setHeader(request, "X-QLT-Signature", Base64URL::encode(signature));
}

std::string RequestSigner::canonicalString(std::string_view method, std::string_view pathWithQuery,
                                           std::int64_t timestamp, std::string_view nonce, ByteView body) {
  return canonicalString(method, pathWithQuery, timestamp, nonce, Crypto::sha256(body));
}

std::string RequestSigner::canonicalString(std::string_view method, std::string_view pathWithQuery,
                                           std::int64_t timestamp, std::string_view nonce,
                                           const Crypto::Digest& bodyHash) {
  std::string text = "QLT1\n";
  std::transform(method.begin(), method.end(), std::back_inserter(text), upperOf);
  if (method.empty()) text += "GET";
  text.append("\n").append(pathWithQuery.empty() ? "/" : pathWithQuery).append("\n");
  text.append(std::to_string(timestamp)).append("\n").append(nonce).append("\n");
  return text += Crypto::hexLower(bodyHash);
}

}  // namespace quillet
