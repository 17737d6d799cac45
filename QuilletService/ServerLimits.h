// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ip/address.hpp>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <vector>

namespace quillet {

/// Bounds on what a client may keep busy.
struct ServerLimits {
  std::chrono::milliseconds header{15'000};             ///< For the first request's header, TLS included.
  std::chrono::milliseconds idle{60'000};               ///< For each later request's header.
  std::chrono::milliseconds body{60'000};               ///< For a request's body, and for writing a response.
  std::chrono::milliseconds relayIdle{90'000};          ///< A relay socket without a frame.
  std::chrono::milliseconds relayStall{30'000};         ///< One frame that a desktop doesn't take.
  std::chrono::milliseconds relayClose{5'000};          ///< For a relay socket's close, the desktop's answer included.
  std::chrono::milliseconds transcription{340'000};     ///< A transcription stream, from its beginning to its end.
  std::chrono::milliseconds transcriptionIdle{30'000};  ///< A stream whose client says nothing.
  std::size_t relayMessage = 1 << 20;                   ///< One frame of a desktop, in bytes.
  std::size_t relayQueue = 8 << 20;                     ///< Frames that a desktop hasn't taken yet, in bytes.
  std::size_t connections = 50'000;                     ///< In all; 0 for any number.
  std::size_t connectionsPerAddress = 1000;             ///< 0 for any number.
  /// Whose X-Forwarded-For header names the client. Without it the client is who connects.
  std::vector<boost::asio::ip::address> trustedProxies;
};

struct TLSFiles {
  std::filesystem::path certificate, key;
};

}  // namespace quillet
