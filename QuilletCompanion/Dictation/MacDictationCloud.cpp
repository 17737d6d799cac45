// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/MacDictationCloud.h"

#include "QuilletKit/Protocol/APIClient.h"

namespace quillet {

DictationFailure MacDictationCloud::failureOf(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const DictationError& known) {
    return known.failure();
  } catch (const APIError& failed) {
    if (std::holds_alternative<APIError::Transport>(failed.detail)) return DictationFailure::offline;
    const auto* server = failed.server();
    const bool heardNothing = server != nullptr && server->body.code == "no_speech";
    return heardNothing ? DictationFailure::noSpeech : DictationFailure::cloudUnavailable;
  } catch (...) {
    return DictationFailure::cloudUnavailable;
  }
}

}  // namespace quillet
