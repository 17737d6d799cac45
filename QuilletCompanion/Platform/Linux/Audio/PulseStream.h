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
  /// There is something to read.
  using OnReadable = std::function<void(pa_stream*)>;

  explicit PulseStream(PulseConnection& connection) : connection_(connection) {}
  ~PulseStream() { close(); }
  PulseStream(const PulseStream&) = delete;
  PulseStream& operator=(const PulseStream&) = delete;

  /// Called once when the server ends a stream that runs, with its error.
  std::function<void(int)> onEnded;

  /// The stream runs when this returns 0; otherwise it gives the server's error. The waiting ends, too, once `givenUp`
  /// holds. Within jobs only.
  int record(const std::string& source, const Settings& settings, OnReadable onReadable,
             const std::function<bool()>& givenUp);
  int play(const std::string& sink, const Settings& settings, const std::function<bool()>& givenUp);
  /// Ends it, a moment later if it is being opened.
  void close();
  pa_stream* get() { return stream_; }

 private:
  int create(const Settings& settings);
  int awaitReady(const std::function<bool()>& givenUp);
  static void end(pa_stream* stream);
  bool isReady() const { return pa_stream_get_state(stream_) == PA_STREAM_READY; }

  PulseConnection& connection_;
  pa_stream* stream_ = nullptr;
  OnReadable onReadable_;
};

}  // namespace quillet
