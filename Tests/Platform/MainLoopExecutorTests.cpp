// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>
#include <boost/asio/post.hpp>
#include <memory>
#include <vector>

namespace quillet {
namespace {

class MainLoopExecutorTest : public testing::Test {
 protected:
  MainLoopExecutorTest() {
    QObject::connect(&limit, &QTimer::timeout, [] { QCoreApplication::exit(1); });
    limit.start(20'000);
  }
  /// Runs the event loop until a piece of work quits it; 1 if none did in time.
  static int runUntilQuit() { return QCoreApplication::exec(); }

  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  QCoreApplication application{argc, argv};
  QTimer limit;
};

TEST_F(MainLoopExecutorTest, RunsPostedWorkInOrderAndNeverInsideThePost) {
  MainLoop loop;
  std::vector<int> order;
  boost::asio::post(loop.executor(), [&order, owned = std::make_unique<int>(1)] { order.push_back(*owned); });
  boost::asio::post(loop.executor(), [&] { order.push_back(2); });
  boost::asio::post(loop.executor(), [] { QCoreApplication::quit(); });
  EXPECT_TRUE(order.empty());
  EXPECT_EQ(runUntilQuit(), 0);
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_F(MainLoopExecutorTest, ExecutorsOfOneLoopAreEqualAndQueuedWorkDiesWithTheLoop) {
  auto owned = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = owned;
  bool ran = false;
  {
    MainLoop loop, other;
    EXPECT_EQ(loop.executor(), loop.executor());
    EXPECT_NE(loop.executor(), other.executor());
    boost::asio::post(loop.executor(), [&ran, kept = std::move(owned)] { ran = true; });
    EXPECT_FALSE(watched.expired());
  }
  QCoreApplication::processEvents();
  EXPECT_TRUE(watched.expired());
  EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace quillet
