// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseRoute.h"

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;
using Failure = MuffleRoute::Failure;

constexpr std::uint32_t kChannels = 2;
constexpr std::size_t kFrame = kChannels * sizeof(float);
constexpr Duration kPiece = 10ms;  ///< Of sound at a time.
constexpr unsigned kBuffered = 3;  ///< Pieces that the output should hold.
constexpr Duration kFlowing = 1s;  ///< How long sound may take to flow, and may stop.
constexpr Duration kAppearing = 1s, kLook = 20ms;
constexpr std::uint32_t kServersChoice = static_cast<std::uint32_t>(-1);

std::uint32_t bytesOf(Duration duration, const pa_sample_spec& format) {
  return static_cast<std::uint32_t>(
      pa_usec_to_bytes(static_cast<pa_usec_t>(std::chrono::microseconds(duration / 1000 / 1ns).count()), &format));
}

}  // namespace

PulseRoute::PulseRoute(PulseConnection& connection, std::shared_ptr<const Wishes> wishes)
    : connection_(connection),
      wishes_(std::move(wishes)),
      streams_(connection, [this](std::uint32_t index, const std::string& home) { watcher_.tellStream(index, home); }),
      monitor_(connection),
      player_(connection) {}

PulseRoute::~PulseRoute() {
  self_.reset();
  if (!everythingBack_) giveBack();
  monitor_.close();
  player_.close();
  const bool clean = !module_ || (everythingBack_ && connection_.unloadModule(*module_));
  if (clean) watcher_.dismiss();
}

std::optional<Failure> PulseRoute::build(OnBroken onBroken) {
  if (const int failure = connection_.connect(); failure != PA_OK) return Failure{"connect", failure};
  use_.emplace(connection_, PA_SUBSCRIPTION_MASK_SINK_INPUT, this);
  for (const auto step :
       {&PulseRoute::findOutput, &PulseRoute::makeSink, &PulseRoute::openStreams, &PulseRoute::startFlow}) {
    if (givenUp()) return Failure{"start", PA_ERR_KILLED};
    if (auto failure = (this->*step)()) return failure;
  }
  onBroken_ = std::move(onBroken);
  streams_.takeAll();
  watchFlow();
  return std::nullopt;
}

PulseRoute::Failed PulseRoute::findOutput() {
  const auto server = connection_.server();
  if (!server) return Failure{"default output", connection_.error()};
  const auto sink = connection_.sink(server->defaultSink);
  if (!sink) return Failure{"default output", PA_ERR_NOENTITY};
  if (!pa_sample_spec_valid(&sink->format)) return Failure{"output format", PA_ERR_NOTSUPPORTED};
  output_ = *sink;
  return std::nullopt;
}

PulseRoute::Failed PulseRoute::makeSink() {
  if (const int failure = watcher_.start(); failure != 0) return Failure{"start watcher", failure};
  // Without "norewinds" it would render two seconds ahead.
  module_ = connection_.loadModule("module-null-sink",
                                   std::string("sink_name=") + MuffledStreams::sinkName +
                                       " norewinds=1 format=float32ne channels=" + std::to_string(kChannels) +
                                       " rate=" + std::to_string(output_.format.rate) +
                                       " sink_properties='device.description=\"Quillet muffle\"'");
  if (!module_) return Failure{"create sink", connection_.error()};
  watcher_.tellModule(*module_);
  return std::nullopt;
}

PulseRoute::Failed PulseRoute::openStreams() {
  const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, output_.format.rate, kChannels};
  muffler_.emplace(LowPassMuffler::Format{.sampleRate = static_cast<double>(format.rate), .channels = kChannels});
  const std::uint32_t piece = bytesOf(kPiece, format);
  const PulseStream::Settings playing{
      "Muffled", format, {piece * kBuffered * 4, piece * kBuffered, piece * 2, kServersChoice, kServersChoice}};
  const PulseStream::Settings recording{
      "Muffled", format, {kServersChoice, kServersChoice, kServersChoice, kServersChoice, piece}};
  const auto stop = [this] { return givenUp(); };
  if (const int failure = player_.play(output_.name, playing, stop); failure != PA_OK) return Failure{"play", failure};
  if (const int failure = recordMonitor(recording); failure != PA_OK) return Failure{"record", failure};
  player_.onEnded = [this](int error) { broke({"play", error}); };
  monitor_.onEnded = [this](int error) { broke({"record", error}); };
  return std::nullopt;
}

