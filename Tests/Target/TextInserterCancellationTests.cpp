// SPDX-License-Identifier: MIT
#include "Tests/Target/TextInserterFixture.h"

namespace quillet::test {
namespace {

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
}  // namespace quillet::test
