// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "QuilletKit/Base/Log.h"

namespace quillet::test {

/// What was logged during the running test. Errors must be announced with `expect`, or the test fails.
class LogCapture {
 public:
  static LogCapture& instance() {
    static LogCapture capture;
    return capture;
  }

  void begin() {
    {
      const std::lock_guard lock(mutex_);
      lines_.clear();
      expected_.clear();
    }
    Log::setSink([this](const Log::Line& line) {
      const std::lock_guard guard(mutex_);
      lines_.push_back({line.level, std::string(line.message)});
    });
  }
  /// Announces an error line by its exact text.
  void expect(std::string message) {
    const std::lock_guard lock(mutex_);
    expected_.push_back(std::move(message));
  }
  bool contains(std::string_view message) {
    const std::lock_guard lock(mutex_);
    return std::any_of(lines_.begin(), lines_.end(), [&](const auto& l) { return l.message == message; });
  }
  /// Whether a text stands within any line, of any level.
  bool anyHolds(std::string_view text) {
    const std::lock_guard lock(mutex_);
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const auto& l) { return l.message.find(text) != std::string::npos; });
  }
  std::vector<std::string> unannouncedErrors() {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> found;
    for (const auto& line : lines_) {
      if (line.level != Log::Level::error) continue;
      if (std::find(expected_.begin(), expected_.end(), line.message) == expected_.end()) found.push_back(line.message);
    }
    return found;
  }

 private:
  struct Entry {
    Log::Level level;
    std::string message;
  };
  std::mutex mutex_;
  std::vector<Entry> lines_;
  std::vector<std::string> expected_;
};

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
