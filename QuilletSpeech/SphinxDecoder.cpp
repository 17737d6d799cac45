// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SphinxDecoder.h"

#include <pocketsphinx.h>
#include <sphinxbase/ckd_alloc.h>
#include <sphinxbase/cmn.h>
#include <sphinxbase/err.h>
#include <sphinxbase/fe.h>
#include <sphinxbase/feat.h>

#include <array>
#include <mutex>
#include <vector>

namespace quillet {
namespace {

// Frames of speech, a hundred a second. Measured on recordings: 1 s 28 % of words wrong, 2 s 26 %, 3 s 24 %, all 23 %.
constexpr int kFramesToHear = 300;
constexpr int kLeastFrames = 20;
constexpr std::size_t kShortestPart = 6 * kSpeechRate;

void drop(void*, err_lvl_t, const char*, ...) {}

/// The library's own messages hold what was recognised.
void stayQuiet() {
  static std::once_flag once;
  std::call_once(once, [] { err_set_callback(drop, nullptr); });
}

struct Free {
  void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
  void operator()(cmd_ln_t* config) const { cmd_ln_free_r(config); }
  void operator()(fe_t* frontEnd) const { fe_free(frontEnd); }
  void operator()(mfcc_t** frames) const { ckd_free_2d(frames); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

struct ModelFiles {
  explicit ModelFiles(const std::filesystem::path& folder)
      : acoustic(folder / "en-us"), words(folder / "en-us.lm.bin"), dictionary(folder / "cmudict-en-us.dict") {}
  std::filesystem::path acoustic, words, dictionary;
};

Owned<cmd_ln_t> configuration(const std::filesystem::path& folder) {
  const ModelFiles files(folder);
  return Owned<cmd_ln_t>(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", files.acoustic.c_str(), "-lm",
                                     files.words.c_str(), "-dict", files.dictionary.c_str(), nullptr));
}

}  // namespace

/// The library's objects, and the measuring of a sound's cepstral mean, which the decoder takes off every frame.
struct SphinxDecoder::Model {
  explicit Model(const std::filesystem::path& folder) {
    const Owned<cmd_ln_t> config = configuration(folder);
    if (config) decoder.reset(ps_init(config.get()));
    if (decoder) frontEnd.reset(fe_init_auto_r(config.get()));
    if (!frontEnd) throw SpeechError(SpeechFailure::failed, "The speech model can't be used.");
    width = static_cast<std::size_t>(fe_get_output_size(frontEnd.get()));
    usualMean.resize(width);
    cmn_live_get(normalisation(), usualMean.data());
  }

  cmn_t* normalisation() const { return ps_get_feat(decoder.get())->cmn_struct; }

  void startHearing() {
    fe_start_stream(frontEnd.get());
    fe_start_utt(frontEnd.get());
    sums.assign(width, 0);
    heard = 0;
  }

  void hear(std::span<const std::int16_t> block) {
    const std::int16_t* samples = block.data();
    std::size_t left = block.size();
    for (std::size_t before = left + 1; left > 0 && left < before;) {
      before = left;
      int32 count = kFramesAtOnce, first = 0;
      if (fe_process_frames(frontEnd.get(), &samples, &left, frames.get(), &count, &first) < 0) return;
      for (int32 i = 0; i < count; ++i) add(frames.get()[i]);
    }
  }

  void add(const mfcc_t* frame) {
    if (frame[0] < 0) return;  // too faint to count, as the library has it
    ++heard;
    for (std::size_t i = 0; i < width; ++i) sums[i] += frame[i];
  }

  std::vector<mfcc_t> mean() const {
    if (heard < kLeastFrames) return usualMean;
    std::vector<mfcc_t> result(width);
    for (std::size_t i = 0; i < width; ++i) result[i] = static_cast<mfcc_t>(sums[i] / heard);
    return result;
  }

  static constexpr int32 kFramesAtOnce = 16;
  Owned<ps_decoder_t> decoder;
  Owned<fe_t> frontEnd;
  std::size_t width = 0;
  Owned<mfcc_t*> frames{static_cast<mfcc_t**>(ckd_calloc_2d(kFramesAtOnce, 64, sizeof(mfcc_t)))};
  std::vector<mfcc_t> usualMean;
  std::vector<double> sums;
  int heard = 0;
};

void SphinxDecoder::requireModel(const std::filesystem::path& folder) {
  const ModelFiles files(folder);
  for (const auto& file : {files.acoustic / "mdef", files.words, files.dictionary}) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) {
      throw SpeechError(SpeechFailure::modelNotInstalled, "The speech model's file " + file.string() + " is missing.");
    }
  }
}

SphinxDecoder::SphinxDecoder(const std::filesystem::path& folder) {
  stayQuiet();
  err_set_logfp(nullptr);  // where it would print all settings, for this thread
  requireModel(folder);
  static std::mutex loading;  // the library's reader of settings keeps some of them for all
  const std::lock_guard lock(loading);
  model_ = std::make_unique<Model>(folder);
}

SphinxDecoder::~SphinxDecoder() = default;

void SphinxDecoder::begin() {
  if (decoding_) endPart();
  decoding_ = false;
  parts_.clear();
  model_->startHearing();
}

bool SphinxDecoder::listen(std::span<const std::int16_t> block) {
  model_->hear(block);
  return model_->heard >= kFramesToHear;
}

void SphinxDecoder::startPart() {
  if (ps_start_utt(model_->decoder.get()) < 0) throw SpeechError(SpeechFailure::failed, "The decoder didn't start.");
  inPart_ = 0;
  decoding_ = true;
}

void SphinxDecoder::endPart() {
  decoding_ = false;
  ps_end_utt(model_->decoder.get());
}

void SphinxDecoder::decode(std::span<const std::int16_t> block) {
  ps_decoder_t* const decoder = model_->decoder.get();
  if (!decoding_) {
    cmn_live_set(model_->normalisation(), model_->mean().data());
    ps_start_stream(decoder);
    startPart();
  }
  if (ps_process_raw(decoder, block.data(), block.size(), FALSE, FALSE) < 0) {
    throw SpeechError(SpeechFailure::failed, "The decoder gave up.");
  }
  inPart_ += block.size();
  if (inPart_ < kShortestPart || ps_get_in_speech(decoder) != 0) return;
  endPart();
  parts_ = joined();
  startPart();
}

/// With the words of the present part, or of the one that has just ended.
std::string SphinxDecoder::joined() const {
  int32 score = 0;
  const char* const words = ps_get_hyp(model_->decoder.get(), &score);
  if (words == nullptr || *words == '\0') return parts_;
  return parts_.empty() ? words : parts_ + " " + words;
}

std::string SphinxDecoder::text() const {
  return decoding_ ? joined() : parts_;
}

std::string SphinxDecoder::finish() {
  if (!decoding_) return parts_;
  endPart();
  return joined();
}

}  // namespace quillet
