// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SphinxEngine.h"

#include <algorithm>
#include <atomic>
#include <boost/asio/error.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <deque>
#include <thread>

#include "QuilletKit/Async/RunOn.h"
#include "QuilletSpeech/SpeechText.h"
#include "QuilletSpeech/SphinxDecoder.h"

namespace quillet {
namespace asio = boost::asio;

namespace {

constexpr std::string_view kLanguage = "en";
constexpr int kBlocksPerPartial = 5;

using Samples = std::vector<std::int16_t>;

}  // namespace

/// A thread, and the decoders that stay on it.
class SphinxEngine::Worker {
 public:
  explicit Worker(const SphinxSettings& settings)
      : settings_(settings),
        work_(context_.get_executor()),
        idleTimer_(context_),
        thread_([this] { context_.run(); }) {}
  ~Worker() {
    context_.stop();
    thread_.join();
  }

  Executor executor() { return context_.get_executor(); }

  /// Under the engine's lock.
  std::size_t sessions = 0;

  // The rest is for the worker's own thread.

  std::unique_ptr<SphinxDecoder> takeDecoder() {
    if (idle_.empty()) return std::make_unique<SphinxDecoder>(settings_.model);
    auto decoder = std::move(idle_.back());
    idle_.pop_back();
    return decoder;
  }

  void giveBack(std::unique_ptr<SphinxDecoder> decoder) {
    idle_.push_back(std::move(decoder));
    idleTimer_.expires_after(settings_.keepIdle);
    idleTimer_.async_wait([this](boost::system::error_code replaced) {
      if (!replaced) idle_.clear();
    });
  }

 private:
  const SphinxSettings& settings_;
  asio::io_context context_{1};
  asio::executor_work_guard<asio::io_context::executor_type> work_;
  std::vector<std::unique_ptr<SphinxDecoder>> idle_;
  asio::steady_timer idleTimer_;
  std::thread thread_;
};

/// A session's right to be on a worker.
class SphinxEngine::Place {
 public:
  Place(std::mutex& mutex, Worker& worker) : mutex_(&mutex), worker_(&worker) {}
  Place(Place&& other) noexcept : mutex_(other.mutex_), worker_(std::exchange(other.worker_, nullptr)) {}
  Place& operator=(Place&&) = delete;
  ~Place() {
    if (worker_ == nullptr) return;
    const std::lock_guard lock(*mutex_);
    --worker_->sessions;
  }
  Worker& worker() const { return *worker_; }

 private:
  std::mutex* mutex_;
  Worker* worker_;
};

/// What a session and its worker share. Holds its decoder until it ends on the worker's thread.
class SphinxEngine::Utterance : public std::enable_shared_from_this<Utterance> {
 public:
  Utterance(Worker& worker, std::size_t longest) : worker_(worker), longest_(longest) {}

  // For the session's thread.

  void accept(std::span<const std::int16_t> samples) {
    const std::lock_guard lock(mutex_);
    taken_ += samples.size();
    if (taken_ <= longest_) arrived_.insert(arrived_.end(), samples.begin(), samples.end());
    if (std::exchange(pumping_, true)) return;
    asio::post(worker_.executor(), [self = shared_from_this()] { self->pump(); });
  }

  std::string partial() const {
    const std::lock_guard lock(mutex_);
    return partial_;
  }

  /// Nobody wants the words any more.
  static void abandon(std::shared_ptr<Utterance> self) {
    self->abandoned_ = true;
    const Executor worker = self->worker_.executor();
    asio::post(worker, [last = std::move(self)] { last->release(); });
  }

  // For the worker's thread.

  static Awaitable<void> load(std::shared_ptr<Utterance> self) {
    self->decoder_ = self->worker_.takeDecoder();
    self->decoder_->begin();
    co_return;
  }

  static Awaitable<std::string> finish(std::shared_ptr<Utterance> self) {
    while (self->step(true)) co_await asio::post(self->worker_.executor(), asio::use_awaitable);
    if (!self->decoder_) throw boost::system::system_error(asio::error::operation_aborted);
    if (self->failure_) std::rethrow_exception(self->failure_);
    if (self->tooLong()) throw SpeechError(SpeechFailure::tooLong, "An utterance was too long.");
    co_return self->decoder_->finish();
  }

 private:
  bool tooLong() const {
    const std::lock_guard lock(mutex_);
    return taken_ > longest_;
  }

  bool stopped() const { return abandoned_ || !decoder_ || failure_; }

  void pump() {
    const bool more = step(false);
    const std::lock_guard lock(mutex_);
    pumping_ = more || (!stopped() && arrived_.size() >= SphinxDecoder::kBlock);
    if (pumping_) asio::post(worker_.executor(), [self = shared_from_this()] { self->pump(); });
  }

