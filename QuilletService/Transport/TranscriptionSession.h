// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <memory>
#include <optional>
#include <string>

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Network/ReadMessage.h"
#include "QuilletService/Transcription/StreamFrames.h"
#include "QuilletService/Transport/ConnectionHost.h"
#include "QuilletService/Transport/Watchdog.h"

namespace quillet {

/// The socket of one utterance that is transcribed while it is spoken: "ready", then the sound, the client's finish,
/// and the words or an error as the last frame; then the client closes. One that goes away ends all of it at once.
template <typename Stream>
class TranscriptionSession final {
 public:
  using Upgrade = boost::beast::http::request<boost::beast::http::string_body>;

  TranscriptionSession(Stream stream, Router& router, Router::StreamEntry entry, const ServerLimits& limits)
      : socket_(std::move(stream)),
        router_(router),
        entry_(std::move(entry)),
        limits_(limits),
        watchdog_(socket_.get_executor(), [this] { abort(); }),
        work_(socket_.get_executor()) {}

  /// Answers the upgrade and serves the socket until it ends.
  Awaitable<void> run(Upgrade upgrade) {
    boost::system::error_code error;
    configure();
    co_await socket_.async_accept(upgrade, into(error));
    if (error) co_return;
    end_ = std::chrono::steady_clock::now() + limits_.transcription;
    watch();
    work_.start([this] { return serve(); });
    while (!error) {
      buffer_.commit(co_await socket_.async_read_some(roomForMessage(buffer_), into(error)));
      if (!error && socket_.is_message_done()) {
        take();
        buffer_.consume(buffer_.size());
      }
    }
    work_.cancel();
    co_await work_.token().ended();
  }

  void abort() {
    boost::system::error_code ignored;
    boost::beast::get_lowest_layer(socket_).close(ignored);
  }

 private:
  static constexpr std::size_t kLargestMessage = 131'072;
  static constexpr std::chrono::milliseconds kBetweenPartials{500};

  /// Each message gives a client some more time, up to the end.
  void watch() {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
    watchdog_.watch(std::clamp(left, std::chrono::milliseconds(1), limits_.transcriptionIdle));
  }

  static auto into(boost::system::error_code& error) {
    return boost::asio::redirect_error(boost::asio::use_awaitable, error);
  }

  void configure() {
    namespace websocket = boost::beast::websocket;
    socket_.set_option(websocket::stream_base::timeout{limits_.header, websocket::stream_base::none(), false});
    socket_.read_message_max(kLargestMessage);
    socket_.auto_fragment(false);
    socket_.text(true);
  }

  /// Begins, waits for the sound's end, and gives the words. Its end lets go of the decoder.
  Awaitable<void> serve() {
    struct Ending {
      TranscriptionSession& session;
      ~Ending() { session.transcription_.reset(); }
    } ending{*this};
    std::exception_ptr error;
    try {
      co_await transcribe();
    } catch (...) {
      error = std::current_exception();
    }
    if (isCancellation(error)) std::rethrow_exception(error);
    transcription_.reset();
    if (error) co_await write(StreamFrames::failure(entry_.request.utteranceId, router_.streamFailure(error)));
    watchdog_.watch(limits_.relayClose);  // for the client to close
  }

  Awaitable<void> transcribe() {
    transcription_ = co_await router_.beginStream(entry_);
    co_await write(StreamFrames::ready(entry_.request.utteranceId));
    while (!finishing_ && !refused_) {
      co_await news_.wait();
      if (std::exchange(partialDue_, false)) co_await tellPartial();
    }
    if (refused_) std::rethrow_exception(refused_);
    const TranscribeResponse response = co_await transcription_->finish();
    co_await write(StreamFrames::final(response));
  }

  Awaitable<void> tellPartial() {
    std::string text = transcription_->partialText();
    if (text == told_) co_return;
    told_ = std::move(text);
    co_await write(StreamFrames::partial(entry_.request.utteranceId, told_));
  }

  /// A message of the client.
  void take() {
    if (finishing_ || refused_) return;
    try {
      const auto data = buffer_.cdata();
      const ByteView message(static_cast<const std::uint8_t*>(data.data()), data.size());
      if (socket_.got_text()) {
        finish(textOf(message));
      } else {
        hear(message);
      }
    } catch (...) {
      refused_ = std::current_exception();
      news_.wake();
    }
  }

  void finish(std::string_view text) {
    if (text != StreamFrames::kFinish || !transcription_) throw Refusal::badRequest("This isn't the word to finish.");
    finishing_ = true;
    watchdog_.watch(limits_.transcription);  // the engine's time
    news_.wake();
  }

  void hear(ByteView samples) {
    if (!transcription_) throw Refusal::badRequest("Nobody has said that it is ready.");
    transcription_->accept(samples);
    watch();
    const auto now = std::chrono::steady_clock::now();
    if (now - lastPartial_ < kBetweenPartials) return;
    lastPartial_ = now;
    partialDue_ = true;
    news_.wake();
  }

  Awaitable<void> write(std::string frame) {
    boost::system::error_code error;
    co_await socket_.async_write(boost::asio::buffer(frame), into(error));
  }

  boost::beast::websocket::stream<Stream, false> socket_;
  Router& router_;
  Router::StreamEntry entry_;
  const ServerLimits& limits_;
  boost::beast::flat_buffer buffer_;
  Watchdog watchdog_;
  Event news_;
  std::unique_ptr<Transcription> transcription_;
  std::exception_ptr refused_;
  std::chrono::steady_clock::time_point end_;
  std::string told_;
  std::chrono::steady_clock::time_point lastPartial_ = std::chrono::steady_clock::now();
  bool finishing_ = false, partialDue_ = false;
  Task work_;
};

}  // namespace quillet
