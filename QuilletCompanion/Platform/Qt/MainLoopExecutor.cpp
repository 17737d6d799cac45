// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"

#include <QCoreApplication>

namespace quillet {

MainLoop::~MainLoop() {
  QCoreApplication::removePostedEvents(&receiver_);
  context_.shutdown();
  context_.destroy();
}

Executor MainLoop::executor() {
  return Poster(*this);
}

}  // namespace quillet
