// SPDX-License-Identifier: MIT
#include "Tests/Doubles/Rows.h"
#include "Tests/Target/TextInserterFixture.h"

namespace quillet::test {
namespace {

const std::string kKiss =
    "\U0001F469\U0001F3FD\u200D\u2764\uFE0F\u200D\U0001F48B\u200D\U0001F468\U0001F3FD\u200D\U0001F467\U0001F3FD\u200D"
    "\U0001F466\U0001F3FD";

TEST_F(TextInserterTest, ChunksAtGraphemeClusters) {
  typingOnly();
  for (const auto& [text, expected] : rows<std::tuple<std::string, std::vector<std::size_t>>>("texts", "chunks")) {
    desktop.typed.clear();
    EXPECT_EQ(insert(text), kTyped) << text;
    std::vector<std::size_t> units;
    std::u16string all;
    for (const auto& chunk : desktop.typed) units.push_back(chunk.size()), all += chunk;
    EXPECT_EQ(units, expected) << text;
    EXPECT_EQ(Unicode::toUTF8(all), text);
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
  const std::tuple<const char*, std::function<void()>, std::string, RefusalReason> cases[] = {
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
  for (const auto& [name, arrange, text, reason] : cases) {
    desktop.field() = {};
    desktop.setText("old");
    typingOnly();
    const auto snapshot = prepared();
    arrange();
    start(text, snapshot);
    time.advance(10s);
    EXPECT_EQ(report, refusedFor(reason)) << name;
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

TEST_F(TextInserterTest, TypedTextThatNeverShowsIsUncertainAfterTwoSeconds) {
  typingOnly();
  desktop.field().ignoresTyping = true;
  start("lost");
  time.advance(2005ms);
  EXPECT_FALSE(report);
  time.advance(1ms);
  EXPECT_EQ(report, kMaybeTyped);
}

TEST_F(TextInserterTest, TextThatAFieldChangesOnceItStoodThereIsUncertain) {
  typingOnly();
  desktop.afterChunk = [&](std::size_t count) {
    if (count == 9) desktop.field().text[3] = u'#';
  };
  std::string text;
  for (int number = 100; number < 150; ++number) text += std::to_string(number) + " ";
  EXPECT_EQ(insert(text), kMaybeTyped);
  EXPECT_EQ(desktop.field().text.size(), text.size());
}

TEST_F(TextInserterTest, ACancelledInsertionEndsBeforeItsNextChunk) {
  typingOnly();
  start(std::string(40, 'x'));
  cancellation.emit(boost::asio::cancellation_type::terminal);
  time.advance(10s);
  EXPECT_TRUE(isCancellation(failure));
  EXPECT_EQ(desktop.typed.size(), 1U);
  desktop.typed.clear();
  desktop.field().write = FakeField::Write::ineffective;
  start("nothing is typed after a write that was cancelled");
  cancellation.emit(boost::asio::cancellation_type::terminal);
  time.advance(10s);
  EXPECT_TRUE(isCancellation(failure));
  EXPECT_TRUE(desktop.typed.empty());
}

TEST_F(TextInserterTest, InsertionsTakeTurns) {
  typingOnly();
  std::vector<InsertionReport> reports;
  const auto inserting = [&](char letter) -> Awaitable<void> {
    auto turn = co_await inserter->turn();
    reports.push_back(co_await inserter->insert(std::move(turn), std::string(40, letter), prepared()));
  };
  std::list<Task> tasks;
  for (const char letter : {'a', 'b', 'c', 'd'}) {
    tasks.emplace_back(time.executor()).start([&, letter] { return inserting(letter); });
  }
  time.run();
  tasks.erase(std::next(tasks.begin()));  // leaves the queue
  time.advance(7ms);
  tasks.pop_front();  // ends in the middle, and lets the next one in
  time.advance(10s);
  EXPECT_EQ(desktop.text(), std::string(32, 'a') + std::string(40, 'c') + std::string(40, 'd'));
  EXPECT_EQ(reports, (std::vector{kTyped, kTyped}));
}

TEST_F(TextInserterTest, AnAbandonedInserterEndsWhatRunsAndWhatWaits) {
  typingOnly();
  std::vector<std::exception_ptr> failures;
  for (int i = 0; i < 3; ++i) {
    boost::asio::co_spawn(time.executor(), inTurn(*inserter, std::string(40, 'x'), prepared()),
                          [&](std::exception_ptr error, const InsertionReport&) { failures.push_back(error); });
  }
  time.run();
  inserter->abandon();
  start("asked too late");
  failures.push_back(failure);
  time.advance(10s);
  ASSERT_EQ(failures.size(), 4U);
  for (const auto& error : failures) EXPECT_TRUE(isCancellation(error));
  EXPECT_EQ(desktop.typed.size(), 1U);
}

TEST_F(TextInserterTest, ATargetThatIsBehindIsWaitedForAndMissesNothing) {
  typingOnly();
  int refusals = 0;
  desktop.mostAtOnce = 5;
  desktop.behind = [&] { return ++refusals % 4 != 0; };
  EXPECT_EQ(insert("the quick brown fox jumps over it"), kTyped);
  EXPECT_EQ(desktop.text(), "the quick brown fox jumps over it");
}

TEST_F(TextInserterTest, ATargetThatTakesNoMoreIsGivenUp) {
  typingOnly();
  desktop.behind = [&] { return desktop.typed.size() == 2; };
  EXPECT_EQ(insert("the quick brown fox jumps over the lazy dog"), kMaybeTyped);
  EXPECT_EQ(desktop.typed.size(), 2u);
}

TEST_F(TextInserterTest, WhileItWaitsTheFieldIsCheckedEachTime) {
  typingOnly();
  int looks = 0;
  desktop.behind = [&] {
    if (desktop.typed.empty()) return false;
    if (++looks == 3) guard.invalidateFocus();
    return true;
  };
  EXPECT_EQ(insert("the quick brown fox jumps"), kMaybeTyped);
  EXPECT_EQ(looks, 3);
}

TEST_F(TextInserterTest, AFieldThatDoesNotAnswerForAMomentIsWaitedFor) {
  typingOnly();
  desktop.afterChunk = [&](std::size_t count) {
    if (count == 1) desktop.focus[kPid].element = 0;
  };
  start("the quick brown fox jumps");
  time.advance(1s);
  EXPECT_EQ(desktop.typed.size(), 1u);
  desktop.focus[kPid].element = FakeAccessibilityProvider::kField;
  time.advance(10s);
  EXPECT_EQ(report, kTyped);
}

}  // namespace
}  // namespace quillet::test
