// SPDX-License-Identifier: MIT
#include "QuilletSpeech/WyomingPeer.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include "QuilletKit/Async/ThrowIfCancelled.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Network/NetworkStream.h"
#include "QuilletSpeech/SpeechText.h"

namespace quillet {
namespace {

namespace asio = boost::asio;

constexpr std::size_t kLongestLine = 1 << 20;
constexpr std::size_t kLongestPart = 4 << 20;

/// The server's own word for the language, or nothing. "de" fits "de-CH" and "de_DE".
std::optional<std::string> match(const WyomingInfo::Model& model, const std::string& language) {
  if (language.empty() || model.languages.empty()) return language;
  const auto fits = [&](const auto& same) {
    return std::find_if(model.languages.begin(), model.languages.end(), same);
  };
  auto found = fits([&](const std::string& known) { return known == language; });
  const std::string primary = SpeechText::primaryLanguage(language);
  if (found == model.languages.end()) {
    found = fits([&](const std::string& known) { return SpeechText::primaryLanguage(known) == primary; });
  }
  return found == model.languages.end() ? std::nullopt : std::optional(*found);
}

/// The server's word for the language. Throws SpeechError.
std::string checkedLanguage(const WyomingInfo& info, const WyomingSettings& settings, const std::string& language) {
  if (info.programs.empty()) throw SpeechError(SpeechFailure::unavailable, "The server recognises no speech.");
  bool known = false;
  for (const auto& program : info.programs) {
    for (const auto& model : program.models) {
      if (!model.installed || (!settings.model.empty() && model.name != settings.model)) continue;
      known = true;
      if (auto word = match(model, language)) return *std::move(word);
    }
  }
  if (!known) throw SpeechError(SpeechFailure::modelNotInstalled, "The server doesn't have the model.");
  throw SpeechError(SpeechFailure::languageUnsupported, "The server doesn't speak the language.");
}

}  // namespace

WyomingPeer::WyomingPeer(const Executor& network, const WyomingSettings& settings, std::string language)
    : network_(network), settings_(settings), language_(std::move(language)), dialer_(network) {}

Awaitable<void> WyomingPeer::open(std::shared_ptr<WyomingPeer> self) {
  asio::co_spawn(self->network_, self->run(), [self](const std::exception_ptr& error) {
    try {
      if (error) std::rethrow_exception(error);
    } catch (const SpeechError& e) {
      self->fail(e.failure, e.what());
    } catch (const boost::system::system_error& e) {
      self->fail(SpeechFailure::unavailable, describeNetworkError(e.code()));
    } catch (const std::exception&) {
      self->fail(SpeechFailure::unavailable, "The server's words can't be understood.");
    }
  });
  while (!self->ready_) co_await self->settled(self->settings_.connect);
}

Awaitable<std::string> WyomingPeer::finish(std::shared_ptr<WyomingPeer> self) {
  self->write(WyomingEvent::audioStop());
  while (!self->transcript_) co_await self->settled(self->settings_.answer);
  co_return *self->transcript_;
}

/// Waits for news. Throws the failure, if it is one.
Awaitable<void> WyomingPeer::settled(std::chrono::milliseconds limit) {
  if (failure_) throw *failure_;
  bool told = false;
  try {
    told = co_await news_.waitFor(limit);
    co_await throwIfCancelled();
  } catch (const boost::system::system_error&) {
    close();
    throw;
  }
  if (!told) fail(SpeechFailure::unavailable, "The server took too long.");
  if (failure_) throw *failure_;
}

Awaitable<void> WyomingPeer::run() {
  socket_.emplace(co_await dialer_.dial(settings_.host, settings_.port));
  if (closed_) co_return;
  write(WyomingEvent::describe());
  while (!transcript_) handle(co_await read());
}

void WyomingPeer::handle(const WyomingEvent& event) {
  if (event.type == "info" && !ready_) {
    announce(WyomingInfo::of(event));
  } else if (event.type == "transcript") {
    transcript_ = event.text("text").value_or("");
    news_.wake();
  } else if (event.type == "transcript-chunk") {
    const std::lock_guard lock(mutex_);
    partial_ += event.text("text").value_or("");
  } else if (event.type == "error") {
    throw SpeechError(SpeechFailure::failed, "The server told of an error.");
  }
}

void WyomingPeer::announce(const WyomingInfo& info) {
  write(WyomingEvent::transcribe(settings_.model, checkedLanguage(info, settings_, language_)));
  write(WyomingEvent::audioStart());
  ready_ = true;
  news_.wake();
}

Awaitable<WyomingEvent> WyomingPeer::read() {
  const std::size_t end =
      co_await asio::async_read_until(*socket_, asio::dynamic_buffer(buffer_, kLongestLine), '\n', asio::use_awaitable);
  const auto head = WyomingEvent::Head::parse(std::string_view(buffer_).substr(0, end - 1));
  buffer_.erase(0, end);
  WyomingEvent event{head.type, head.data, co_await take(head.dataLength)};
  co_await take(head.payloadLength);
  co_return event;
}

Awaitable<std::string> WyomingPeer::take(std::size_t size) {
  if (size > kLongestPart) throw SpeechError(SpeechFailure::unavailable, "The server says too much.");
  if (buffer_.size() < size) {
    co_await asio::async_read(*socket_, asio::dynamic_buffer(buffer_), asio::transfer_exactly(size - buffer_.size()),
                              asio::use_awaitable);
  }
  std::string part = buffer_.substr(0, size);
  buffer_.erase(0, size);
  co_return part;
}

void WyomingPeer::send(const std::vector<std::int16_t>& samples) {
  write(WyomingEvent::audioChunk(samples));
}

void WyomingPeer::write(std::string text) {
  if (failure_ || closed_) return;
  outgoing_.push_back(std::move(text));
  if (outgoing_.size() == 1) writeNext();
}

void WyomingPeer::writeNext() {
  asio::async_write(*socket_, asio::buffer(outgoing_.front()),
                    [self = shared_from_this()](boost::system::error_code error, std::size_t) {
                      self->outgoing_.pop_front();
                      // The reader says what became of the connection, which may have left words behind.
                      if (!error && !self->outgoing_.empty()) self->writeNext();
                      if (error) self->outgoing_.clear();
                    });
}

void WyomingPeer::fail(SpeechFailure failure, const std::string& detail) {
  if (failure_ || transcript_) return;
  failure_.emplace(failure, detail);
  close();
}

void WyomingPeer::close() {
  closed_ = true;
  dialer_.cancel();
  boost::system::error_code ignored;
  if (socket_) socket_->close(ignored);
  news_.wake();
}

std::string WyomingPeer::partial() const {
  const std::lock_guard lock(mutex_);
  return partial_;
}

}  // namespace quillet
