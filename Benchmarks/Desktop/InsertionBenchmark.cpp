// SPDX-License-Identifier: MIT
#include <fmt/core.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Benchmarks/Desktop/BareInsertion.h"
#include "Benchmarks/Desktop/StampingProvider.h"
#include "Benchmarks/Table.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"
#include "QuilletCompanion/Relay/RelayMessageHandler.h"
#include "QuilletCompanion/Target/FocusMonitor.h"
#include "QuilletKit/Base/Log.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Doubles/RelayEnds.h"

/// From a delivery's frame to its result's frame, with a real editor in front: envelope, guard, journal on disk,
/// accessibility, signature and envelope again. All but the sockets.
namespace quillet::bench {
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
using SteadyClock = std::chrono::steady_clock;
using Kind = StampingProvider::Kind;

constexpr int kInsertions = 1000;
constexpr std::size_t kCharacters = 64;

/// 64 characters that differ each time, one of them outside ASCII.
std::string textOf(int number) {
  auto text = fmt::format("{:04} Grüße, this is what somebody said to a phone just now", number);
  text.resize(kCharacters + 2, '.');  // two of them take two bytes
  return text;
}

class StampingTransport final : public RelayTransport {
 public:
  bool send(const RelayClientMessage& message) override {
    if (const auto* frame = std::get_if<RelayClient::Result>(&message)) {
      left = SteadyClock::now();
      result = *frame;
    }
    return true;
  }
  std::optional<RelayClient::Result> result;
  SteadyClock::time_point left;
};

/// Where the milliseconds of one delivery went, in the order in which they pass.
struct Stages {
  static constexpr std::array<const char*, 6> names{"opening and looking up", "guard",   "journal",
                                                    "looking before",         "writing", "looking after"};
  std::array<std::vector<double>, 6> samples;
  std::vector<double> ending;

  void add(SteadyClock::time_point start, const std::vector<StampingProvider::Call>& calls,
           SteadyClock::time_point end);
};

void Stages::add(SteadyClock::time_point start, const std::vector<StampingProvider::Call>& calls,
                 SteadyClock::time_point end) {
  const auto first = [&](Kind kind) {
    return std::find_if(calls.begin(), calls.end(), [&](const auto& call) { return call.kind == kind; });
  };
  const auto write = first(Kind::write), look = first(Kind::look);
  if (write == calls.end() || look == calls.begin() || look >= write) return;
  const std::array times{start,        calls.front().start, std::prev(look)->end, look->start,
                         write->start, write->end,          calls.back().end};
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i].push_back(Milliseconds(times[i + 1] - times[i]).count());
  }
  ending.push_back(Milliseconds(end - calls.back().end).count());
}

/// The desktop's side of one paired phone, and the phone.
class Road {
 public:
  explicit Road(const char* program) : editor_(program, {test::Editor::emptyFile}) {
    peers_.upsert(phone_.peerIdentity("Phone", DevicePlatform::ios), 1);
    handler_->setTransport(transport_);
    monitor_.start();
    ready_ = test::eventually([this] { return isInFront(); });
  }
  bool ready() const { return ready_; }

