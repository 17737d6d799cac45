// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "QuilletKit/Log.h"
#include "Tests/Doubles/LogCapture.h"

namespace quillet::test {
namespace {

/// Fails a test in which an error was logged that it didn't announce with expectLog.
class UnannouncedErrors : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { LogCapture::instance().begin(); }
  void OnTestEnd(const testing::TestInfo&) override {
    for (const auto& line : LogCapture::instance().unannouncedErrors()) {
      ADD_FAILURE() << "logged an error that the test didn't announce: " << line;
    }
  }
};

}  // namespace
}  // namespace quillet::test

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new quillet::test::UnannouncedErrors);
  return RUN_ALL_TESTS();
}
