// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <cstdio>
#include <cstdlib>

#include "Tests/Doubles/LogCapture.h"

namespace quillet::test {
namespace {

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

/// libatspi forgets a call that runs out of time, libdbus's part in it included.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libdbus-1.so\n";
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (std::getenv("DISPLAY") == nullptr) {
    std::fputs("No display: start these tests through desktop.sh.\n", stderr);
    return 1;
  }
  const QGuiApplication application(argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new quillet::test::UnannouncedErrors);
  return RUN_ALL_TESTS();
}
