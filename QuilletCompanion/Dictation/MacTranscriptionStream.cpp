// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/MacTranscriptionStream.h"

#include <boost/asio/error.hpp>
#include <utility>

#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletKit/Async/ThrowIfCancelled.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletKit/Protocol/ServiceCoding.h"

namespace quillet {
namespace {

namespace asio = boost::asio;

constexpr std::size_t kMaximumMessageSize = 131'072;
constexpr std::size_t kChunk = 3200;  // a tenth of a second
constexpr std::chrono::milliseconds kPauseAfterChunk{20};
constexpr std::chrono::milliseconds kPauseWithoutAudio{40};
constexpr std::chrono::seconds kReadyLimit{8};
constexpr std::chrono::seconds kAgeLimit{320};
constexpr std::chrono::seconds kFinalLimit{12};
constexpr int kErrorStatus = 400;  // stands for that of an error frame
constexpr int kDone = 1000;
constexpr int kGoingAway = 1001;

[[noreturn]] void throwCancelled() {
  throw boost::system::system_error(asio::error::operation_aborted);
}

/// Awaits and gives the result, unless the task was cancelled meanwhile: its owner may be gone.
template <typename T>
Awaitable<T> wanted(Task::Token token, Awaitable<T> work) {
  if constexpr (std::is_void_v<T>) {
    co_await std::move(work);
    if (token.cancelled()) throwCancelled();
  } else {
    T result = co_await std::move(work);
    if (token.cancelled()) throwCancelled();
    co_return result;
  }
}

DictationError unavailable() {
  return DictationError(DictationFailure::cloudUnavailable);
}

}  // namespace

/// What the service sends; a final one holds a TranscribeResponse besides.
struct MacTranscriptionStream::Frame {
  std::string type;
  std::optional<std::string> utteranceId;
  std::optional<APIErrorBody> error;
  std::string text;  ///< All of it, undecoded.

