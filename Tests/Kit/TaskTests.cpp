// SPDX-License-Identifier: MIT
#include "QuilletKit/Async/Task.h"

#include "QuilletKit/Async/RunOn.h"
#include "QuilletKit/Base/Observable.h"
#include "Tests/Doubles/Calls.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

TEST(TaskTest, ABodyMayEndItsOwnTaskSuspendedOrNot) {
  for (const bool suspends : {false, true}) {
    for (const char* end : {"cancel", "destroy", "replace"}) {
      VirtualTime time;
      auto task = std::make_unique<Task>(time.executor());
      const TimeSource source = time.source();
      int steps = 0;
      bool replaced = false;
      task->start([&](const Task::Token& token) -> Awaitable<void> {
        if (suspends) co_await source.sleep(1s);
        if (end == std::string_view("cancel")) task->cancel();
        if (end == std::string_view("destroy")) task.reset();
        if (end == std::string_view("replace")) {
          task->start([&]() -> Awaitable<void> {
            replaced = true;
            co_return;
          });
        }
        EXPECT_TRUE(token.cancelled());
        ++steps;
        co_await source.sleep(1s);
        ++steps;
      });
      time.advance(5s);
      EXPECT_EQ(steps, 1) << end << suspends;
      EXPECT_EQ(replaced, end == std::string_view("replace")) << suspends;
    }
  }
}

TEST(TaskTest, ABodyThatEndsWithoutASuspensionMayBeCancelledByItself) {
  VirtualTime time;
  Task task(time.executor());
  for (const bool throws : {false, true}) {
    task.start([&]() -> Awaitable<void> {
      task.cancel();
      if (throws) throw boost::system::system_error(boost::asio::error::operation_aborted);
      co_return;
    });
    EXPECT_NO_THROW(time.run());
    EXPECT_FALSE(task.running());
  }
}

TEST(TaskTest, OneStartWaitsForTheEndOfTheOneBefore) {
  VirtualTime time;
  const TimeSource source = time.source();
  Task task(time.executor());
  std::string heard;
  const auto start = [&](std::string name) {
    task.start([&, name, before = task.token()](const Task::Token& own) -> Awaitable<void> {
      co_await before.ended();
      if (own.cancelled()) co_return;
      heard += name;
      try {
        co_await source.sleep(1s);
      } catch (const std::exception&) {
        heard += "!";
      }
      co_await boost::asio::this_coro::reset_cancellation_state();
      co_await source.sleep(1s);  // an end that takes its time
      heard += ".";
    });
  };
  start("a");
  time.run();
  start("b");
  time.run();
  EXPECT_EQ(heard, "a!");
  start("c");  // before b has begun
  EXPECT_TRUE(task.running());
  bool ended = false;
  Task watcher(time.executor());
  watcher.start([&, last = task.token()]() -> Awaitable<void> {
    co_await last.ended();
    ended = true;
  });
  time.advance(1s);
  EXPECT_EQ(heard, "a!.c");
  task.cancel();
  EXPECT_FALSE(task.running());
  EXPECT_TRUE(task.token().cancelled());
  time.run();
  EXPECT_FALSE(ended) << "cancelled isn't ended";
  time.advance(1s);
  EXPECT_TRUE(ended);
  EXPECT_EQ(heard, "a!.c!.");
}

TEST(TaskTest, AWaitIsWokenCancelledBoundedOrEndedWithItsEvent) {
  VirtualTime time;
  auto event = std::make_unique<Event>();
  std::string heard;
  const auto wait = [&](std::string name) -> Awaitable<void> {
    struct Gone {
      std::string& heard;
      ~Gone() { heard += "~"; }
    } const gone{heard};
    co_await event->wait();
    heard += name;
  };
  Task first(time.executor()), second(time.executor());
  const auto heardWhen = [&](const std::function<void()>& happens) {
    heard.clear();
    first.start([&] { return wait("a"); });
    second.start([&] { return wait("b"); });
    time.run();
    happens();
    EXPECT_EQ(heard.find_first_of("ab"), std::string::npos) << "not before the writer is done";
    time.run();
    return heard;
  };
  const auto cancel = [&] {
    first.cancel();
    second.cancel();
  };
  EXPECT_EQ(heardWhen([&] { event->wake(); }), "a~b~");
  EXPECT_EQ(heardWhen([&] { event->wake(), cancel(); }), "a~b~") << "woken already";
  EXPECT_EQ(heardWhen([&] { cancel(), event->wake(); }), "~~") << "cancelled already";
  EXPECT_EQ(heardWhen([&] { event.reset(), cancel(); }), "~~");
  event = std::make_unique<Event>();
  std::optional<bool> woken;
  first.start([&]() -> Awaitable<void> { woken = co_await event->waitFor(1ms); });
  time.context.restart();
  time.context.run();
  EXPECT_EQ(woken, false);
  first.start([&]() -> Awaitable<void> { woken = co_await event->waitFor(1h); });
  time.run();
  event->wake();
  time.run();
  EXPECT_EQ(woken, true);
}

TEST(TaskTest, AHopIsCancelledBeforeBetweenAndAfterItsSteps) {
  VirtualTime home, away;
  const TimeSource source = away.source();
  for (int stage = 0; stage < 4; ++stage) {
    int worked = 0;
    Attempt hop(home.executor(), [&]() -> Awaitable<void> {
      co_await runOn(away.executor(), [](const TimeSource& time, int& steps) -> Awaitable<void> {
        ++steps;
        co_await time.sleep(1s);
        ++steps;
      }(source, worked));
    });
    home.run();
    if (stage > 0) away.run();
    if (stage > 1) away.advance(1s);
    if (stage > 2) home.run();
    hop.task.cancel();
    away.run();
    home.run();
    EXPECT_EQ(hop.outcome, stage < 2 ? "cancelled" : "done") << stage;
    EXPECT_EQ(worked, stage < 2 ? 1 : 2) << stage;
    EXPECT_EQ(away.sleepers(), 0u);
  }
}

TEST(ObservableTest, ObserversMayChangeTheListTheValueOrDestroyIt) {
  auto value = std::make_unique<Observable<int>>(0);
  std::vector<std::string> heard;
  Subscription second, third;
  const auto hear = [&](const char* who, const int& now) { heard.push_back(who + (" " + std::to_string(now))); };
  const auto first = value->observe([&](const int& now) {
    if (now == 1) second.reset();
    if (now == 4) value.reset();
    hear("first", now);
    if (now == 2) value->set(3);
  });
  second = value->observe([&](int now) { hear("second", now); });
  third = value->observe([&](int now) { hear("third", now); });
  value->set(1);
  value->set(1);
  value->set(2);
  EXPECT_EQ(heard, (std::vector<std::string>{"first 1", "third 1", "first 2", "first 3", "third 3", "third 3"}));
  heard.clear();
  value->set(4);
  EXPECT_EQ(heard, std::vector<std::string>{"first 4"});
}

}  // namespace
}  // namespace quillet::test
