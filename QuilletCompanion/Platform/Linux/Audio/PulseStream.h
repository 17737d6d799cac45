// SPDX-License-Identifier: MIT
#pragma once

#include <pulse/pulseaudio.h>

#include <functional>
#include <memory>
#include <string>

#include "QuilletCompanion/Platform/Linux/Audio/PulseConnection.h"

namespace quillet {

/// A stream of ours from a source or to a sink; it stays there, and ends when that goes away. Of the sound thread; its
/// callbacks come from within the streams' service, none after its end.
class PulseStream {
 public:
  struct Settings {
    const char* name;  ///< As mixers show it.
    pa_sample_spec format;
    pa_buffer_attr buffer;
  };
  /// There are bytes to read, or room to write.
  using OnReady = std::function<void(pa_stream*)>;

  explicit PulseStream(PulseConnection& connection) : connection_(connection) {}
  ~PulseStream() { close(); }
  PulseStream(const PulseStream&) = delete;
  PulseStream& operator=(const PulseStream&) = delete;

  /// Called once when the server ends a stream that runs, with its error.
  std::function<void(int)> onEnded;

  /// Runs when this returns 0; otherwise the server's error. `given up` ends the waiting. Within jobs only.
  int record(const std::string& source, const Settings& settings, OnReady onReadable,
             const std::function<bool()>& givenUp);
  int play(const std::string& sink, const Settings& settings, const std::function<bool()>& givenUp);
  void close();
  pa_stream* get() { return stream_; }

 private:
  int create(const Settings& settings);
  int awaitReady(const std::function<bool()>& givenUp);
  bool isReady() const { return pa_stream_get_state(stream_) == PA_STREAM_READY; }

  PulseConnection& connection_;
  pa_stream* stream_ = nullptr;
  OnReady onReadable_;
};

}  // namespace quillet
