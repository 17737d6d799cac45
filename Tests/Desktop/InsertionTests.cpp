// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/asio/co_spawn.hpp>

#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"
#include "QuilletCompanion/Target/FocusMonitor.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/InsertionReports.h"
#include "Tests/Doubles/NetworkThread.h"

namespace quillet::test {
namespace {

using std::chrono::milliseconds;

const std::string kGTKFields = sourceFile("Tests/Desktop/fields.py");
const std::string kQtFields = builtProgram("QtFields");

/// The inserter with everything it stands on, and fields of real toolkits.
class Insertion : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(eventually([this] { return provider.enableAccessibility(); }));
    monitor.start();
  }
  void TearDown() override {
    EXPECT_TRUE(eventually([this] { return running == 0; }));
  }

  void open(const std::string& program, const QString& arguments = {}) {
    editor.emplace(QString::fromStdString(program), arguments.split(' ', Qt::SkipEmptyParts));
    ASSERT_TRUE(eventually([&] {
      const auto front = provider.frontApplication();
      field = front && front->pid == editor->pid() ? provider.focusedElement(front->pid) : nullptr;
      return field && provider.inspect(field).editable && monitor.observedPID() == editor->pid();
    }));
  }
  TargetSnapshot prepared() {
    const auto decision = guard.prepare("phone");
    if (const auto* snapshot = std::get_if<TargetSnapshot>(&decision)) return *snapshot;
    ADD_FAILURE() << "refused: " << rawValue(std::get<TargetRefusal>(decision).reason);
    return {};
  }
  void start(const std::string& text) {
    ++running;
    boost::asio::co_spawn(loop.executor(), inTurn(inserter, text, prepared()),
                          [this](const std::exception_ptr& error, InsertionReport result) {
                            --running;
                            if (!error) report = result;
                          });
  }
  std::optional<InsertionReport> finish() {
    EXPECT_TRUE(eventually([this] { return report.has_value(); }));
    return std::exchange(report, std::nullopt);
  }
  std::optional<InsertionReport> insert(const std::string& text) {
    start(text);
    return finish();
  }
  std::string value() { return provider.readValue(field).value_or("absent"); }

  NetworkThread timers;
  MainLoop loop;
  StubLock lock;
  KeyTypist typist;
  SystemAccessibilityProvider provider{getpid(), lock, typist};
  TimeSource time = systemTime(timers.executor());
  TargetGuard guard{provider, {}, time.now};
  FocusMonitor monitor{guard, provider, {}};
  TextInserter inserter{provider, guard, InsertionPacing{}, time};
  std::optional<Editor> editor;
  ElementRef field;
  std::optional<InsertionReport> report;
  int running = 0;
};

const std::string kSentence = "Grüße, 3 × 4 = 12, 日本 👋🏽 and more.";
constexpr InsertionReport kUnsupported{InsertionOutcome::refused, RefusalReason::unsupportedTarget, std::nullopt};
const std::string kLong = "the quick brown fox jumps over the lazy dog and does it again";

TEST_F(Insertion, WritesIntoFieldsOfBothToolkits) {
  for (const auto& program : {kGTKFields, kQtFields}) {
    for (const auto* kind : {"--text ab", "--area"}) {
      open(program, kind);
      const std::string before = value();
      EXPECT_EQ(insert(kSentence), kWritten) << program << " " << kind;
      EXPECT_EQ(value(), before + kSentence);
    }
  }
}

