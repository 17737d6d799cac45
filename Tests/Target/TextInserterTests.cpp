// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/TextInserter.h"

#include <gtest/gtest.h>

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/co_spawn.hpp>

#include "QuilletCompanion/Target/LocalTestField.h"
#include "Tests/Doubles/FakeAccessibilityProvider.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet {

void PrintTo(const InsertionReport& report, std::ostream* out) {
  *out << rawValue(report.outcome) << "/" << (report.reason ? rawValue(*report.reason) : "-") << "/"
       << (report.method ? rawValue(*report.method) : "-");
}

namespace {

using namespace std::chrono_literals;
using test::FakeAccessibilityProvider;
using test::FakeField;
using Call = FakeAccessibilityProvider::Call;
using Chunks = std::vector<std::u16string>;
constexpr auto kPid = FakeAccessibilityProvider::kPid;

constexpr InsertionReport kWritten{InsertionOutcome::inserted, std::nullopt, InsertionMethod::accessibility};
constexpr InsertionReport kMaybeWritten{InsertionOutcome::uncertain, std::nullopt, InsertionMethod::accessibility};
constexpr InsertionReport kTyped{InsertionOutcome::inserted, std::nullopt, InsertionMethod::typing};
constexpr InsertionReport kMaybeTyped{InsertionOutcome::uncertain, std::nullopt, InsertionMethod::typing};
constexpr InsertionReport refusedFor(RefusalReason reason) {
  return {InsertionOutcome::refused, reason, std::nullopt};
}

const std::string kFamily = "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";  // 11 units
const std::string kKiss =
    "\U0001F469\U0001F3FD\u200D\u2764\uFE0F\u200D\U0001F48B\u200D\U0001F468\U0001F3FD\u200D\U0001F467\U0001F3FD\u200D"
    "\U0001F466\U0001F3FD";

class TextInserterTest : public testing::Test {
 protected:
  TargetSnapshot prepared() { return std::get<TargetSnapshot>(guard.prepare("phone")); }

  void start(const std::string& text) { start(text, prepared()); }
  void start(const std::string& text, TargetSnapshot snapshot) {
    report.reset();
    failure = nullptr;
    boost::asio::co_spawn(time.executor(), inserter->insert(text, std::move(snapshot)),
                          boost::asio::bind_cancellation_slot(cancellation.slot(),
                                                              [this](std::exception_ptr error, InsertionReport result) {
                                                                failure = error;
                                                                if (!error) report = result;
                                                              }));
    time.run();
  }
  InsertionReport insert(const std::string& text) {
    start(text);
    time.advance(10s);
    EXPECT_TRUE(report.has_value());
    EXPECT_EQ(time.sleepers(), 0U);
    return report.value_or(InsertionReport{});
  }
  /// A field that must be typed into: its write fails honestly.
  void typingOnly() { desktop.field().write = FakeField::Write::fails; }

