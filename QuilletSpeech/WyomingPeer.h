// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/Network/Dialer.h"
#include "QuilletSpeech/SpeechEngine.h"
#include "QuilletSpeech/WyomingEvent.h"

namespace quillet {

struct WyomingSettings {
  std::string host, port;
  std::string model;                             ///< By its name at the server; empty for the server's choice.
  std::string region;                            ///< The host's name if empty.
  std::chrono::milliseconds connect{8'000};      ///< Until the server has said what it is.
  std::chrono::milliseconds answer{80'000};      ///< From the end of the sound to its words.
  std::size_t longestSound = 310 * kSpeechRate;  ///< Samples of one utterance.
};

/// The network thread's half of a session with a Wyoming server: one connection for one utterance. Everything but
/// `partial` is for that thread only. Keeps itself alive while it runs.
class WyomingPeer : public std::enable_shared_from_this<WyomingPeer> {
 public:
  /// `settings` must outlive the peer.
  WyomingPeer(const Executor& network, const WyomingSettings& settings, std::string language);

  /// Connects, asks what the server speaks, and announces the sound. Throws SpeechError or the cancellation.
  static Awaitable<void> open(std::shared_ptr<WyomingPeer> self);
  void send(const std::vector<std::int16_t>& samples);
  /// Throws SpeechError or the cancellation.
  static Awaitable<std::string> finish(std::shared_ptr<WyomingPeer> self);
  /// Drops the connection, also one that is still being made.
  void close();

  /// What the server has told before the end. Any thread.
  std::string partial() const;

 private:
  using Socket = Dialer::Socket;
  Awaitable<void> run();
  Awaitable<WyomingEvent> read();
  Awaitable<std::string> take(std::size_t size);
  void announce(const WyomingInfo& info);
  void handle(const WyomingEvent& event);
  void write(std::string text);
  void writeNext();
  Awaitable<void> settled(std::chrono::milliseconds limit);
  void fail(SpeechFailure failure, const std::string& detail);

  Executor network_;
  const WyomingSettings& settings_;
  std::string language_;
  Dialer dialer_;
  std::optional<Socket> socket_;
  Event news_;
  std::string buffer_;
  std::deque<std::string> outgoing_;
  bool ready_ = false, closed_ = false;
  std::optional<std::string> transcript_;
  std::optional<SpeechError> failure_;
  mutable std::mutex mutex_;
  std::string partial_;
};

}  // namespace quillet
