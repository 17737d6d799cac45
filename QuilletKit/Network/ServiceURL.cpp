// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/ServiceURL.h"

#include <algorithm>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <cctype>
#include <charconv>
#include <cstdint>
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

/// The parser's own number of a port wraps round above 65,535.
bool isPort(std::string_view text) {
  std::uint16_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && value != 0;
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
  const auto parsed = boost::urls::parse_uri(text);
  if (!parsed || parsed->has_userinfo() || parsed->host_type() == boost::urls::host_type::ipvfuture) {
    return std::nullopt;
  }
  ServiceURL url{.scheme = lowered(parsed->scheme()),
                 .host = std::string(parsed->encoded_host()),
                 .port = std::string(parsed->port())};
  if (!isScheme(url.scheme) || url.host.empty() || url.host.find('%') != url.host.npos) return std::nullopt;
  if (!url.port.empty() && !isPort(url.port)) return std::nullopt;
  // The parser takes what follows a port or an address for a path, "/" or not.
  if (!parsed->encoded_path().empty() && parsed->encoded_path().front() != '/') return std::nullopt;
  if (url.host.front() == '[') url.host = url.host.substr(1, url.host.size() - 2);
  url.target = targetOf(parsed->encoded_resource());
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
