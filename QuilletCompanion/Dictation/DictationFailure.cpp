// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationFailure.h"

namespace quillet {

std::string_view text(DictationFailure failure) {
  switch (failure) {
    case DictationFailure::unsupportedSystem:
      return "Dictation on this Mac needs macOS 26 or later.";
    case DictationFailure::microphoneDenied:
      return "Allow microphone access in Quillet Settings.";
    case DictationFailure::microphoneUnavailable:
      return "The microphone isn't available.";
    case DictationFailure::languageUnsupported:
      return "This language can't be dictated on this Mac.";
    case DictationFailure::modelNotInstalled:
      return "Download the speech model in Quillet Settings.";
    case DictationFailure::noSpeech:
      return "Didn't catch that.";
    case DictationFailure::recognitionFailed:
      return "Couldn't transcribe that. Try again.";
    case DictationFailure::cloudUnavailable:
      return "Cloud transcription is unavailable. Try again shortly.";
    case DictationFailure::offline:
      return "Connect this Mac to the internet to dictate.";
  }
  return "";
}

DictationFailure failureOf(const std::exception_ptr& error, DictationFailure otherwise) {
  try {
    std::rethrow_exception(error);
  } catch (const DictationError& known) {
    return known.failure();
  } catch (...) {
    return otherwise;
  }
}

}  // namespace quillet