  friend constexpr auto jsonFields(std::type_identity<Frame>) {
    using JSONCoding::field;
    return JSONCoding::fields(field("error", &Frame::error), field("type", &Frame::type),
                              field("utteranceId", &Frame::utteranceId));
  }
};

MacTranscriptionStream::MacTranscriptionStream(Executor mainThread, const DictationPCM& capture,
                                               std::string utteranceId, MakeRequest makeRequest, MakeSocket makeSocket,
                                               TimeSource time)
    : capture_(capture),
      utteranceId_(std::move(utteranceId)),
      makeRequest_(std::move(makeRequest)),
      makeSocket_(std::move(makeSocket)),
      time_(std::move(time)),
      run_(mainThread),
      receiver_(mainThread),
      readyWatchdog_(mainThread),
      ageWatchdog_(mainThread),
      finalWatchdog_(mainThread) {}

MacTranscriptionStream::~MacTranscriptionStream() {
  cancel();
}

void MacTranscriptionStream::start() {
  run_.start([this](Task::Token token) { return run(token); });
}

Awaitable<void> MacTranscriptionStream::run(Task::Token token) {
  Result result;
  try {
    result = co_await exchange(token);
  } catch (...) {
    result = std::current_exception();
  }
  if (token.cancelled()) co_return;
  stopTasks();
  endSocket(kDone);
  end(std::move(result));
}

Awaitable<TranscribeResponse> MacTranscriptionStream::exchange(Task::Token token) {
  co_await open(token);
  receiver_.start([this](Task::Token receiving) { return receiveText(receiving); });
  watch(ageWatchdog_, kAgeLimit);
  try {
    co_await sendAudio(token);
  } catch (const TransportError&) {
    // The receiver knows more: what the service said before it went.
  }
  watch(finalWatchdog_, kFinalLimit);
  while (!received_) co_await wanted(token, receiverEnded_.wait());
  if (const auto* error = std::get_if<std::exception_ptr>(&*received_)) std::rethrow_exception(*error);
  co_return std::get<TranscribeResponse>(*received_);
}

Awaitable<void> MacTranscriptionStream::open(Task::Token token) {
  const MakeRequest makeRequest = makeRequest_;
  HTTPRequest request = co_await wanted(token, makeRequest());
  socket_ = makeSocket_(std::move(request), kMaximumMessageSize);
  socket_->resume();
  watch(readyWatchdog_, kReadyLimit);
  const Frame first = co_await receiveFrame(token);
  readyWatchdog_.cancel();
  if (first.type != "ready") throw unavailable();
}

Awaitable<void> MacTranscriptionStream::sendAudio(Task::Token token) {
  std::size_t sent = 0;
  while (!received_) {
    const bool finishing = finishing_;
    std::string chunk = capture_.bytes(sent, kChunk);
    const std::size_t size = chunk.size();
    if (size == 0 && finishing) co_return co_await sendFinish(token);
    if (size > 0) {
      co_await wanted(token, socket_->send({false, std::move(chunk)}));
      sent += size;
    }
    if (finishing) continue;  // what is left goes without a pause
    co_await wanted(token, time_.sleep(size > 0 ? kPauseAfterChunk : kPauseWithoutAudio));
  }
}

Awaitable<void> MacTranscriptionStream::sendFinish(Task::Token token) {
  finishSent_ = true;
  co_await wanted(token, socket_->send({true, R"({"type":"finish"})"}));
}

Awaitable<MacTranscriptionStream::Frame> MacTranscriptionStream::receiveFrame(Task::Token token) {
  WebSocketMessage message = co_await wanted(token, socket_->receive());
  if (!message.isText) throw unavailable();
  Frame frame = JSONCoding::decode<Frame>(message.data);
  if (frame.utteranceId != utteranceId_) throw unavailable();
  if (frame.error) throw APIError(APIError::Server{kErrorStatus, *frame.error});
  frame.text = std::move(message.data);
  co_return frame;
}

Awaitable<void> MacTranscriptionStream::receiveText(Task::Token token) {
  Result result;
  try {
    Frame frame = co_await receiveFrame(token);
    while (frame.type == "partial") frame = co_await receiveFrame(token);
    if (frame.type != "final" || !finishSent_) throw unavailable();
    result = JSONCoding::decode<TranscribeResponse>(frame.text);
  } catch (...) {
    result = std::current_exception();
  }
  if (token.cancelled()) co_return;
  received_ = std::move(result);
  receiverEnded_.wake();
}

Awaitable<TranscribeResponse> MacTranscriptionStream::finish() {
  finishing_ = true;
  try {
    while (!result_) co_await ended_.wait();
    co_await throwIfCancelled();
  } catch (const boost::system::system_error&) {
    cancel();
    throw;
  }
  if (const auto* error = std::get_if<std::exception_ptr>(&*result_)) std::rethrow_exception(*error);
  co_return std::get<TranscribeResponse>(*result_);
}

void MacTranscriptionStream::cancel() {
  run_.cancel();
  stopTasks();
  endSocket(kGoingAway);
  end(std::make_exception_ptr(boost::system::system_error(asio::error::operation_aborted)));
}

void MacTranscriptionStream::watch(Task& watchdog, Duration limit) {
  watchdog.start([this, time = time_, limit](Task::Token token) -> Awaitable<void> {
    co_await time.sleep(limit);
    if (!token.cancelled() && socket_) socket_->cancel(kGoingAway);
  });
}

void MacTranscriptionStream::stopTasks() {
  receiver_.cancel();
  readyWatchdog_.cancel();
  ageWatchdog_.cancel();
  finalWatchdog_.cancel();
}

void MacTranscriptionStream::endSocket(int closeCode) {
  if (const auto socket = std::exchange(socket_, nullptr)) socket->cancel(closeCode);
}

void MacTranscriptionStream::end(Result result) {
  if (result_) return;
  result_ = std::move(result);
  ended_.wake();
}

}  // namespace quillet
