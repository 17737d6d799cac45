// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/LogLimiter.h"

#include <gtest/gtest.h>

#include <map>

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

TEST(LogLimiterTest, ARepeatedLineIsCountedAndToldOfOnceAMinute) {
  LogLimiter limiter;
  LogLimiter::Time now{};
  const auto written = [&](const char* line, int times) {
    int count = 0;
    for (int i = 0; i < times; ++i) count += limiter.admits(line, now);
    return count;
  };
  const auto told = [&] {
    std::map<std::string, std::size_t> lines;
    limiter.summarise(now, [&](const std::string& line, std::size_t times) { lines[line] = times; });
    return lines;
  };
  using Lines = std::map<std::string, std::size_t>;
  EXPECT_EQ(written("a", 1000), 10);
  EXPECT_EQ(written("b", 10), 10);
  now += 59s;
  EXPECT_EQ(written("a", 5), 0);
  EXPECT_EQ(written("c", 11), 10);
  EXPECT_EQ(told(), Lines{});
  now += 1s;
  EXPECT_EQ(told(), (Lines{{"a", 995}}));
  EXPECT_EQ(written("a", 11), 10);
  now = LogLimiter::Time::max();
  EXPECT_EQ(told(), (Lines{{"a", 1}, {"c", 1}}));
}

TEST(LogLimiterTest, DifferentLinesDoNotFillTheMemory) {
  LogLimiter limiter;
  for (int i = 0; i < 5000; ++i) EXPECT_TRUE(limiter.admits("line " + std::to_string(i), {}));
  int written = 0;
  for (int i = 0; i < 100; ++i) written += limiter.admits("line 7", {});
  EXPECT_EQ(written, 9) << "those that were known stay so";
}

}  // namespace
}  // namespace quillet::test
