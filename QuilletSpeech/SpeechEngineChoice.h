// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quillet {

/// Which engine, as people write it in an option or a preference.
struct SpeechEngineChoice {
  enum class Kind { sphinx, openAI, wyoming };
  struct Malformed : std::runtime_error {
    using std::runtime_error::runtime_error;
  };

  Kind kind = Kind::sphinx;
  std::string url;     ///< http or https, with its path, of an OpenAI-style server.
  std::string host;    ///< Of a Wyoming server; without brackets.
  std::string port;    ///< Of a Wyoming server; 10300 unless told.
  std::string model;   ///< Empty: the server's own, or the embedded engine's.
  std::string region;  ///< Empty: the host's name, or "on this machine".
  /// Holds the key that an OpenAI-style server wants. Read at each use, so that it can be replaced.
  std::optional<std::filesystem::path> keyFile;

  /// "sphinx" (also "embedded"), "http://…" or "https://…" (OpenAI style), "tcp://HOST[:PORT]" or
  /// "wyoming://HOST[:PORT]". Throws Malformed, which says for people what is wrong.
  static SpeechEngineChoice parse(std::string_view text);
};

}  // namespace quillet