TEST_F(Insertion, ASelectionGoesOnlyOnceTheNewTextIsThere) {
  for (const auto* version : {"3", "4"}) {
    SCOPED_TRACE(version);
    open(sourceFile("Tests/Desktop/spin.py"), version);
    ASSERT_TRUE(eventually([&] { return provider.selectedRange(field) == AXTextRange{0, 2}; }));
    EXPECT_EQ(insert("no number"), kUnsupported);
    EXPECT_EQ(value(), "42");
    EXPECT_EQ(provider.selectedRange(field), (AXTextRange{0, 2}));
    EXPECT_EQ(insert("137"), kWritten);
    EXPECT_EQ(value(), "137");
    EXPECT_EQ(provider.selectedRange(field), (AXTextRange{3, 0}));
  }
  // No room beside what is selected, and enough in its place.
  for (const auto& program : {kGTKFields, kQtFields}) {
    SCOPED_TRACE(program);
    open(program, "--limit 9 --text 123456789");
    press({"shift+Home"});
    ASSERT_TRUE(eventually([&] { return provider.selectedRange(field) == AXTextRange{0, 9}; }));
    EXPECT_EQ(insert("the quick"), kTyped);
    EXPECT_EQ(value(), "the quick");
  }
}

TEST_F(Insertion, AFieldThatChangesWhatItGetsIsUncertainAndNotTypedInto) {
  const struct {
    std::string program;
    const char* arguments;
    std::string value;
  } cases[] = {{kGTKFields, "--limit 5", "the q"},
               {kQtFields, "--limit 5", "the q"},
               {kGTKFields, "--upper", "THE QUICK"},
               {kQtFields, "--upper", "THE QUICK"}};
  for (const auto& c : cases) {
    open(c.program, c.arguments);
    EXPECT_EQ(insert("the quick"), kMaybeWritten) << c.program << " " << c.arguments;
    EXPECT_EQ(value(), c.value) << c.program << " " << c.arguments;
  }
}

TEST_F(Insertion, AFullFieldStaysAsItIs) {
  open(kGTKFields, "--limit 3 --text abc");
  EXPECT_EQ(insert("more"), kMaybeTyped);
  EXPECT_EQ(value(), "abc");
}

TEST_F(Insertion, AFieldThatOnlyPretendsToTakeAWriteIsTypedIntoOnce) {
  open(kGTKFields, "--deaf");
  EXPECT_EQ(insert(kSentence), kTyped);
  EXPECT_EQ(value(), kSentence);
  EXPECT_EQ(insert("!"), kTyped);
  EXPECT_EQ(value(), kSentence + "!");
}

TEST_F(Insertion, AFieldThatBecomesReadOnlyIsRefused) {
  open(kGTKFields, "--text kept");
  const auto snapshot = prepared();
  EXPECT_EQ(guard.validate(snapshot, true), std::nullopt);
  ::kill(editor->pid(), SIGUSR1);
  EXPECT_TRUE(eventually([&] { return guard.validate(snapshot, true) == RefusalReason::unsupportedTarget; }));
}

/// Typing that is disturbed once 20 characters have arrived, which is in the second of four chunks.
TEST_F(Insertion, TypingStopsWhenTheFieldBecomesReadOnly) {
  open(kGTKFields, "--deaf --at 20 readonly");
  EXPECT_EQ(insert(kLong), kMaybeTyped);
  EXPECT_EQ(value(), kLong.substr(0, 20));
}

TEST_F(Insertion, ATerminalThatScrollsMeanwhileTakesALongText) {
  open("sakura", "-x cat");
  // What goes at the top is as long as what comes in the meantime.
  const QStringList line{"1", "2", "3", "4", "5", "6", "7", "8", "9", "a", "b", "c", "d", "e", "f", "Return"};
  for (int i = 0; i < 16; ++i) press(line);
  // Once all of that has come, and stays.
  std::string shown;
  int unchanged = 0;
  ASSERT_TRUE(eventually([&] {
    unchanged = std::exchange(shown, value()) == shown ? unchanged + 1 : 0;
    return unchanged == 10;
  }));
  std::string text;
  while (text.size() < 600) text += kLong + ", ";
  EXPECT_EQ(insert(text + "to its end"), kTyped);
}

