// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "QuilletCompanion/Dictation/DictationPCM.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Network/WebSocketTask.h"
#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {

/// A transcription that is under way while the user speaks.
class MacDictationStreaming {
 public:
  virtual ~MacDictationStreaming() = default;
  /// The recording has ended: gives the response to all of it. Throws what made the stream fail, or the cancellation,
  /// which cancels the stream.
  virtual Awaitable<TranscribeResponse> finish() = 0;
  virtual void cancel() = 0;
};

/// Sends one utterance's sound to the service as it grows and gets the text at its end. Any failure is kept until
/// `finish` tells it. Main thread only.
class MacTranscriptionStream final : public MacDictationStreaming {
 public:
  using MakeRequest = std::function<Awaitable<HTTPRequest>()>;
  using MakeSocket = std::function<std::unique_ptr<WebSocketTask>(HTTPRequest, std::size_t maximumMessageSize)>;

  /// `capture` outlives this.
  MacTranscriptionStream(Executor mainThread, const DictationPCM& capture, std::string utteranceId,
                         MakeRequest makeRequest, MakeSocket makeSocket, TimeSource time);
  ~MacTranscriptionStream() override;

  void start();
  Awaitable<TranscribeResponse> finish() override;
  void cancel() override;

 private:
  struct Frame;
  using Result = std::variant<TranscribeResponse, std::exception_ptr>;

  Awaitable<void> run(Task::Token token);
  Awaitable<TranscribeResponse> exchange(Task::Token token);
  Awaitable<void> open(Task::Token token);
  Awaitable<void> sendAudio(Task::Token token);
  Awaitable<void> sendFinish(Task::Token token);
  /// The next frame that is about this utterance. Throws DictationError or APIError for any other.
  Awaitable<Frame> receiveFrame(Task::Token token);
  /// Receives until the final text.
  Awaitable<void> receiveText(Task::Token token);
  /// Cancels the socket after that time, which fails the run.
  void watch(Task& watchdog, Duration limit);
  void stopTasks();
  void endSocket(int closeCode);
  void end(Result result);

  const DictationPCM& capture_;
  std::string utteranceId_;
  MakeRequest makeRequest_;
  MakeSocket makeSocket_;
  TimeSource time_;
  std::unique_ptr<WebSocketTask> socket_;
  bool finishing_ = false;          ///< The recording has ended.
  bool finishSent_ = false;         ///< The service has been told so.
  std::optional<Result> received_;  ///< What the receiver ended with.
  std::optional<Result> result_;
  Event receiverEnded_, ended_;
  Task run_, receiver_;
  Task readyWatchdog_, ageWatchdog_, finalWatchdog_;
};

}  // namespace quillet
