// SPDX-License-Identifier: MIT
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "Benchmarks/Table.h"
#include "QuilletCompanion/Dictation/Biquad.h"
#include "QuilletCompanion/Dictation/LowPassMuffler.h"
#include "Tests/Doubles/TemporaryFolder.h"

/// What muffling costs on the sound thread, a frame of left and right: beside its four filter stages alone, and beside
/// another program's filter.
namespace quillet::bench {
namespace {

constexpr std::size_t kFrames = 480;  // 10 ms, as they come
constexpr double kNanosecondsAFrame = 7;

std::vector<float> music() {
  std::vector<float> samples;
  for (std::size_t i = 0; i < kFrames; ++i) {
    const float sample = 0.3F * std::sin(static_cast<float>(i) * 0.03F);
    samples.insert(samples.end(), {sample, -sample});
  }
  return samples;
}

/// One muffler with its effect on, and what it renders.
struct Rendering {
  explicit Rendering(std::vector<float> samples) : input(std::move(samples)), output(input.size()) {
    muffler.engaged = true;
    for (int i = 0; i < 100; ++i) once();
  }
  void once() {
    const InputSamples from{input, 2};
    const OutputSamples to{output, 2};
    muffler.render(std::span(&from, 1), std::span(&to, 1));
    keep(output);
  }

  LowPassMuffler muffler{LowPassMuffler::Format{}};
  std::vector<float> input, output;
};

struct Bare {
  void once() {
    auto [a, b, c, d] = stages;
    for (std::size_t i = 0; i < input.size(); i += 2) {
      output[i] = b.step(a.step(input[i]));
      output[i + 1] = d.step(c.step(input[i + 1]));
    }
    stages = {a, b, c, d};
    keep(output);
  }

  std::vector<float> input = music(), output = std::vector<float>(input.size());
  std::array<Biquad, 4> stages{Biquad::lowPass(48'000, 420, 1.0824), Biquad::lowPass(48'000, 420, 2.6132),
                               Biquad::lowPass(48'000, 420, 1.0824), Biquad::lowPass(48'000, 420, 2.6132)};
};

double childSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec) + static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
}

/// Nanoseconds a frame that sox needs more for two filter stages than for none; absent without sox.
std::optional<double> soxPerFrame() {
  constexpr int seconds = 120;
  const test::TemporaryFolder folder;
  const std::string raw = "-t raw -r 48000 -e float -b 32 -c 2 " + (folder.path() / "music").string();
  {
    std::ofstream file(folder.path() / "music", std::ios::binary);
    const auto piece = music();
    for (int i = 0; i < seconds * 100; ++i) {
      file.write(reinterpret_cast<const char*>(piece.data()),
                 static_cast<std::streamsize>(piece.size() * sizeof(float)));
    }
  }
  const auto run = [&](const std::string& effects) {
    const double before = childSeconds();
    if (std::system(("sox " + raw + " -n " + effects + " 2>/dev/null").c_str()) != 0) return -1.0;
    return childSeconds() - before;
  };
  const double plain = run("gain -1"), filtered = run("gain -1 lowpass 420 lowpass 420");
  if (plain < 0 || filtered < 0) return std::nullopt;
  return (filtered - plain) * 1e9 / (seconds * 48'000.0);
}

void muffler(Table& table) {
  table.section("Muffling, a frame of left and right");
  Rendering playing(music()), silent(music());
  std::fill(silent.input.begin(), silent.input.end(), 0.0F);
  Bare bare;
  const Comparison filter = compare([&] { playing.once(); }, [&] { bare.once(); });
  const double ours = filter.ours / kFrames;
  table.add({"LowPassMuffler.render", {ours, "ns"}, "", std::nullopt, kNanosecondsAFrame});
  table.add({"LowPassMuffler.render", {ours, "ns"}, "its four stages alone", Figure{filter.floor / kFrames, "ns"}, {}});
  const Comparison silence = compare([&] { silent.once(); }, [&] { playing.once(); });
  table.add(
      {"silence after music", {silence.ours / kFrames, "ns"}, "music", Figure{silence.floor / kFrames, "ns"}, 1.1});
  if (const auto sox = soxPerFrame()) {
    table.add({"LowPassMuffler.render", {ours, "ns"}, "sox, two lowpass effects", Figure{*sox, "ns"}, {}});
  } else {
    table.note("sox is not installed");
  }
}
const Section kSection("muffler", muffler);

}  // namespace
}  // namespace quillet::bench
