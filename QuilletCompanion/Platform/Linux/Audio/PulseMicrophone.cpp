// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseMicrophone.h"

#include <algorithm>
#include <array>
#include <boost/asio/error.hpp>
#include <mutex>
#include <utility>

#include "QuilletCompanion/Dictation/AudioInputs.h"
#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseStream.h"
#include "QuilletKit/Async/RunOn.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr pa_sample_spec kFormat{PA_SAMPLE_S16NE, 16'000, 1};
constexpr std::size_t kPiece = 320;  // samples, 20 ms
constexpr std::uint32_t kServersChoice = static_cast<std::uint32_t>(-1);
constexpr PulseStream::Settings kSettings{
    "Dictation",
    kFormat,
    {kServersChoice, kServersChoice, kServersChoice, kServersChoice, kPiece * sizeof(std::int16_t)}};

/// The source to record from, by the rules of all inputs; empty for none.
std::string sourceFor(const AudioDevices::List& list, const std::optional<std::string>& uid) {
  const auto id = AudioInputs::deviceID(list, uid);
  const auto device =
      std::find_if(list.all.begin(), list.all.end(), [&](const AudioDevice& each) { return each.id == id; });
  return device != list.all.end() ? device->uid : "";
}

[[noreturn]] void fail(const char* step, int error) {
  Log::error("dictation", "Microphone routing failed: {} ({})", step, error);
  throw DictationError(DictationFailure::microphoneUnavailable);
}

}  // namespace

/// What both threads know of a recording.
struct PulseMicrophone::Capture {
  Capture(std::shared_ptr<PulseCore> used, OnSamples samples, std::function<void()> interrupted)
      : core(std::move(used)), onSamples(std::move(samples)), onInterrupted(std::move(interrupted)) {}

  /// Of the sound thread.
  void deliver(pa_stream* from);
  void deliver(std::span<const std::int16_t> samples);

  const std::shared_ptr<PulseCore> core;
  std::mutex lock;     ///< Held while samples are told.
  bool ended = false;  ///< By its owner. Under the lock, and written on the main thread only.
  const OnSamples onSamples;
  const std::function<void()> onInterrupted;  ///< For the main thread.

  // Of the sound thread.
  std::optional<PulseConnection::Use> use;
  PulseStream stream{core->connection};
};

void PulseMicrophone::Capture::deliver(pa_stream* from) {
  static constexpr std::array<std::int16_t, kPiece> silence{};
  while (pa_stream_readable_size(from) > 0) {
    const void* data = nullptr;
    std::size_t bytes = 0;
    if (pa_stream_peek(from, &data, &bytes) < 0 || bytes == 0) return;
    const auto* const samples = static_cast<const std::int16_t*>(data);
    for (std::size_t left = bytes / sizeof(std::int16_t), at = 0; left > 0;) {
      const std::size_t count = std::min(left, kPiece);
      deliver(samples != nullptr ? std::span(samples + at, count) : std::span(silence).first(count));
      left -= count;
      at += count;
    }
    pa_stream_drop(from);
  }
}

void PulseMicrophone::Capture::deliver(std::span<const std::int16_t> samples) {
  const std::lock_guard guard(lock);
  if (!ended) onSamples(samples);
}

/// The owner's end of a recording.
class PulseMicrophone::Recording final : public MicrophoneRecording {
 public:
  Recording(PulseThread& thread, std::shared_ptr<Capture> capture) : thread_(thread), capture_(std::move(capture)) {}
  ~Recording() override {
    {
      const std::lock_guard guard(capture_->lock);
      capture_->ended = true;
    }
    thread_.post([capture = std::move(capture_)] {
      capture->stream.close();
      capture->use.reset();
    });
  }

 private:
  PulseThread& thread_;
  std::shared_ptr<Capture> capture_;
};

Awaitable<std::unique_ptr<MicrophoneRecording>> PulseMicrophone::record(std::optional<std::string> uid,
                                                                        OnSamples onSamples,
                                                                        std::function<void()> onInterrupted) {
  auto capture = std::make_shared<Capture>(thread_.core(), std::move(onSamples), std::move(onInterrupted));
  // Whatever becomes of this coroutine ends what it began.
  std::unique_ptr<MicrophoneRecording> recording = std::make_unique<Recording>(thread_, capture);
  co_await runOn(thread_.executor(), open(std::move(capture), std::move(uid)));
  // It may have opened at the very moment of a cancellation.
  if (isCancelled(co_await boost::asio::this_coro::cancellation_state)) {
    throw boost::system::system_error(boost::asio::error::operation_aborted);
  }
  co_return recording;
}

Awaitable<void> PulseMicrophone::open(std::shared_ptr<Capture> capture, std::optional<std::string> uid) {
  auto& connection = capture->core->connection;
  const auto givenUp = [&] {
    const std::lock_guard guard(capture->lock);
    return capture->ended;
  };
  if (givenUp()) co_return;
  if (const int failure = connection.connect(PulseConnection::Start::ifMissing); failure != PA_OK)
    fail("connect", failure);
  capture->use.emplace(connection, PA_SUBSCRIPTION_MASK_NULL, nullptr);
  const auto devices = connection.devices();
  if (!devices) fail("list", connection.error());
  const std::string source = sourceFor(*devices, uid);
  if (source.empty()) throw DictationError(DictationFailure::microphoneUnavailable);
  const int failure = capture->stream.record(
      source, kSettings, [capture = capture.get()](pa_stream* from) { capture->deliver(from); }, givenUp);
  if (failure != PA_OK && !givenUp()) fail("record", failure);
  capture->stream.onEnded = [weak = std::weak_ptr(capture)](int) {
    const auto alive = weak.lock();
    if (!alive) return;
    alive->core->tell([capture = alive] {
      if (!capture->ended) capture->onInterrupted();
    });
  };
}

}  // namespace quillet
