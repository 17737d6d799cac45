// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <boost/asio/post.hpp>

#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"
#include "QuilletCompanion/Platform/Qt/MainLoopTimers.h"
#include "Tests/Desktop/Editor.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using test::eventually;

class MainLoopTest : public testing::Test {
 protected:
  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  QCoreApplication application{argc, argv};
  MainLoop loop;
};

TEST_F(MainLoopTest, RunsPostedWorkInOrderAndNeverInsideThePost) {
  std::vector<int> order;
  boost::asio::post(loop.executor(), [&order, owned = std::make_unique<int>(1)] { order.push_back(*owned); });
  boost::asio::post(loop.executor(), [&] { order.push_back(2); });
  EXPECT_TRUE(order.empty());
  EXPECT_TRUE(eventually([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_F(MainLoopTest, ExecutorsOfOneLoopAreEqualAndQueuedWorkDiesWithTheLoop) {
  auto owned = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = owned;
  bool ran = false;
  {
    MainLoop other;
    EXPECT_EQ(loop.executor(), loop.executor());
    EXPECT_NE(loop.executor(), other.executor());
    boost::asio::post(other.executor(), [&ran, kept = std::move(owned)] { ran = true; });
    EXPECT_FALSE(watched.expired());
  }
  QCoreApplication::processEvents();
  EXPECT_TRUE(watched.expired());
  EXPECT_FALSE(ran);
}

TEST_F(MainLoopTest, SleepsAsLongAsItShouldAndLeavesShortSleepsAlone) {
  MainLoopTimers timers;
  std::vector<Duration> others;
  TimeSource precise;
  precise.sleep = [&](Duration duration) -> Awaitable<void> {
    others.push_back(duration);
    co_return;
  };
  const auto sleep = timers.lasting(precise).sleep;
  const auto start = std::chrono::steady_clock::now();
  Task task(loop.executor());
  task.start([&]() -> Awaitable<void> {
    co_await sleep(999ms);
    co_await sleep(1s);
  });
  EXPECT_TRUE(eventually([&] { return !task.running(); }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
  EXPECT_EQ(others, std::vector<Duration>{999ms});
}

TEST_F(MainLoopTest, ACancelledSleepEndsSoon) {
  MainLoopTimers timers;
  bool begun = false, aborted = false;
  std::optional<Task> task(loop.executor());
  task->start([&, sleep = timers.lasting({}).sleep]() -> Awaitable<void> {
    try {
      begun = true;
      co_await sleep(1h);
    } catch (const std::exception& error) {
      aborted = isCancellation(error);
      throw;
    }
  });
  ASSERT_TRUE(eventually([&] { return begun; }));
  task.reset();
  EXPECT_FALSE(aborted) << "not inside the cancellation";
  EXPECT_TRUE(eventually([&] { return aborted; }));
}

TEST_F(MainLoopTest, WhoSleepsWhenTheTimersGoNeverGoesOn) {
  for (const bool cancelled : {false, true}) {
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> left = held;
    auto timers = std::make_unique<MainLoopTimers>();
    Task task(loop.executor());
    bool begun = false, wentOn = false;
    task.start([&, held, sleep = timers->lasting({}).sleep]() -> Awaitable<void> {
      begun = true;
      co_await sleep(1h);
      wentOn = true;
    });
    held.reset();
    ASSERT_TRUE(eventually([&] { return begun; }));
    if (cancelled) task.cancel();
    timers.reset();
    EXPECT_TRUE(eventually([&] { return left.expired(); })) << cancelled;
    EXPECT_FALSE(wentOn);
  }
}

}  // namespace
}  // namespace quillet
