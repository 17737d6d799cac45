// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "QuilletSpeech/SpeechEngine.h"

namespace quillet {

/// PocketSphinx with one model, some 90 MB of it, for one utterance after the other. One thread at a time. What an
/// utterance gives depends on its samples alone: neither on earlier ones, nor on the pieces in which they came.
///
/// The level and colour of the sound are measured on its first seconds of speech, before any is decoded; a word error
/// less in ten is worth that wait. Long sound is decoded in parts that end at pauses, so that little is left to do at
/// its end.
class SphinxDecoder {
 public:
  /// Samples in a piece.
  static constexpr std::size_t kBlock = kSpeechRate / 10;

  /// Takes a quarter of a second. `folder` is laid out as the package en-us. Throws SpeechError: modelNotInstalled when
  /// a file is missing, failed when they can't be used.
  explicit SphinxDecoder(const std::filesystem::path& folder);
  ~SphinxDecoder();
  SphinxDecoder(const SphinxDecoder&) = delete;
  SphinxDecoder& operator=(const SphinxDecoder&) = delete;

  static void requireModel(const std::filesystem::path& folder);

  /// A new utterance; an unfinished one is dropped.
  void begin();
  /// Each block comes here once, before it is decoded, until this says that enough was heard.
  bool listen(std::span<const std::int16_t> block);
  /// The next block; all but the last of an utterance have kBlock samples. Throws SpeechError.
  void decode(std::span<const std::int16_t> block);
  /// The words so far.
  std::string text() const;
  /// The utterance is complete: its words.
  std::string finish();

 private:
  struct Model;
  void startPart();
  void endPart();
  std::string joined() const;

  std::unique_ptr<Model> model_;
  std::string parts_;       ///< Words of the parts that are over.
  std::size_t inPart_ = 0;  ///< Samples of the present part.
  bool decoding_ = false;
};

}  // namespace quillet
