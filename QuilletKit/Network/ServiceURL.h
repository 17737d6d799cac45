// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

/// An absolute http(s) or ws(s) URL in the parts that a client needs; `target` is the percent-encoded path with query
/// exactly as it goes on the wire and into the signature. A fragment isn't kept, nor is an empty query's "?".
struct ServiceURL {
  std::string scheme;  ///< Lower case.
  std::string host;    ///< As a resolver takes it: an IPv6 address stands without its brackets.
  std::string port;    ///< Digits; empty when the text had none.
  std::string target;  ///< Never empty: starts with "/".

  /// Absent for a text without one of those schemes, without a host, with a user name, with a port that is none, or
  /// with characters that must be percent-encoded.
  static std::optional<ServiceURL> parse(std::string_view text);
  /// This URL with path and query replaced. Throws std::invalid_argument for a path that can't form a URL (not starting
  /// with "/", blanks, control or non-ASCII characters, "#", a "%" without two digits).
  ServiceURL resolve(std::string_view pathWithQuery) const;
  /// "http" becomes "ws", all else "wss".
  ServiceURL webSocket() const;
  bool isTLS() const { return scheme == "https" || scheme == "wss"; }
  /// The port to connect to, with the scheme's default filled in.
  std::string effectivePort() const;
  /// Host and, when given, port, as in the "Host" header; an IPv6 address in brackets.
  std::string authority() const;
  std::string text() const;
  bool operator==(const ServiceURL&) const = default;
};

}  // namespace quillet
