// SPDX-License-Identifier: MIT
#include <soxr.h>

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Benchmarks/Desktop/SoundServer.h"
#include "Benchmarks/Table.h"
#include "QuilletCompanion/Dictation/DictationPCM.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseMuffleRoutes.h"
#include "Tests/Audio/SoundPrograms.h"

/// What recording costs, whose conversion is the sound server's, and how much later muffled sound is heard.
namespace quillet::bench {
namespace {

using namespace std::chrono_literals;

/// Seconds of CPU that the server takes for a second of recording.
double recording(const SoundServer& server, const std::string& format) {
  constexpr auto time = 4s;
  const test::ChildProcess recorder(
      {"sh", "-c", "exec parec -d microphone --latency-msec=20 " + format + " >/dev/null"});
  std::this_thread::sleep_for(500ms);  // what belongs to its start
  const double before = server.cpu();
  std::this_thread::sleep_for(time);
  return (server.cpu() - before) / std::chrono::duration<double>(time).count();
}

/// Seconds of CPU for a second of sound that is converted here.
double converting() {
  constexpr std::size_t rate = 44'100, piece = rate / 50, pieces = 50 * 20;
  const std::vector<std::int16_t> stereo(2 * piece, 1000);
  std::vector<std::int16_t> mono(piece), converted(piece);
  const auto io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
  const auto quality = soxr_quality_spec(SOXR_MQ, 0);
  const auto resampler = soxr_create(rate, 16'000, 1, nullptr, &io, &quality, nullptr);
  const double before = processCPUSeconds();
  for (std::size_t i = 0; i < pieces; ++i) {
    for (std::size_t at = 0; at < piece; ++at) {
      mono[at] = static_cast<std::int16_t>((stereo[2 * at] + stereo[2 * at + 1]) / 2);
    }
    std::size_t done = 0;
    soxr_process(resampler, mono.data(), piece, nullptr, converted.data(), converted.size(), &done);
    keep(converted);
  }
  const double taken = processCPUSeconds() - before;
  soxr_delete(resampler);
  return taken / (pieces / 50);
}

/// The same for sound that is kept for its recogniser.
double keeping() {
  constexpr int seconds = 200;
  const std::vector<std::int16_t> piece(320, 1000);
  DictationPCM pcm;
  const double before = processCPUSeconds();
  for (int i = 0; i < seconds * 50; ++i) pcm.append(piece);
  return (processCPUSeconds() - before) / seconds;
}

void capture(Table& table, const SoundServer& server) {
  const double converted = recording(server, "--rate=16000 --channels=1 --format=s16le");
  const double plain = recording(server, "--rate=44100 --channels=2 --format=s16le");
  table.add({"CPU for a second recorded at 16 kHz, all in the server",
             {converted * 1e6, "us"},
             "its own rate, and soxr",
             Figure{(plain + converting()) * 1e6, "us"},
             {}});
  table.add({"CPU for a second of it, kept and its level told", {keeping() * 1e6, "us"}, "", {}, {}});
}

/// Milliseconds by which a sound in the sink is heard from the speakers later, the median of some.
std::optional<double> delayFrom(const std::string& sink, test::Listener& speakers) {
  test::Listener early(sink);
  if (!eventually([&] { return early.isListening() && speakers.isListening(); })) return std::nullopt;
  std::vector<double> delays;
  for (int round = 0; round < 8; ++round) {
    early.mark();
    speakers.mark();
    const test::Music music({"-d", sink});
    if (!eventually([&] { return early.onset() && speakers.onset(); })) return std::nullopt;
    delays.push_back(std::chrono::duration<double, std::milli>(*speakers.onset() - *early.onset()).count());
  }
  return percentile(delays, 0.5);
}

bool isThere(const std::string& sink) {
  return !test::outputOf("pactl list short sinks | grep -w " + sink).empty();
}

std::optional<double> muffledDelay(test::Listener& speakers) {
  boost::asio::io_context main;
  PulseThread thread(main.get_executor());
  PulseMuffleRoutes routes(thread);
  const auto route = routes.build([](MuffleRoute::End, const MuffleRoute::Failure&) {});
  if (!eventually([] { return isThere("quillet_muffle"); })) return std::nullopt;
  return delayFrom("quillet_muffle", speakers);
}

/// The server's own loop between two sinks, with as much sound on its way.
std::optional<double> loopDelay(test::Listener& speakers) {
  const auto sink = test::outputOf("pactl load-module module-null-sink sink_name=bare norewinds=1");
  const auto loop =
      test::outputOf("pactl load-module module-loopback source=bare.monitor sink=speakers latency_msec=30");
  const auto delay = eventually([] { return isThere("bare"); }) ? delayFrom("bare", speakers) : std::nullopt;
  test::outputOf("pactl unload-module " + loop + "; pactl unload-module " + sink);
  return delay;
}

void sound(Table& table) {
  table.section("Recording and muffled playing");
  const auto server = SoundServer::find();
  if (!server) return table.note("skipped: no sound server of audio.sh's");
  capture(table, *server);
  test::Listener speakers;
  const auto ours = muffledDelay(speakers), floor = loopDelay(speakers);
  if (!ours || !floor) return table.note("no delay was measured");
  table.add({"delay that muffling adds", {*ours, "ms"}, "the server's own loop, 30 ms", Figure{*floor, "ms"}, {}});
}
const Section kSection("sound", sound);

}  // namespace
}  // namespace quillet::bench
