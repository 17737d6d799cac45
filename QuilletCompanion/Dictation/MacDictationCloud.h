// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {

/// The service as dictation knows it: calls that are there while this computer has an identity. Main thread only.
struct MacDictationCloud {
  /// Uploads a wave file. Throws APIError or the cancellation. Without it there is no dictation by the cloud.
  std::function<Awaitable<TranscribeResponse>(Bytes audio, TranscribeMeta meta)> transcribe;
  /// The signed request that opens a stream. Throws APIError or the cancellation.
  std::function<Awaitable<HTTPRequest>(std::string utteranceId, RecognitionLanguage language)> streamRequest;
  /// As the service's configuration says.
  bool streamingAvailable = false;

  /// Why dictation fails when one of these calls, or what follows from it, has failed with `error`.
  static DictationFailure failureOf(const std::exception_ptr& error);
};

}  // namespace quillet
