// SPDX-License-Identifier: MIT
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <string>
#include <string_view>

namespace quillet {

/// Feeds whole lines of standard input to a function. At the end of a terminal or a pipe it asks to quit; a program
/// started with no input at all goes on. Main thread only.
class LineInput {
 public:
  LineInput(std::function<void(std::string_view)> line, std::function<void()> end);

 private:
  void readSome();

  std::function<void(std::string_view)> line_;
  std::function<void()> end_;
  QSocketNotifier notifier_;
  std::string pending_;
  bool everRead_ = false;
};

}  // namespace quillet
