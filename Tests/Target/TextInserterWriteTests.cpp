// SPDX-License-Identifier: MIT
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Target/TextInserterFixture.h"

namespace quillet::test {
namespace {

TEST_F(TextInserterTest, AVerifiedWriteNeedsNoSleepAndFewCalls) {
  desktop.setText("Hi ");
  const auto snapshot = prepared();
  desktop.resetCalls();
  start("caf\u00E9 \U0001F600", snapshot);
  EXPECT_EQ(report, kWritten);
  EXPECT_EQ(desktop.text(), "Hi caf\u00E9 \U0001F600");
  EXPECT_EQ(desktop.calls(Call::readValue), 2);
  EXPECT_EQ(desktop.calls(Call::selectedRange), 2);
  EXPECT_EQ(desktop.calls(Call::replaceSelection), 1);
  EXPECT_EQ(desktop.calls(Call::frontApplication) + desktop.calls(Call::typeUnicode), 0);
}

TEST_F(TextInserterTest, ASlowFieldIsLookedAtEveryFortyMilliseconds) {
  desktop.field().looksUntilShown = 5;
  start("slow");
  time.advance(199ms);
  EXPECT_FALSE(report);
  time.advance(1ms);
  EXPECT_EQ(report, kWritten);
}

TEST_F(TextInserterTest, VerdictsOnWritesThatClaimSuccess) {
  const auto selectsFirst = [](std::int64_t units) {
    return [units](FakeField& field) { field.selection = {0, units}; };
  };
  const std::tuple<const char*, std::function<void(FakeField&)>, std::string, InsertionReport> cases[] = {
      {"replaces a selection", selectsFirst(3), "new", kWritten},
      {"replaces with the same text", selectsFirst(3), "old", kWritten},
      {"hidden selection, text appears", [](auto& f) { f.selectionShown = false; }, "new", kWritten},
      {"smart quotes", [](auto& f) { f.smartQuotes = true; }, "say \"so\"", kWritten},
      {"absent value, caret moves by the length", [](auto& f) { f.value = FakeField::Value::absent; },
       "e\u0301\U0001F600", kWritten},
      {"masked value", [](auto& f) { f.value = FakeField::Value::masked; }, "new", kMaybeWritten},
      {"inserts something else", [](auto& f) { f.write = FakeField::Write::differs; }, "new", kMaybeWritten},
      {"absent value, caret moves otherwise",
       [](auto& f) { f.value = FakeField::Value::absent, f.write = FakeField::Write::differs; }, "new", kMaybeWritten},
      {"can't be seen at all", [](auto& f) { f.value = FakeField::Value::absent, f.selectionShown = false; }, "new",
       kMaybeWritten},
  };
  for (const auto& [name, arrange, text, expected] : cases) {
    desktop.field() = {};
    desktop.setText("old ");
    arrange(desktop.field());
    EXPECT_EQ(insert(text), expected) << name;
    EXPECT_TRUE(desktop.typed.empty()) << name;
  }
}

TEST_F(TextInserterTest, MatchesTextThroughSmartPunctuationOnly) {
  // The field rewrites its own content, so that only counting occurrences can tell.
  using Row = std::tuple<std::string, std::string, std::string, bool>;
  for (const auto& [before, text, after, applied] : rows<Row>("texts", "shown")) {
    desktop.field() = {};
    desktop.field().selectionShown = false;
    desktop.setText(before);
    desktop.field().write = FakeField::Write::ineffective;
    start(text);
    desktop.setText(after);
    time.advance(10s);
    EXPECT_EQ(report, applied ? kWritten : kMaybeWritten) << before << "|" << text << "|" << after;
  }
}

TEST_F(TextInserterTest, AWriteWithoutEffectIsTypedAndRememberedPerApplication) {
  desktop.field().write = FakeField::Write::ineffective;
  start("one");
  time.advance(479ms);
  EXPECT_TRUE(desktop.typed.empty());  // the last look is the first at or after 450 ms
  time.advance(10s);
  EXPECT_EQ(report, kTyped);
  EXPECT_TRUE(LogCapture::instance().contains("AX write had no effect in org.example.editor; typing from now on"));
  EXPECT_EQ(desktop.calls(Call::replaceSelection), 1);
  start(" two");
  EXPECT_EQ(desktop.typed.size(), 2U);  // at once, without another write
  time.advance(10s);
  EXPECT_EQ(report, kTyped);
  EXPECT_EQ(desktop.text(), "one two");
  EXPECT_EQ(insert("a\nb"), refusedFor(RefusalReason::unsupportedTarget));
  EXPECT_EQ(desktop.calls(Call::replaceSelection), 1);
  desktop.front->bundleId.reset();
  EXPECT_EQ(insert("three"), kTyped);
  EXPECT_EQ(desktop.calls(Call::replaceSelection), 2);  // "Editor" is another application
}

TEST_F(TextInserterTest, AFailedWriteIsBelievedOnlyIfTheFieldStoodStill) {
  using Write = FakeField::Write;
  using Value = FakeField::Value;
  const std::tuple<Write, Value, bool, InsertionReport> cases[] = {
      {Write::fails, Value::shown, true, kTyped},
      {Write::fails, Value::shown, false, kTyped},
      {Write::fails, Value::absent, true, kTyped},
      {Write::fails, Value::absent, false, refusedFor(RefusalReason::unsupportedTarget)},
      {Write::failsButChanges, Value::shown, true, kMaybeWritten},
      {Write::failsButChanges, Value::absent, true, kMaybeWritten},
      {Write::failsButChanges, Value::absent, false, refusedFor(RefusalReason::unsupportedTarget)},
      {Write::failsButCaretMoves, Value::shown, true, kMaybeWritten},
  };
  for (const auto& each : cases) {
    const auto& [write, value, selectionShown, expected] = each;
    desktop.field() = {};
    desktop.setText("old ");
    desktop.field().write = write;
    desktop.field().value = value;
    desktop.field().selectionShown = selectionShown;
    desktop.typed.clear();
    EXPECT_EQ(insert("new"), expected) << &each - cases;
    EXPECT_EQ(desktop.typed.size(), expected == kTyped ? 1U : 0U) << &each - cases;
  }
  EXPECT_EQ(desktop.calls(Call::replaceSelection), static_cast<int>(std::size(cases)));  // none was remembered
}

TEST_F(TextInserterTest, EmptyTextTouchesNothing) {
  const auto snapshot = prepared();
  desktop.resetCalls();
  start("", snapshot);
  EXPECT_EQ(report, (InsertionReport{InsertionOutcome::inserted, std::nullopt, std::nullopt}));
  EXPECT_EQ(desktop.calls(Call::readValue) + desktop.calls(Call::replaceSelection), 0);
}

TEST_F(TextInserterTest, LocalTestFieldTakesTextOrRefuses) {
  desktop.activateOwnApplication();
  local->setFocused(true);
  const auto snapshot = prepared();
  start("hello", snapshot);
  EXPECT_EQ(report, (InsertionReport{InsertionOutcome::inserted, std::nullopt, std::nullopt}));
  EXPECT_EQ(local->text().get(), "hello");
  local->setFocused(false);
  start("more", snapshot);
  EXPECT_EQ(report, refusedFor(RefusalReason::focusChanged));
  local.reset();
  start("more", snapshot);
  EXPECT_EQ(report, refusedFor(RefusalReason::focusChanged));
}

}  // namespace
}  // namespace quillet::test
