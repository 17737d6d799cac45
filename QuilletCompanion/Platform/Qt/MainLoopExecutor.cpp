// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"

#include <QCoreApplication>

namespace quillet {

MainLoop::~MainLoop() {
  QCoreApplication::removePostedEvents(&receiver_);
  context_.shutdown();
  QCoreApplication::removePostedEvents(&receiver_);  // what waited for an event, while the context is still there
  context_.destroy();
}

Executor MainLoop::executor() {
  return LoopExecutor(*this);
}

}  // namespace quillet