// A new sink's monitor may take a moment to appear.
int PulseRoute::recordMonitor(const PulseStream::Settings& settings) {
  const auto end = std::chrono::steady_clock::now() + kAppearing;
  while (true) {
    const int failure = monitor_.record(
        std::string(MuffledStreams::sinkName) + ".monitor", settings, [this](pa_stream* from) { carry(from); },
        [this] { return givenUp(); });
    if (failure != PA_ERR_NOENTITY || std::chrono::steady_clock::now() > end || givenUp()) return failure;
    connection_.loop().waitUntil([] { return false; }, kLook);
  }
}

PulseRoute::Failed PulseRoute::startFlow() {
  const bool flows = connection_.loop().waitUntil([this] { return carried_ > 0 || givenUp(); }, kFlowing);
  return flows ? std::nullopt : Failed(Failure{"start", PA_ERR_TIMEOUT});
}

void PulseRoute::carry(pa_stream* from) {
  while (pa_stream_readable_size(from) > 0) {
    const void* data = nullptr;
    std::size_t bytes = 0;
    if (pa_stream_peek(from, &data, &bytes) < 0 || bytes == 0) return;
    if (data != nullptr) write(static_cast<const float*>(data), bytes);
    carried_ += bytes / kFrame;
    pa_stream_drop(from);
  }
}

// The two devices' clocks differ a little: what piles up beyond the output's buffer the server leaves out.
void PulseRoute::write(const float* samples, std::size_t bytes) {
  muffler_->engaged = wishes_->engaged.load();
  while (bytes > 0) {
    void* place = nullptr;
    std::size_t size = bytes;
    if (pa_stream_begin_write(player_.get(), &place, &size) < 0 || place == nullptr) return;
    const std::size_t count = std::min(size, bytes) / kFrame * kChannels;
    if (count == 0) {
      pa_stream_cancel_write(player_.get());
      return;
    }
    const InputSamples input{{samples, count}, kChannels};
    const OutputSamples output{{static_cast<float*>(place), count}, kChannels};
    muffler_->render(std::span(&input, 1), std::span(&output, 1));
    if (pa_stream_write(player_.get(), place, count * sizeof(float), nullptr, 0, PA_SEEK_RELATIVE) < 0) return;
    samples += count;
    bytes -= count * sizeof(float);
  }
}

void PulseRoute::giveBack() {
  self_.reset();
  everythingBack_ = streams_.giveBack();
}

void PulseRoute::changed(pa_subscription_event_type_t what, std::uint32_t index) {
  if ((what & PA_SUBSCRIPTION_EVENT_TYPE_MASK) != PA_SUBSCRIPTION_EVENT_NEW || !onBroken_) return;
  inJob([index](PulseRoute& route) { route.streams_.take(index); });
}

// What the sink swallows nobody hears, so a route through which nothing flows must not stay.
void PulseRoute::watchFlow() {
  connection_.loop().later(kFlowing, [self = std::weak_ptr(self_), before = carried_] {
    const auto alive = self.lock();
    if (!alive) return;
    if ((*alive)->carried_ == before) return (*alive)->broke({"flow", PA_ERR_TIMEOUT});
    (*alive)->watchFlow();
  });
}

void PulseRoute::broke(const Failure& failure) {
  inJob([failure](PulseRoute& route) {
    // The route may end in there.
    if (const auto told = std::exchange(route.onBroken_, nullptr)) told(failure);
  });
}

void PulseRoute::inJob(std::function<void(PulseRoute&)> work) {
  if (!self_) return;
  connection_.loop().post([self = std::weak_ptr(self_), work = std::move(work)] {
    if (const auto alive = self.lock()) work(**alive);
  });
}

}  // namespace quillet
