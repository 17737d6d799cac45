// SPDX-License-Identifier: MIT
#include <fmt/core.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QProcess>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Benchmarks/Table.h"
#include "QuilletKit/Base/Unicode.h"
#include "Tests/Desktop/TypingTarget.h"

/// Two thousand characters into one paragraph by key events, beside the usual tool for that.
namespace quillet::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::size_t length = 2000;
constexpr auto startLimit = 60s;
constexpr auto patience = 10s;
constexpr auto standstill = 3s;

struct Outcome {
  double charactersPerSecond = 0;
  double wrong = 0;
  double seconds = 0;
  bool stopped = false;  ///< A chunk was refused for good, and the rest never sent.
  int refusals = 0;      ///< Chunks that were taken at a later try only.
  double busy = 0;       ///< CPU seconds of the program that was typed into.
};

double cpuSeconds(pid_t pid) {
  clockid_t clock{};
  timespec used{};
  if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0) return 0;
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

std::u32string characters(std::string_view text) {
  return Unicode::toUTF32(Unicode::toUTF16(text).value_or(u"")).value_or(U"");
}

std::string repeated(std::string_view pattern) {
  std::string text;
  for (std::size_t n = 0; n < length; n += characters(pattern).size()) text += pattern;
  return text;
}

/// How many characters must be put in, left out or changed to make one of the other.
double distance(const std::u32string& a, const std::u32string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const auto replaced = diagonal + (a[i] == b[j] ? 0U : 1U);
      diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return static_cast<double>(row.back());
}

/// A flood of keymap changes keeps the window manager busy for minutes, while it puts no window in front.
void restartWindowManager() {
  static qint64 manager = qEnvironmentVariableIntValue("QUILLET_WINDOW_MANAGER");
  if (manager == 0) return;
  kill(static_cast<pid_t>(manager), SIGKILL);
  QProcess::execute("xprop", {"-root", "-remove", "_NET_SUPPORTING_WM_CHECK"});
  QProcess next;
  next.setProgram("openbox");
  next.setArguments({"--sm-disable", "--replace"});
  next.setStandardOutputFile(QProcess::nullDevice());
  next.setStandardErrorFile(QProcess::nullDevice());
  next.startDetached(&manager);
  test::eventually([] {
    QProcess look;
    look.start("xprop", {"-root", "-notype", "_NET_SUPPORTING_WM_CHECK"});
    return look.waitForFinished() && look.readAll().contains("window id");
  });
}

class TypingRun {
 public:
  /// Absent if the program doesn't come to the front.
  std::optional<Outcome> run(const std::string& program, const std::string& text, bool ours) {
    test::TypingTarget target(provider_, program, startLimit);
    if (!target.ready()) return std::nullopt;
    const auto busy = cpuSeconds(target.editor().pid());
    const auto start = steady_clock::now();
    bool stopped = false;
    if (ours) {
      stopped = !target.type(text, patience);
    } else {
      QProcess::execute("xdotool", {"type", "--", QString::fromStdString(text)});
    }
    const auto wanted = characters(text);
    std::u32string seen;
    const auto end = awaitText(target, wanted.size(), seen);
    typist_.restoreKeymap();
    const auto seconds = std::chrono::duration<double>(end - start).count();
    return Outcome{
        static_cast<double>(wanted.size()) / seconds, distance(wanted, seen), seconds, stopped, target.refusals(),
        cpuSeconds(target.editor().pid()) - busy};
  }

 private:
  /// Until so many characters are there or no more come. Gives the time of the last change.
  static steady_clock::time_point awaitText(test::TypingTarget& target, std::size_t count, std::u32string& seen) {
    auto changed = steady_clock::now();
    while (seen.size() < count && steady_clock::now() - changed < standstill) {
      auto now = characters(target.text());
      if (now != seen) changed = steady_clock::now();
      seen = std::move(now);
      QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return changed;
  }

  test::StubLock lock_;
  KeyTypist typist_;
  SystemAccessibilityProvider provider_{static_cast<std::int32_t>(getpid()), lock_, typist_};
};

void addRows(Table& table, const std::string& what, const std::optional<Outcome>& ours,
             const std::optional<Outcome>& theirs) {
  if (!ours || !theirs) return table.note(what + ": not measured, the program did not come to the front");
  const auto speed = [](const Outcome& outcome) { return Figure{outcome.charactersPerSecond, "chars/s"}; };
  const auto errors = [](const Outcome& outcome) { return Figure{outcome.wrong, "wrong"}; };
  table.add({what, speed(*ours), "xdotool type", speed(*theirs), 1.5, true});
  table.add({what, errors(*ours), "xdotool type", errors(*theirs), 0});
  if (ours->stopped) table.note("ours stopped part of the way, and what is missing counts as wrong");
  if (ours->refusals > 0) {
    table.note(fmt::format("the program looked hung, and ours waited, {} times", ours->refusals));
  }
  table.note(fmt::format("the program itself worked {:.1f} of our {:.1f} s", ours->busy, ours->seconds));
}

void typing(Table& table) {
  table.section("Typing 2,000 characters into one paragraph");
  if (std::getenv("DISPLAY") == nullptr) return table.note("skipped: no display");
  int argc = 0;
  const QCoreApplication application(argc, nullptr);
  TypingRun typist;
  for (const std::string program : {"mousepad", "featherpad", "gnome-text-editor", "sakura"}) {
    for (const auto& [kind, pattern] :
         {std::pair("ASCII", test::asciiSample), std::pair("mixed scripts", test::mixedSample)}) {
      const auto text = repeated(pattern);
      const auto ours = typist.run(program, text, true);
      const auto theirs = typist.run(program, text, false);
      restartWindowManager();
      addRows(table, fmt::format("{}, {}", program, kind), ours, theirs);
    }
  }
}
const Section kSection("typing", typing);

}  // namespace
}  // namespace quillet::bench
