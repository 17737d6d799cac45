// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/Protocol/WireModels.h"

/// What turns sound into text, whatever does it: a decoder in this process, or a server at an address.
namespace quillet {

/// Samples a second of all that engines take: 16 bit, one channel.
inline constexpr int kSpeechRate = 16'000;

enum class SpeechFailure {
  languageUnsupported,  ///< The engine doesn't speak what was asked for.
  modelNotInstalled,    ///< The model's files are missing.
  unavailable,          ///< The server doesn't answer, refuses us, or answers what can't be understood.
  busy,                 ///< Too much is under way. The same may work later.
  tooLong,              ///< More sound than the engine takes in one piece.
  failed,               ///< The decoder gave up on this sound.
};

constexpr auto rawNames(std::type_identity<SpeechFailure>) {
  return rawTable<6>({"languageUnsupported", "modelNotInstalled", "unavailable", "busy", "tooLong", "failed"});
}

/// what() is for whoever runs the engine: never what was said, never a key.
struct SpeechError : std::runtime_error {
  SpeechError(SpeechFailure why, const std::string& detail) : std::runtime_error(detail), failure(why) {}
  SpeechFailure failure;
};

struct SpeechOptions {
  /// A BCP 47 tag such as "en" or "de-CH"; empty leaves it to the engine.
  std::string language;
  /// `clean` leaves filler words out.
  TranscriptStyle style = TranscriptStyle::verbatim;
  /// Names and terms that may be said; engines that can't use them do without.
  std::vector<std::string> phrases;
};

/// What people are told about an engine.
struct SpeechEngineInfo {
  std::string name;    ///< "sphinx", "openai" or "wyoming".
  std::string model;   ///< As its maker calls it; empty if only the server knows.
  std::string region;  ///< Where the sound goes: "on this machine", a host's name, or what the operator said.
  /// Primary tags such as "en". Empty: only the beginning of a session tells.
  std::vector<std::string> languages;
};

/// One utterance. Used from one thread, that of the executor on which it was begun. Destroying it at any moment, also
/// while it begins or finishes, frees the decoder or drops the connection; nothing of the sound is kept.
class SpeechSession {
 public:
  virtual ~SpeechSession() = default;

  /// The sound goes on with these. Copies them and returns at once; decoding, if it can begin already, goes on behind.
  /// Nothing after `finish`, and nothing counts after a failure, which `finish` tells.
  virtual void accept(std::span<const std::int16_t> samples) = 0;
  /// The words so far, of an engine that tells any before the end. They may still change.
  virtual std::string partialText() const = 0;
  /// The sound is complete: its words, without blanks at the ends and with single ones between. Empty if nothing was
  /// said. Call once; the session must outlive the call. Throws SpeechError, or the cancellation when cancelled.
  virtual Awaitable<std::string> finish() = 0;
};

/// Used from any thread. Must outlive its sessions, and calls of `begin`.
class SpeechEngine {
 public:
  virtual ~SpeechEngine() = default;

  virtual SpeechEngineInfo info() const = 0;
  /// Ready to take sound when this returns: models are loaded, a language that the engine doesn't speak is refused if
  /// that can be known before the sound. Throws SpeechError, or the cancellation when cancelled.
  virtual Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions options) = 0;
};

}  // namespace quillet
