// SPDX-License-Identifier: MIT
#include <fmt/core.h>
#include <pulse/simple.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <map>

#include "Benchmarks/Desktop/BareInsertion.h"
#include "Benchmarks/Desktop/SoundServer.h"
#include "Benchmarks/NullEngine.h"
#include "Benchmarks/ServiceRig.h"
#include "Benchmarks/Table.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/Files.h"

#include "Tests/Desktop/DisplayKeyboard.h"

/// The road of a dictation through the real program, with a service on this machine whose engine takes no time: from a
/// held key to listening, and from its release to the text in an editor. And what the program costs while nobody
/// speaks.
namespace quillet::bench {
namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kDictations = 25;
constexpr unsigned kRightAlt = 108;
constexpr double kMillisecondsToText = 60;

/// The program with its terminal front, which tells of everything it does.
class Companion {
 public:
  explicit Companion(const std::string& service) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_HOME", home_.path());
    environment.insert("XDG_CONFIG_HOME", home_.path());
    process_.setProcessEnvironment(environment);
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.start(QUILLET_BIN_DIR "/QuilletCompanion",
                   {"--terminal", "--json", "-QLTServerURLOverride", QString::fromStdString(service)});
  }
  ~Companion() {
    process_.write("quit\n");
    process_.waitForBytesWritten(1000);
    if (!process_.waitForFinished(5000)) process_.kill();
    process_.waitForFinished();
  }

  void say(const char* command) {
    process_.write(command);
    process_.waitForBytesWritten(1000);
  }
  /// When an event with that text in it came, of those not looked at yet; absent if none does.
  std::optional<SteadyClock::time_point> hears(const char* text, std::chrono::milliseconds atMost = 20s) {
    const auto end = SteadyClock::now() + atMost;
    while (SteadyClock::now() < end) {
      while (process_.canReadLine()) {
        if (process_.readLine().contains(text)) return SteadyClock::now();
      }
      process_.waitForReadyRead(50);
    }
    return std::nullopt;
  }

  /// Of this process alone and its share of what it shares, in KiB.
  double memory() const {
    std::ifstream file(proc() / "smaps_rollup");
    std::string word;
    double size = 0;
    while (file >> word) {
      if (word == "Pss:") file >> size;
    }
    return size;
  }
  /// How often each of its threads, by its folder's name, had nothing to do and was woken again so far.
  std::map<std::string, double> wakeUps() const {
    std::map<std::string, double> all;
    for (const auto& thread : std::filesystem::directory_iterator(proc() / "task")) {
      std::ifstream file(thread.path() / "status");
      for (std::string word; file >> word;) {
        if (word == "voluntary_ctxt_switches:") file >> all[thread.path().filename()];
      }
    }
    return all;
  }

 private:
  std::filesystem::path proc() const { return "/proc/" + std::to_string(process_.processId()); }

  QTemporaryDir home_;
  QProcess process_;
};

struct Idle {
  double memory = 0, wakeUps = 0;  ///< KiB, a second
};

Idle idleOf(Companion& companion) {
  constexpr auto time = 20s;
  std::this_thread::sleep_for(10s);  // what belongs to the change before
  auto before = companion.wakeUps();
  std::this_thread::sleep_for(time);
  double wakeUps = 0;
  for (const auto& [thread, count] : companion.wakeUps()) wakeUps += count - before[thread];
  return {companion.memory(), wakeUps / static_cast<double>(time.count())};
}

