// SPDX-License-Identifier: MIT
#include <poll.h>
#include <unistd.h>

#include <QGuiApplication>
#include <boost/asio/co_spawn.hpp>
#include <boost/json.hpp>
#include <iostream>

#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"
#include "QuilletCompanion/Target/FocusMonitor.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/InsertionReports.h"
#include "Tests/Doubles/NetworkThread.h"

// Inserts each line of its input, a JSON string, into whatever field has the focus, and answers with a line of JSON:
// "outcome", "reason" and "seconds".
namespace {

using namespace quillet;
using std::chrono::steady_clock;

bool nextLine(std::string& line) {
  pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  test::eventually([&] { return poll(&input, 1, 0) > 0; }, std::chrono::hours(1));
  return static_cast<bool>(std::getline(std::cin, line));
}

class Inserting {
 public:
  Inserting() {
    test::eventually([this] { return provider_.enableAccessibility(); });
    monitor_.start();
  }
  ~Inserting() { monitor_.stop(); }

  boost::json::object insert(const std::string& text) {
    const auto start = steady_clock::now();
    const auto report = insertPrepared(text);
    const std::chrono::duration<double> took = steady_clock::now() - start;
    return {{"outcome", rawValue(report.outcome)},
            {"reason", report.reason ? rawValue(*report.reason) : ""},
            {"seconds", took.count()}};
  }

 private:
  InsertionReport insertPrepared(const std::string& text) {
    std::optional<PrepareDecision> decision;
    test::eventually(
        [&] {
          decision = guard_.prepare("phone");
          const auto* ready = std::get_if<TargetSnapshot>(&*decision);
          return ready != nullptr && ready->pid == monitor_.observedPID();
        },
        std::chrono::seconds(5));
    const auto* snapshot = std::get_if<TargetSnapshot>(&*decision);
    if (snapshot == nullptr) return {.reason = std::get<TargetRefusal>(*decision).reason};
    std::optional<InsertionReport> report;
    boost::asio::co_spawn(loop_.executor(), test::inTurn(inserter_, text, *snapshot),
                          [&](const std::exception_ptr&, InsertionReport result) { report = result; });
    test::eventually([&] { return report.has_value(); }, std::chrono::hours(1));
    return report.value_or(InsertionReport{});
  }

  test::NetworkThread timers_;
  MainLoop loop_;
  test::StubLock lock_;
  KeyTypist typist_;
  SystemAccessibilityProvider provider_{getpid(), lock_, typist_};
  TimeSource time_ = systemTime(timers_.executor());
  TargetGuard guard_{provider_, {}, time_.now};
  FocusMonitor monitor_{guard_, provider_, {}};
  TextInserter inserter_{provider_, guard_, InsertionPacing{}, time_};
};

}  // namespace

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  Inserting inserting;
  for (std::string line; nextLine(line);) {
    const auto text = boost::json::parse(line);
    std::cout << boost::json::serialize(inserting.insert(std::string(text.as_string()))) << std::endl;
  }
}