  /// Milliseconds from frame to frame, or nothing if the text doesn't stand there exactly.
  std::optional<double> deliver(int number, Stages& stages);
  /// The same text by the bare calls.
  double bare(int number, const std::string& journal);
  std::string journal() const {
    std::ifstream file(folder_.path() / "journal.json");
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool empty();

 private:
  bool isInFront() {
    const auto front = provider_.frontApplication();
    if (!provider_.enableAccessibility() || !front || front->pid != editor_.pid()) return false;
    field_ = provider_.focusedElement(editor_.pid());
    if (!field_ || !provider_.inspect(field_).editable) return false;
    bare_.emplace(field_, folder_.path() / "bare.json");
    return true;
  }
  RelayServer::Deliver frameFor(int number, const std::string& token) const;
  bool isInserted() const;

  test::TemporaryFolder folder_;
  test::NetworkThread timers_;
  MainLoop loop_;
  TimeSource time_ = systemTime(timers_.executor());
  test::StubLock lock_;
  KeyTypist typist_;
  SystemAccessibilityProvider provider_{static_cast<std::int32_t>(getpid()), lock_, typist_};
  StampingProvider stamping_{provider_};
  TargetGuard guard_{stamping_, {}, time_.now};
  FocusMonitor monitor_{guard_, stamping_, {}};
  TextInserter inserter_{stamping_, guard_, InsertionPacing{}, time_};
  InsertionJournal journal_{folder_.path() / "journal.json", time_.now};
  PeerStore peers_{std::nullopt};
  DeviceIdentity mac_ = DeviceIdentity::generate(), phone_ = DeviceIdentity::generate();
  std::shared_ptr<StampingTransport> transport_ = std::make_shared<StampingTransport>();
  std::shared_ptr<RelayMessageHandler> handler_ =
      test::makeHandler(loop_.executor(), mac_, peers_, guard_, journal_, inserter_, time_.now);
  test::Editor editor_;
  ElementRef field_;
  std::optional<BareInsertion> bare_;
  bool ready_ = false;
};

RelayServer::Deliver Road::frameFor(int number, const std::string& token) const {
  const DeliveryPayload payload{fmt::format("utterance-{}", number), token, textOf(number), RecognitionMode::cloud, 1};
  return {payload.utteranceId, phone_.deviceId(),
          Envelope::seal(payload, EnvelopePurpose::delivery, phone_, mac_.peerIdentity("Mac", DevicePlatform::macos))};
}

bool Road::isInserted() const {
  const auto result = transport_->result->envelope.open<ResultPayload>(EnvelopePurpose::result, phone_,
                                                                       mac_.peerIdentity("Mac", DevicePlatform::macos));
  return result.outcome == InsertionOutcome::inserted && result.method == InsertionMethod::accessibility;
}

bool Road::empty() {
  bare_->clear();
  return test::eventually([this] {
    return provider_.readValue(field_) == "" && provider_.selectedRange(field_) == AXTextRange{0, 0};
  });
}

std::optional<double> Road::deliver(int number, Stages& stages) {
  const auto decision = guard_.prepare(phone_.deviceId());
  const auto* snapshot = std::get_if<TargetSnapshot>(&decision);
  if (snapshot == nullptr) return std::nullopt;
  const auto frame = frameFor(number, snapshot->token);
  QCoreApplication::processEvents();
  stamping_.take();
  transport_->result.reset();
  const auto start = SteadyClock::now();
  handler_->handle(frame);
  while (!transport_->result && SteadyClock::now() - start < std::chrono::seconds(5)) {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
  }
  if (!transport_->result || !isInserted() || provider_.readValue(field_) != textOf(number)) return std::nullopt;
  stages.add(start, stamping_.take(), transport_->left);
  return Milliseconds(transport_->left - start).count();
}

double Road::bare(int number, const std::string& journal) {
  const auto start = SteadyClock::now();
  bare_->insert(textOf(number), journal);
  return Milliseconds(SteadyClock::now() - start).count();
}

void measure(Table& table, const char* program) {
  Road road(program);
  if (!road.ready()) return table.note(fmt::format("{} didn't come to the front", program));
  Stages stages;
  std::vector<double> ours, floor;
  for (int i = 0; i < kInsertions; ++i) {
    if (!road.empty()) continue;
    if (const auto took = road.deliver(i, stages)) ours.push_back(*took);
    if (ours.empty()) break;
    const auto journal = road.journal();
    if (road.empty()) floor.push_back(road.bare(i, journal));
  }
  const double exact = static_cast<double>(ours.size());
  table.add({fmt::format("{}: exactly inserted of {}", program, kInsertions),
             {exact, "times"},
             "all of them",
             Figure{kInsertions, "times"},
             1,
             true});
  if (ours.empty() || floor.empty()) return;
  const auto row = [&](double share, const char* name, double limit) {
    const Figure mine{percentile(ours, share), "ms"};
    table.add({fmt::format("{}: {}", program, name), mine, "", {}, limit});
    table.add({fmt::format("{}: {}, beside the floor", program, name), mine, "bare calls, 2 files",
               Figure{percentile(floor, share), "ms"}});
  };
  row(0.5, "median", 3.5);
  row(0.99, "99th percentile", 15);
  for (std::size_t i = 0; i < stages.samples.size(); ++i) {
    if (stages.samples[i].empty()) continue;
    table.note(fmt::format("{:<24}{:8.3f} ms", Stages::names[i], percentile(stages.samples[i], 0.5)));
  }
  if (!stages.ending.empty()) {
    table.note(fmt::format("{:<24}{:8.3f} ms", "signing, journal, sealing", percentile(stages.ending, 0.5)));
  }
}

void insertion(Table& table) {
  table.section("A delivery of 64 characters, from its frame to the result's");
  if (std::getenv("DISPLAY") == nullptr) return table.note("skipped: no display");
  int argc = 0;
  const QCoreApplication application(argc, nullptr);
  const auto log = Log::setSink([](const Log::Line& line) { keep(line); });
  for (const char* program : {"mousepad", "featherpad"}) measure(table, program);
  Log::setSink(log);
}
const Section kSection("insertion", insertion);

}  // namespace
}  // namespace quillet::bench