/// Milliseconds from nothing to a recording that runs, by the sound library alone.
std::optional<double> bareRecording() {
  const pa_sample_spec format{PA_SAMPLE_S16NE, 16'000, 1};
  constexpr auto all = static_cast<std::uint32_t>(-1);
  const pa_buffer_attr buffer{all, all, all, all, 640};
  const auto start = SteadyClock::now();
  pa_simple* const stream =
      pa_simple_new(nullptr, "Bench", PA_STREAM_RECORD, nullptr, "Bench", &format, nullptr, &buffer, nullptr);
  if (stream == nullptr) return std::nullopt;
  const double taken = Milliseconds(SteadyClock::now() - start).count();
  pa_simple_free(stream);
  return taken;
}

/// An editor whose field is in front.
class Field {
 public:
  Field() {
    ready_ = test::eventually([this] {
      const auto front = provider_.frontApplication();
      if (!provider_.enableAccessibility() || !front || front->pid != editor_.pid()) return false;
      element_ = provider_.focusedElement(editor_.pid());
      return element_ && provider_.inspect(element_).editable;
    });
  }
  bool isReady() const { return ready_; }
  std::string text() { return provider_.readValue(element_).value_or(""); }
  /// Milliseconds that writing the word takes by the bare calls.
  double bare() {
    BareInsertion insertion(element_, folder_.path() / "journal");
    const auto start = SteadyClock::now();
    insertion.insert(" word", "{}");
    return Milliseconds(SteadyClock::now() - start).count();
  }

 private:
  test::TemporaryFolder folder_;
  test::StubLock lock_;
  KeyTypist typist_;
  SystemAccessibilityProvider provider_{static_cast<std::int32_t>(getpid()), lock_, typist_};
  test::Editor editor_{"mousepad", {test::Editor::emptyFile}};
  ElementRef element_;
  bool ready_ = false;
};

struct Dictations {
  std::vector<double> toListening, toText, bareRecordings, bareInsertions;
};

/// One after the other, each with a key held for half a second.
Dictations dictate(Companion& companion, Field& field) {
  const test::DisplayKeyboard keyboard;
  Dictations all;
  for (int i = 0; i < kDictations; ++i) {
    const auto pressed = SteadyClock::now();
    keyboard.press(kRightAlt);
    const auto listening = companion.hears(R"("phase":"listening")", 5s);
    std::this_thread::sleep_for(500ms);
    const auto released = SteadyClock::now();
    keyboard.release(kRightAlt);
    const auto inserted = companion.hears(R"("phase":"inserted")", 5s);
    if (listening) all.toListening.push_back(Milliseconds(*listening - pressed).count());
    if (listening && inserted) all.toText.push_back(Milliseconds(*inserted - released).count());
    // Others' sound is given back by then.
    std::this_thread::sleep_for(700ms);
    if (const auto bare = bareRecording()) all.bareRecordings.push_back(*bare);
    all.bareInsertions.push_back(field.bare());
  }
  return all;
}

void show(Table& table, Dictations all) {
  const auto row = [&](const char* what, std::vector<double>& ours, const char* name, std::vector<double>& floor,
                       double share, std::optional<double> limit) {
    const Figure mine{percentile(ours, share), "ms"};
    if (limit) table.add({what, mine, "", {}, limit});
    table.add({what, mine, name, Figure{percentile(floor, share), "ms"}, {}});
  };
  row("key down to listening, median", all.toListening, "a bare recording", all.bareRecordings, 0.5, {});
  row("key down to listening, 95th percentile", all.toListening, "a bare recording", all.bareRecordings, 0.95, {});
  row("end of speech to text, median", all.toText, "a bare insertion", all.bareInsertions, 0.5, kMillisecondsToText);
  row("end of speech to text, 95th percentile", all.toText, "a bare insertion", all.bareInsertions, 0.95, {});
}

void showIdle(Table& table, const Idle& off, const Idle& armed, const Idle& after) {
  const auto row = [&](const char* what, double ours, double floor, const char* unit) {
    table.add({what, {ours, unit}, "dictation is off", Figure{floor, unit}, {}});
  };
  row("PSS, armed", armed.memory, off.memory, "KiB");
  row("PSS, after the dictations", after.memory, off.memory, "KiB");
  row("wake-ups a second, armed", armed.wakeUps, off.wakeUps, "times");
  row("wake-ups a second, after the dictations", after.wakeUps, off.wakeUps, "times");
}

void dictation(Table& table) {
  table.section("A dictation through the real program, without the engine's time");
  if (std::getenv("DISPLAY") == nullptr || !SoundServer::find()) return table.note("skipped: no display, or no sound");
  int argc = 0;
  const QCoreApplication application(argc, nullptr);
  NullEngine engine;
  ServiceSettings settings;
  settings.engine = &engine;
  settings.transcription.soundPerDeviceAndHour = 0s;
  ServiceThread service(settings);
  Field field;
  Companion companion("http://127.0.0.1:" + std::to_string(service.endpoint.port()));
  if (!field.isReady() || !companion.hears(R"("status":"connected")")) return table.note("the program isn't ready");
  const Idle off = idleOf(companion);
  companion.say("dictation on\n");
  if (!companion.hears(R"("canDictate":true)")) return table.note("dictation was not turned on");
  const Idle armed = idleOf(companion);
  const Dictations all = dictate(companion, field);
  table.add({"dictations whose text arrived",
             {static_cast<double>(all.toText.size()), "times"},
             "all of them",
             Figure{kDictations, "times"},
             1,
             true});
  if (all.toText.empty() || all.bareRecordings.empty()) return;
  show(table, all);
  showIdle(table, off, armed, idleOf(companion));
}
const Section kSection("dictation", dictation);

}  // namespace
}  // namespace quillet::bench
