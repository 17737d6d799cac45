// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <cstdint>
#include <functional>
#include <memory>

#include "QuilletCompanion/Program/Program.h"

namespace quillet {

using WindowsFront = Program::Front;

/// How a front with windows is made, in a program that has one.
struct WindowsMaker {
  std::function<std::unique_ptr<QCoreApplication>(int& argc, char** argv)> application;
  std::function<std::unique_ptr<WindowsFront>(AppModel& model, Executor mainThread, std::function<std::int64_t()> now)>
      front;
};

/// The whole program. Without `windows` only the terminal can be its front; asked for another one it becomes the
/// program with windows that lies beside it, so that what draws is loaded only where something is drawn.
int runQuillet(int argc, char** argv, const WindowsMaker* windows);

}  // namespace quillet
