// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <string_view>

namespace quillet {

/// Why a dictation ended without text.
enum class DictationFailure {
  unsupportedSystem,
  microphoneDenied,
  microphoneUnavailable,
  languageUnsupported,
  modelNotInstalled,
  noSpeech,
  recognitionFailed,
  cloudUnavailable,
  offline,
};

/// The words for people.
std::string_view text(DictationFailure failure);

/// Thrown by what a dictation waits for: recognisers, microphones, streams.
class DictationError : public std::exception {
 public:
  explicit DictationError(DictationFailure failure) : failure_(failure) {}
  DictationFailure failure() const { return failure_; }
  const char* what() const noexcept override { return text(failure_).data(); }

 private:
  DictationFailure failure_;
};

/// The failure that `error` tells, or `otherwise` for an error of another kind.
DictationFailure failureOf(const std::exception_ptr& error, DictationFailure otherwise);

}  // namespace quillet
