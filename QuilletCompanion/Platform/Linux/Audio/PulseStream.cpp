// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseStream.h"

#include <utility>

namespace quillet {
namespace {

constexpr std::chrono::seconds kOpening{2};
constexpr auto kFlags =
    static_cast<pa_stream_flags_t>(PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY | PA_STREAM_START_UNMUTED);

}  // namespace

int PulseStream::record(const std::string& source, const Settings& settings, OnReadable onReadable,
                        const std::function<bool()>& givenUp) {
  if (const int failure = create(settings); failure != PA_OK) return failure;
  onReadable_ = std::move(onReadable);
  pa_stream_set_read_callback(
      stream_, [](pa_stream* stream, std::size_t, void* self) { static_cast<PulseStream*>(self)->onReadable_(stream); },
      this);
  if (pa_stream_connect_record(stream_, source.c_str(), &settings.buffer, kFlags) < 0) return connection_.error();
  return awaitReady(givenUp);
}

int PulseStream::play(const std::string& sink, const Settings& settings, const std::function<bool()>& givenUp) {
  if (const int failure = create(settings); failure != PA_OK) return failure;
  if (pa_stream_connect_playback(stream_, sink.c_str(), &settings.buffer, kFlags, nullptr, nullptr) < 0) {
    return connection_.error();
  }
  return awaitReady(givenUp);
}

int PulseStream::create(const Settings& settings) {
  close();
  if (!connection_.isReady()) return PA_ERR_CONNECTIONTERMINATED;
  stream_ = pa_stream_new(connection_.context(), settings.name, &settings.format, nullptr);
  return stream_ != nullptr ? PA_OK : connection_.error();
}

int PulseStream::awaitReady(const std::function<bool()>& givenUp) {
  const auto opening = [&] { return pa_stream_get_state(stream_) == PA_STREAM_CREATING; };
  connection_.loop().waitUntil([&] { return !opening() || givenUp(); }, kOpening);
  if (!isReady()) return opening() ? PA_ERR_TIMEOUT : connection_.error();
  pa_stream_set_state_callback(
      stream_,
      [](pa_stream* stream, void* data) {
        auto* const self = static_cast<PulseStream*>(data);
        if (PA_STREAM_IS_GOOD(pa_stream_get_state(stream))) return;
        // The stream, and with it this object, may go in there.
        if (const auto told = std::exchange(self->onEnded, nullptr)) told(self->connection_.error());
      },
      this);
  return PA_OK;
}

void PulseStream::close() {
  pa_stream* const stream = std::exchange(stream_, nullptr);
  if (stream == nullptr) return;
  pa_stream_set_read_callback(stream, nullptr, nullptr);
  if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
    pa_stream_set_state_callback(
        stream, [](pa_stream* created, void*) { end(created); }, nullptr);
  } else {
    end(stream);
  }
}

// One that the server has yet to make can't be ended: it would stay there, as an open microphone, say.
void PulseStream::end(pa_stream* stream) {
  if (pa_stream_get_state(stream) == PA_STREAM_CREATING) return;
  pa_stream_set_state_callback(stream, nullptr, nullptr);
  pa_stream_disconnect(stream);
  pa_stream_unref(stream);
}

}  // namespace quillet
