// SPDX-License-Identifier: MIT
#include "QuilletSpeech/WyomingEngine.h"

#include <boost/asio/post.hpp>

#include "QuilletKit/Async/RunOn.h"
#include "QuilletSpeech/SpeechText.h"

namespace quillet {

class WyomingEngine::Session final : public SpeechSession {
 public:
  Session(const WyomingSettings& settings, const Executor& network, SpeechOptions options)
      : options_(std::move(options)),
        network_(network),
        left_(settings.longestSound),
        peer_(std::make_shared<WyomingPeer>(network, settings, options_.language)) {}
  ~Session() override {
    boost::asio::post(network_, [peer = std::move(peer_)] { peer->close(); });
  }

  Awaitable<void> open() { return runOn(network_, WyomingPeer::open(peer_)); }

  void accept(std::span<const std::int16_t> samples) override {
    tooLong_ = tooLong_ || samples.size() > left_;
    if (tooLong_ || samples.empty()) return;
    left_ -= samples.size();
    boost::asio::post(network_, [peer = peer_, copy = std::vector<std::int16_t>(samples.begin(), samples.end())] {
      peer->send(copy);
    });
  }
  std::string partialText() const override { return peer_->partial(); }

  Awaitable<std::string> finish() override {
    if (tooLong_) throw SpeechError(SpeechFailure::tooLong, "An utterance was too long.");
    const std::string raw = co_await runOn(network_, WyomingPeer::finish(peer_));
    co_return SpeechText::finished(raw, options_);
  }

 private:
  SpeechOptions options_;
  Executor network_;
  std::size_t left_;
  bool tooLong_ = false;
  std::shared_ptr<WyomingPeer> peer_;
};

WyomingEngine::WyomingEngine(WyomingSettings settings, Executor network)
    : settings_(std::move(settings)), network_(std::move(network)) {}

SpeechEngineInfo WyomingEngine::info() const {
  return {"wyoming", settings_.model, settings_.region.empty() ? settings_.host : settings_.region, {}};
}

Awaitable<std::unique_ptr<SpeechSession>> WyomingEngine::begin(SpeechOptions options) {
  auto session = std::make_unique<Session>(settings_, network_, std::move(options));
  co_await session->open();
  co_return session;
}

}  // namespace quillet
