// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/ServiceURL.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <stdexcept>

namespace quillet {
namespace {

char lowerOf(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

std::string lowered(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lowerOf);
  return result;
}

bool isHexDigit(char c) {
  return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

bool canStandInURL(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] <= ' ' || text[i] > '~') return false;
    const bool encoded = i + 2 < text.size() && isHexDigit(text[i + 1]) && isHexDigit(text[i + 2]);
    if (text[i] == '%' && !encoded) return false;
  }
  return true;
}

bool isPort(std::string_view text) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && value >= 1 && value <= 65535;
}

/// Takes a bracketed IPv6 address or a name from the front of `authority`.
std::string_view takeHost(std::string_view& authority) {
  const bool bracketed = authority.starts_with('[');
  const std::size_t end = std::min(authority.find(bracketed ? ']' : ':'), authority.size());
  if (bracketed && end == authority.size()) return {};
  const std::string_view host = authority.substr(bracketed, end - bracketed);
  authority.remove_prefix(end + bracketed);
  const bool isAddress = host.find_first_not_of("0123456789abcdefABCDEF:.") == host.npos;
  return bracketed && !isAddress ? std::string_view() : host;
}

bool isScheme(std::string_view scheme) {
  return scheme == "http" || scheme == "https" || scheme == "ws" || scheme == "wss";
}

/// What goes into a request line, out of what follows a URL's authority.
std::string targetOf(std::string_view pathWithQuery) {
  pathWithQuery = pathWithQuery.substr(0, pathWithQuery.find('#'));
  const std::size_t question = pathWithQuery.find('?');
  if (question != pathWithQuery.npos && question + 1 == pathWithQuery.size()) pathWithQuery.remove_suffix(1);
  std::string target(pathWithQuery);
  if (!target.starts_with('/')) target.insert(target.begin(), '/');
  return target;
}

}  // namespace

std::optional<ServiceURL> ServiceURL::parse(std::string_view text) {
  const std::size_t colon = text.find("://");
  if (colon == text.npos || !canStandInURL(text)) return std::nullopt;
  ServiceURL url;
  url.scheme = lowered(text.substr(0, colon));
  const std::string_view rest = text.substr(colon + 3);
  const std::size_t authorityEnd = std::min(rest.find_first_of("/?#"), rest.size());
  std::string_view authority = rest.substr(0, authorityEnd);
  if (!isScheme(url.scheme) || authority.find_first_of("@\\%") != authority.npos) return std::nullopt;
  url.host = takeHost(authority);
  if (url.host.empty()) return std::nullopt;
  if (!authority.empty() && authority.front() != ':') return std::nullopt;
  if (authority.size() > 1) {
    if (!isPort(authority.substr(1))) return std::nullopt;
    url.port = authority.substr(1);
  }
  url.target = targetOf(rest.substr(authorityEnd));
  return url;
}

ServiceURL ServiceURL::resolve(std::string_view pathWithQuery) const {
  const bool forms = pathWithQuery.starts_with('/') && canStandInURL(pathWithQuery);
  if (!forms || pathWithQuery.find('#') != pathWithQuery.npos) {
    throw std::invalid_argument("the path can't form a URL");
  }
  return {scheme, host, port, targetOf(pathWithQuery)};
}

ServiceURL ServiceURL::webSocket() const {
  return {scheme == "http" ? "ws" : "wss", host, port, target};
}

std::string ServiceURL::effectivePort() const {
  if (!port.empty()) return port;
  return isTLS() ? "443" : "80";
}

std::string ServiceURL::authority() const {
  std::string text = host.find(':') == host.npos ? host : "[" + host + "]";
  if (!port.empty()) text.append(":").append(port);
  return text;
}

std::string ServiceURL::text() const {
  return scheme + "://" + authority() + target;
}

}  // namespace quillet
