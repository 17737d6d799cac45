// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/RequestHead.h"

#include <algorithm>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/http/rfc7230.hpp>
#include <cctype>
#include <iterator>
#include <string>

#include "QuilletKit/Base/Base64URL.h"

namespace quillet::RequestHead {
namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;

bool isTokenCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
         std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

std::size_t countOf(const Header& header, std::string_view name) {
  const auto [first, last] = header.equal_range(beast::string_view(name.data(), name.size()));
  return static_cast<std::size_t>(std::distance(first, last));
}

void requireHost(const Header& header) {
  const std::size_t hosts = countOf(header, "Host");
  if (hosts > 1 || (hosts == 0 && header.version() >= 11)) throw Refusal::badRequest("The request must name one host.");
  const auto host = header[http::field::host];
  if ((hosts == 1 && host.empty()) || host.find_first_of(" \t,/@?#\\") != beast::string_view::npos) {
    throw Refusal::badRequest("The host isn't one.");
  }
}

void requireTarget(const Header& header) {
  const auto isForeign = [](char c) { return c == '#' || static_cast<unsigned char>(c) > '~'; };
  const auto target = header.target();
  if (std::any_of(target.begin(), target.end(), isForeign)) throw Refusal::badRequest("The target isn't one.");
}

/// The parser takes "chunked" in the last place for chunks, and anything else for no body at all. Zeros before a length
/// make it octal for some.
void requireFraming(const Header& header) {
  const auto length = header[http::field::content_length];
  if (length.size() > 1 && length.starts_with('0')) throw Refusal::badRequest("The body's length isn't one.");
  std::string codings;
  const auto [first, last] = header.equal_range(http::field::transfer_encoding);
  if (first == last) return;
  for (auto field = first; field != last; ++field) codings.append(codings.empty() ? "" : ",").append(field->value());
  std::size_t count = 0;
  bool endsChunked = false;
  for (const auto& coding : http::token_list(codings)) {
    ++count;
    endsChunked = beast::iequals(coding, "chunked");
  }
  if (!endsChunked || header.version() < 11) throw Refusal::badRequest("The body's end can't be told.");
  if (count > 1) throw ServiceError(501, "not_implemented", "The body must be sent as it is, or in chunks.");
}

}  // namespace

std::size_t emptyLines(std::string_view bytes) {
  std::size_t length = 0;
  while (bytes.substr(length).starts_with("\r\n")) length += 2;
  return length;
}

std::size_t length(std::string_view bytes, std::size_t& checked) {
  if (!bytes.empty() && bytes[0] != '\r' && !isTokenCharacter(bytes[0]))
    throw Refusal::badRequest("The request isn't HTTP.");
  for (std::size_t end = bytes.find('\n', checked); end != bytes.npos; end = bytes.find('\n', checked)) {
    if (end == 0 || bytes[end - 1] != '\r') throw Refusal::badRequest("Lines must end in CR LF.");
    if (end == checked + 1) return end + 1;
    if (checked > 0 && (bytes[checked] == ' ' || bytes[checked] == '\t'))
      throw Refusal::badRequest("Lines can't be folded.");
    checked = end + 1;
  }
  return 0;
}

void requireStrict(const Header& header) {
  requireTarget(header);
  requireHost(header);
  requireFraming(header);
  for (const char* name : {"X-QLT-Device", "X-QLT-Timestamp", "X-QLT-Nonce", "X-QLT-Signature", "X-QLT-DeviceCheck"}) {
    if (countOf(header, name) > 1) throw Refusal::badRequest("A header stands there twice.");
  }
}

bool isWebSocketKey(std::string_view key) {
  constexpr std::size_t kLength = 24, kBytes = 16;
  const auto raw = Base64URL::decode(key);
  return key.size() == kLength && key.ends_with("==") && key.find_first_of("-_") == key.npos && raw &&
         raw->size() == kBytes;
}

std::string_view pathWithQuery(std::string_view target) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (target.size() < scheme.size() || !beast::iequals(std::string_view(target.substr(0, scheme.size())), scheme))
      continue;
    const std::size_t path = target.find_first_of("/?", scheme.size());
    return path == target.npos ? std::string_view("/") : target.substr(path);
  }
  return target;
}

}  // namespace quillet::RequestHead