  test::VirtualTime time;
  FakeAccessibilityProvider desktop;
  std::shared_ptr<LocalTestField> local =
      std::make_shared<LocalTestField>([this] { return desktop.ownApplicationActive; }, time.source().now);
  TargetGuard guard{desktop, local, time.source().now};
  std::unique_ptr<TextInserter> inserter =
      std::make_unique<TextInserter>(desktop, guard, InsertionPacing{}, time.source());
  boost::asio::cancellation_signal cancellation;
  std::optional<InsertionReport> report;
  std::exception_ptr failure;
};

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
  const struct {
    const char* name;
    std::function<void(FakeField&)> arrange;
    std::string text;
    InsertionReport report;
  } cases[] = {
      {"replaces a selection",
       [](auto& f) {
         f.selection = {0, 3};
       },
       "new", kWritten},
      {"replaces with the same text",
       [](auto& f) {
         f.selection = {0, 3};
       },
       "old", kWritten},
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
  for (const auto& c : cases) {
    desktop.field() = {};
    desktop.setText("old ");
    c.arrange(desktop.field());
    EXPECT_EQ(insert(c.text), c.report) << c.name;
    EXPECT_TRUE(desktop.typed.empty()) << c.name;
  }
}

TEST_F(TextInserterTest, MatchesTextThroughSmartPunctuationOnly) {
  // The field rewrites its own content, so that only counting occurrences can tell.
  const struct {
    std::string before, text, after;
    bool applied;
  } cases[] = {
      {"", "it's", "\u2018\u2019 it\u2019s", true},
      {"", "it's", "x it\u201Bs", true},
      {"", "\"a\"", "x \u201Ea\u201C", true},
      {"", "a b", "x a\u00A0b\u200B", true},
      {"", "a b c", "x a\u2007b\u202F\uFEFFc", true},
      {"", " padded\n", "x padded!", true},
      {"it's it's", "it's", "it\u2019s it\u2019s it\u2019s.", true},
      {"aaa", "aa", "aaaa!", true},
      {"aa", "aa", "aaa!", false},  // matches don't overlap
      {"it's", "it's", "It\u2019s it\u2019s", false},
      {"it's it's", "it's", "it\u2019s", false},
      {"", " ", "x  ", false},
      {"", "\u200B", "x\u200B", false},
      {"", "Text", "x text", false},
      {"", "\u00E9", "x e\u0301", false},
  };
  for (const auto& c : cases) {
    desktop.field() = {};
    desktop.field().selectionShown = false;
    desktop.setText(c.before);
    desktop.field().write = FakeField::Write::ineffective;
    start(c.text);
    desktop.setText(c.after);
    time.advance(10s);
    EXPECT_EQ(report, c.applied ? kWritten : kMaybeWritten) << c.before << "|" << c.text << "|" << c.after;
  }
}

TEST_F(TextInserterTest, AWriteWithoutEffectIsTypedAndRememberedPerApplication) {
  desktop.field().write = FakeField::Write::ineffective;
  start("one");
  time.advance(479ms);
  EXPECT_TRUE(desktop.typed.empty());  // the last look is the first at or after 450 ms
  time.advance(10s);
  EXPECT_EQ(report, kTyped);
  EXPECT_TRUE(
      test::LogCapture::instance().contains("AX write had no effect in org.example.editor; typing from now on"));
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
  const struct {
    Write write;
    FakeField::Value value;
    bool selectionShown;
    InsertionReport report;
  } cases[] = {
      {Write::fails, FakeField::Value::shown, true, kTyped},
      {Write::fails, FakeField::Value::shown, false, kTyped},
      {Write::fails, FakeField::Value::absent, true, kTyped},
      {Write::fails, FakeField::Value::absent, false, refusedFor(RefusalReason::unsupportedTarget)},
      {Write::failsButChanges, FakeField::Value::shown, true, kMaybeWritten},
      {Write::failsButChanges, FakeField::Value::absent, true, kMaybeWritten},
      {Write::failsButChanges, FakeField::Value::absent, false, refusedFor(RefusalReason::unsupportedTarget)},
      {Write::failsButCaretMoves, FakeField::Value::shown, true, kMaybeWritten},
  };
  for (const auto& c : cases) {
    desktop.field() = {};
    desktop.setText("old ");
    desktop.field().write = c.write;
    desktop.field().value = c.value;
    desktop.field().selectionShown = c.selectionShown;
    desktop.typed.clear();
    EXPECT_EQ(insert("new"), c.report) << &c - cases;
    EXPECT_EQ(desktop.typed.size(), c.report == kTyped ? 1U : 0U) << &c - cases;
  }
  EXPECT_EQ(desktop.calls(Call::replaceSelection), static_cast<int>(std::size(cases)));  // none was remembered
}

TEST_F(TextInserterTest, ChunksAtGraphemeClusters) {
  typingOnly();
  const std::string letters(40, 'x');
  const struct {
    std::string text;
    std::vector<std::size_t> units;
  } cases[] = {
      {letters, {16, 16, 8}},
      {letters.substr(0, 16), {16}},
      {letters.substr(0, 15) + "\U0001F1F3\U0001F1F1", {15, 4}},
      {letters.substr(0, 15) + "\U0001F600y", {15, 3}},
      {letters.substr(0, 15) + "e\u0301", {15, 2}},
      {kFamily + kFamily, {11, 11}},
      {"e" +
           std::string(
               "\u0301\u0302\u0303\u0304\u0305\u0306\u0307\u0308\u0309\u030A\u030B\u030C\u030D\u030E\u030F\u0310"
               "\u0311\u0312\u0313") +
           "z",
       {20, 1}},
  };
  for (const auto& c : cases) {
    desktop.typed.clear();
    EXPECT_EQ(insert(c.text), kTyped) << c.text;
    std::vector<std::size_t> units;
    std::u16string all;
    for (const auto& chunk : desktop.typed) units.push_back(chunk.size()), all += chunk;
    EXPECT_EQ(units, c.units) << c.text;
    EXPECT_EQ(Unicode::toUTF8(all), c.text);
  }
}

TEST_F(TextInserterTest, AClusterBeyondOneEventCannotBeTyped) {
  typingOnly();
  ASSERT_GT(Unicode::utf16Length(kKiss), 20U);
  ASSERT_EQ(Unicode::graphemeClusters(std::string_view(kKiss)).size(), 1U);
  EXPECT_EQ(insert(kKiss), refusedFor(RefusalReason::unsupportedTarget));
  EXPECT_EQ(desktop.calls(Call::typeUnicode), 0);
  EXPECT_EQ(insert("x" + kKiss), kMaybeTyped);
  EXPECT_EQ(desktop.typed, Chunks{u"x"});
}

TEST_F(TextInserterTest, TypingIsRefusedBeforeTheFirstKey) {
  const struct {
    const char* name;
    std::function<void()> arrange;
    std::string text;
    RefusalReason reason;
  } cases[] = {
      {"line break", [] {}, "a\nb", RefusalReason::unsupportedTarget},
      {"tab", [] {}, "a\tb", RefusalReason::unsupportedTarget},
      {"next line", [] {}, "a\u0085", RefusalReason::unsupportedTarget},
      {"line separator", [] {}, "\u2028", RefusalReason::unsupportedTarget},
      {"caret moved, which comes before the line break",
       [&] {
         desktop.field().selection = {0, 0};
       },
       "a\n", RefusalReason::selectionChanged},
      {"focus moved", [&] { guard.invalidateFocus(); }, "a", RefusalReason::focusChanged},
      {"locked", [&] { desktop.locked = true; }, "a", RefusalReason::locked},
      {"modifiers", [&] { desktop.modifiersHeld = true; }, "a", RefusalReason::busy},
      {"no events", [&] { desktop.typingFailsAt = 0; }, "a", RefusalReason::unsupportedTarget},
      {"not UTF-8", [] {}, "\xFF", RefusalReason::unsupportedTarget},
  };
  for (const auto& c : cases) {
    desktop.field() = {};
    desktop.setText("old");
    typingOnly();
    const auto snapshot = prepared();
    c.arrange();
    start(c.text, snapshot);
    time.advance(10s);
    EXPECT_EQ(report, refusedFor(c.reason)) << c.name;
    desktop.locked = desktop.modifiersHeld = false;
    desktop.typingFailsAt.reset();
  }
  EXPECT_TRUE(desktop.typed.empty());
}

TEST_F(TextInserterTest, WaitsASecondForModifiersAtMost) {
  typingOnly();
  desktop.modifiersHeld = true;
  start("held");
  time.advance(999ms);
  EXPECT_FALSE(report);
  time.advance(1ms);
  EXPECT_EQ(report, refusedFor(RefusalReason::busy));
  EXPECT_EQ(desktop.calls(Call::modifiersDown), 51);

  desktop.modifiersHeld = false;
  desktop.modifierLooks = 3;
  start("released");
  time.advance(59ms);
  EXPECT_TRUE(desktop.typed.empty());
  time.advance(1ms);
  EXPECT_EQ(desktop.typed, Chunks{u"released"});
  time.advance(10s);
  EXPECT_EQ(report, kTyped);
}

TEST_F(TextInserterTest, ACaretMovedWhileModifiersWereHeldIsRefused) {
  desktop.setText("old");
  typingOnly();
  desktop.modifierLooks = 2;
  start("new");
  desktop.field().selection = {0, 0};
  time.advance(10s);
  EXPECT_EQ(report, refusedFor(RefusalReason::selectionChanged));
  EXPECT_TRUE(desktop.typed.empty());
}

TEST_F(TextInserterTest, TypingStopsAtTheChunkWhereSomethingChanged) {
  typingOnly();
  const std::function<void()> disturbances[] = {
      [&] { desktop.fields[9], desktop.focus[kPid].element = 9; },
      [&] { desktop.front->pid = kPid + 1; },
      [&] { guard.invalidateFocus(); },
      [&] { desktop.locked = true; },
      [&] { desktop.secureInput = true; },
      [&] { desktop.modifiersHeld = true; },
      [&] { desktop.typingFailsAt = desktop.typed.size(); },
  };
  for (const auto& disturb : disturbances) {
    for (std::size_t step = 1; step <= 3; ++step) {
      desktop.typed.clear();
      desktop.afterChunk = [&](std::size_t count) {
        if (count == step) disturb();
      };
      EXPECT_EQ(insert(std::string(64, 'x')), kMaybeTyped);
      EXPECT_EQ(desktop.typed.size(), step) << &disturb - disturbances;
      desktop.locked = desktop.secureInput = desktop.modifiersHeld = false;
      desktop.typingFailsAt.reset();
      desktop.front->pid = kPid;
      desktop.focus[kPid].element = FakeAccessibilityProvider::kField;
    }
  }
  EXPECT_TRUE(desktop.fields[9].text.empty());
}

TEST_F(TextInserterTest, FocusThatMovesDuringThePauseStopsTyping) {
  typingOnly();
  start(std::string(40, 'x'));
  EXPECT_EQ(desktop.typed.size(), 1U);
  time.advance(5ms);
  guard.invalidateFocus();
  time.advance(10s);
  EXPECT_EQ(report, kMaybeTyped);
  EXPECT_EQ(desktop.typed.size(), 1U);
}

TEST_F(TextInserterTest, TypedTextThatNeverShowsIsUncertainAfterTwoSeconds) {
  typingOnly();
  desktop.field().ignoresTyping = true;
  start("lost");
  time.advance(2005ms);
  EXPECT_FALSE(report);
  time.advance(1ms);
  EXPECT_EQ(report, kMaybeTyped);
}

TEST_F(TextInserterTest, ACancellationStopsNeitherTypingNorTheWait) {
  typingOnly();
  desktop.field().looksUntilShown = 4;
  start(std::string(40, 'x'));
  cancellation.emit(boost::asio::cancellation_type::terminal);
  time.run();
  EXPECT_EQ(desktop.typed.size(), 2U);  // only the running sleep was cut short
  time.advance(10s);
  EXPECT_EQ(report, kTyped);
  EXPECT_EQ(desktop.text(), std::string(40, 'x'));
}

TEST_F(TextInserterTest, TheCallersCancellationIsKeptForTheCaller) {
  bool wentOn = false;
  bool cancelled = false;
  const auto caller = [&]() -> Awaitable<void> {
    typingOnly();
    const auto result = co_await inserter->insert(std::string(20, 'x'), prepared());
    EXPECT_EQ(result, kTyped);
    cancelled = isCancelled(co_await boost::asio::this_coro::cancellation_state);
    co_await time.source().sleep(1s);
    wentOn = true;
  };
  Task task(time.executor());
  task.start([&] { return caller(); });
  time.run();
  task.cancel();
  time.advance(10s);
  EXPECT_TRUE(cancelled);
  EXPECT_FALSE(wentOn);
}

TEST_F(TextInserterTest, ADestroyedInserterEndsItsInsertionAsCancelled) {
  typingOnly();
  start(std::string(40, 'x'));
  inserter.reset();
  time.advance(10s);
  EXPECT_FALSE(report);
  EXPECT_TRUE(isCancellation(failure));
  EXPECT_EQ(desktop.typed.size(), 1U);
}

}  // namespace
}  // namespace quillet
