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
#include "Tests/Doubles/Files.h"

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

/// Raw music in a file, for other programs.
class MusicFile {
 public:
  static constexpr int seconds = 120;

  MusicFile() {
    std::ofstream file(path(), std::ios::binary);
    const auto piece = music();
    for (int i = 0; i < seconds * 100; ++i) {
      file.write(reinterpret_cast<const char*>(piece.data()),
                 static_cast<std::streamsize>(piece.size() * sizeof(float)));
    }
  }
  std::string path() const { return (folder_.path() / "music").string(); }

 private:
  test::TemporaryFolder folder_;
};

/// Nanoseconds a frame that another program needs more for two filter stages than for none, the median of some runs;
/// absent without that program.
std::optional<double> perFrame(const std::string& plain, const std::string& filtered) {
  const auto run = [](const std::string& command) {
    const double before = childSeconds();
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) return -1.0;
    return childSeconds() - before;
  };
  std::vector<double> more;
  for (int round = 0; round < 5; ++round) {
    const double without = run(plain), with = run(filtered);
    if (without < 0 || with < 0) return std::nullopt;
    more.push_back((with - without) * 1e9 / (MusicFile::seconds * 48'000.0));
  }
  return percentile(more, 0.5);
}

void besidePrograms(Table& table, double ours) {
  const MusicFile file;
  const auto beside = [&](const char* name, const std::string& plain, const std::string& filtered) {
    const auto floor = perFrame(plain, filtered);
    if (!floor) return table.note(std::string(name) + " is not installed");
    table.add(
        {"LowPassMuffler.render", {ours, "ns"}, std::string(name) + ", two low passes", Figure{*floor, "ns"}, {}});
  };
  const std::string sox = "sox -t raw -r 48000 -e float -b 32 -c 2 " + file.path() + " -n gain -1";
  beside("sox", sox, sox + " lowpass 420 lowpass 420");
  const std::string ffmpeg = "ffmpeg -nostdin -threads 1 -f f32le -ar 48000 -ac 2 -i " + file.path() + " -af ";
  beside("ffmpeg", ffmpeg + "anull -f null -", ffmpeg + "lowpass=f=420:r=f32,lowpass=f=420:r=f32 -f null -");
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
  besidePrograms(table, ours);
}
const Section kSection("muffler", muffler);

}  // namespace
}  // namespace quillet::bench