  /// Decodes one block; false when there is none yet. At the end the last block may be short.
  bool step(bool ended) {
    if (stopped()) return false;
    try {
      cut(ended);
      if (blocks_.empty() || !(heard_ || ended)) return false;
      decoder_->decode(blocks_.front());
      blocks_.pop_front();
      if (++decoded_ % kBlocksPerPartial == 0) tell(decoder_->text());
      return true;
    } catch (const SpeechError&) {
      failure_ = std::current_exception();
      return false;
    }
  }

  /// Makes blocks of what has arrived.
  void cut(bool ended) {
    Samples samples;
    {
      const std::lock_guard lock(mutex_);
      const std::size_t odd = ended ? 0 : arrived_.size() % SphinxDecoder::kBlock;
      samples.assign(arrived_.begin(), arrived_.end() - static_cast<std::ptrdiff_t>(odd));
      arrived_.erase(arrived_.begin(), arrived_.end() - static_cast<std::ptrdiff_t>(odd));
    }
    for (std::size_t at = 0; at < samples.size(); at += SphinxDecoder::kBlock) {
      const std::span<const std::int16_t> rest = std::span(samples).subspan(at);
      const auto block = rest.first(std::min(rest.size(), SphinxDecoder::kBlock));
      heard_ = heard_ || decoder_->listen(block);
      blocks_.emplace_back(block.begin(), block.end());
    }
  }

  void tell(std::string text) {
    const std::lock_guard lock(mutex_);
    partial_ = std::move(text);
  }

  void release() {
    blocks_.clear();
    if (decoder_) worker_.giveBack(std::move(decoder_));
  }

  Worker& worker_;
  const std::size_t longest_;
  std::atomic<bool> abandoned_{false};

  mutable std::mutex mutex_;
  Samples arrived_;
  std::size_t taken_ = 0;
  std::string partial_;
  bool pumping_ = false;

  // The worker's alone.
  std::unique_ptr<SphinxDecoder> decoder_;
  std::deque<Samples> blocks_;
  std::exception_ptr failure_;
  bool heard_ = false;
  int decoded_ = 0;
};

class SphinxEngine::Session final : public SpeechSession {
 public:
  Session(Place place, SpeechOptions options, std::size_t longest)
      : options_(std::move(options)),
        place_(std::move(place)),
        executor_(place_.worker().executor()),
        utterance_(std::make_shared<Utterance>(place_.worker(), longest)) {}
  ~Session() override { Utterance::abandon(std::move(utterance_)); }

  Awaitable<void> load() { return runOn(executor_, Utterance::load(utterance_)); }

  void accept(std::span<const std::int16_t> samples) override { utterance_->accept(samples); }
  std::string partialText() const override { return utterance_->partial(); }
  Awaitable<std::string> finish() override {
    const std::string raw = co_await runOn(executor_, Utterance::finish(utterance_));
    co_return SpeechText::finished(raw, options_);
  }

 private:
  SpeechOptions options_;
  // Free as soon as the session goes: the worker takes the decoder back before it begins what comes later.
  Place place_;
  Executor executor_;
  std::shared_ptr<Utterance> utterance_;
};

std::filesystem::path SphinxSettings::defaultModel() {
  return QUILLET_SPHINX_MODEL;
}

SphinxEngine::SphinxEngine(SphinxSettings settings) : settings_(std::move(settings)) {
  if (settings_.workers == 0) settings_.workers = std::max(1U, std::thread::hardware_concurrency());
}

SphinxEngine::~SphinxEngine() = default;

SpeechEngineInfo SphinxEngine::info() const {
  return {"sphinx", "PocketSphinx en-us", "on this machine", {std::string(kLanguage)}};
}

SphinxEngine::Place SphinxEngine::takePlace() {
  const std::lock_guard lock(mutex_);
  while (workers_.size() < settings_.workers) workers_.push_back(std::make_unique<Worker>(settings_));
  const auto fewest = std::min_element(workers_.begin(), workers_.end(),
                                       [](const auto& a, const auto& b) { return a->sessions < b->sessions; });
  Worker& worker = **fewest;
  if (worker.sessions >= settings_.sessionsPerWorker) {
    throw SpeechError(SpeechFailure::busy, "All decoders are in use.");
  }
  ++worker.sessions;
  return {mutex_, worker};
}

Awaitable<std::unique_ptr<SpeechSession>> SphinxEngine::begin(SpeechOptions options) {
  const std::string language = SpeechText::primaryLanguage(options.language);
  if (!language.empty() && language != kLanguage) {
    throw SpeechError(SpeechFailure::languageUnsupported, "The embedded engine speaks English only.");
  }
  options.language = kLanguage;
  SphinxDecoder::requireModel(settings_.model);
  auto session = std::make_unique<Session>(takePlace(), std::move(options), settings_.longestSound);
  co_await session->load();
  co_return session;
}

}  // namespace quillet