TEST_F(Insertion, TypingStopsWhenTheFocusLeaves) {
  open(kGTKFields, "--deaf --at 20 leave");
  EXPECT_EQ(insert(kLong), kMaybeTyped);
  EXPECT_EQ(value(), kLong.substr(0, 20));
  ElementRef second;
  ASSERT_TRUE(eventually([&] { return (second = provider.focusedElement(editor->pid())) != nullptr; }));
  // Keys of the chunk that was under way, and of one ahead, go to whatever has the focus; no later chunk does.
  const auto strayed = provider.readValue(second).value_or("absent");
  EXPECT_EQ(strayed, kLong.substr(20, strayed.size()));
  EXPECT_LE(strayed.size(), 28U);
}

TEST_F(Insertion, TypingStopsWhenTheProgramEnds) {
  open(kGTKFields, "--deaf --at 20 exit");
  EXPECT_EQ(insert(kLong), kMaybeTyped);
}

TEST_F(Insertion, AProgramThatHangsInTheMiddleHoldsNobodyUp) {
  open(kGTKFields, "--deaf --at 20 stop");
  milliseconds longest{0};
  auto last = std::chrono::steady_clock::now();
  QTimer pulse;
  QObject::connect(&pulse, &QTimer::timeout, [&] {
    const auto now = std::chrono::steady_clock::now();
    longest = std::max(longest, std::chrono::duration_cast<milliseconds>(now - last));
    last = now;
  });
  pulse.start(milliseconds(10));
  EXPECT_EQ(insert(kLong), kMaybeTyped);
  // A chunk waits 0.75 s at most for its arrival; what looks at the target after it finds out that it hangs.
  EXPECT_LE(longest, milliseconds(1900));
  editor->resume();
  EXPECT_TRUE(eventually([&] { return value().size() >= 20; }));
  EXPECT_EQ(value(), kLong.substr(0, value().size()));
  EXPECT_LE(value().size(), 48U);
}

TEST_F(Insertion, AProgramThatHangsBeforehandIsRefusedAndGetsNothingLater) {
  for (const auto& program : {kGTKFields, kQtFields}) {
    open(program, "--text kept");
    const auto snapshot = prepared();
    editor->suspend();
    EXPECT_EQ(guard.validate(snapshot, true), RefusalReason::focusChanged) << program;
    editor->resume();
    EXPECT_TRUE(eventually([&] { return value() == "kept"; })) << program;
  }
}

TEST_F(Insertion, AnotherFieldBetweenPrepareAndDeliveryIsRefusedEvenIfTheFirstIsBack) {
  for (const auto& program : {kGTKFields, kQtFields}) {
    open(program);
    const auto snapshot = prepared();
    press({"Tab"});
    EXPECT_TRUE(eventually([&] { return guard.validate(snapshot, true) == RefusalReason::focusChanged; })) << program;
    press({"shift+Tab"});
    EXPECT_TRUE(eventually([&] { return sameElement(provider.focusedElement(editor->pid()), field); })) << program;
    EXPECT_TRUE(eventually([&] { return guard.focusGeneration() != snapshot.generation; })) << program;
    EXPECT_EQ(guard.validate(snapshot, true), RefusalReason::focusChanged) << program;
  }
}

TEST_F(Insertion, AButtonThatHadTheFocusForAMomentIsRefusedToo) {
  open(kGTKFields);
  const auto snapshot = prepared();
  ::kill(editor->pid(), SIGHUP);
  EXPECT_TRUE(eventually([&] { return guard.validate(snapshot, true) == RefusalReason::focusChanged; }));
  EXPECT_TRUE(sameElement(provider.focusedElement(editor->pid()), field));
}

TEST_F(Insertion, WhatAnEditorShowsBesideItsTextIsNoFocusElsewhere) {
  for (const auto* const program : {"mousepad", "featherpad", "gnome-text-editor"}) {
    open(program, QString(program) == "gnome-text-editor" ? "--standalone document.txt" : "document.txt");
    const auto snapshot = prepared();
    press({"x", "Return", "ctrl+Home", "End", "ctrl+a", "BackSpace"});
    EXPECT_TRUE(eventually([&] { return value().empty(); })) << program;
    EXPECT_EQ(guard.validate(snapshot, true), std::nullopt) << program;
  }
}

}  // namespace
}  // namespace quillet::test
