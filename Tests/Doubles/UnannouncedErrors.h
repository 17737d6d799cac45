// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include "Tests/Doubles/LogCapture.h"

namespace quillet::test {

/// Fails a test in which an error was logged that it didn't announce with LogCapture::expect.
class UnannouncedErrors : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { LogCapture::instance().begin(); }
  void OnTestEnd(const testing::TestInfo&) override {
    for (const auto& line : LogCapture::instance().unannouncedErrors()) {
      ADD_FAILURE() << "logged an error that the test didn't announce: " << line;
    }
  }
};

/// Runs all tests of a program whose arguments were taken.
inline int runTests() {
  testing::UnitTest::GetInstance()->listeners().Append(new UnannouncedErrors);
  return RUN_ALL_TESTS();
}

}  // namespace quillet::test
