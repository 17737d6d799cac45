// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <functional>

#include "QuilletCompanion/Target/ScreenLockMonitor.h"

namespace quillet::test {

/// A screen that is never locked.
class StubLock final : public ScreenLockMonitor {
  bool isScreenLocked() override { return false; }
};

/// Serves the event loop until the condition holds. False if it doesn't within the bound.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds bound = std::chrono::seconds(20)) {
  const auto deadline = std::chrono::steady_clock::now() + bound;
  QTimer tick;  // so that the wait for events ends
  tick.start(std::chrono::milliseconds(10));
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  }
  return true;
}

/// A program with a home folder of its own, in which it is started beside an empty file, and killed at the end of the
/// scope.
class Editor {
 public:
  static constexpr auto emptyFile = "document.txt";

  explicit Editor(const QString& program, const QStringList& arguments = {}) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", home_.path());
    process_.setProcessEnvironment(environment);
    process_.setStandardOutputFile(QProcess::nullDevice());
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.setWorkingDirectory(home_.path());
    QFile(path(emptyFile)).open(QIODevice::WriteOnly);
    process_.start(program, arguments);
    process_.waitForStarted();
  }
  ~Editor() { kill(); }

  std::int32_t pid() const { return static_cast<std::int32_t>(process_.processId()); }
  QString path(const QString& file) const { return home_.filePath(file); }
  void kill() {
    if (process_.state() == QProcess::NotRunning) return;
    process_.kill();
    process_.waitForFinished();
  }
  /// Not while it holds the X server for itself, as toolkits do for moments: the server would keep back what it has got
  /// from anybody by then, even from those whom it answers meanwhile.
  void suspend() const {
    for (::kill(pid(), SIGSTOP); !doesDisplayAnswer(); ::kill(pid(), SIGSTOP)) {
      resume();
      QThread::msleep(10);
    }
  }
  void resume() const { ::kill(pid(), SIGCONT); }

 private:
  static bool doesDisplayAnswer() {
    QProcess question;
    question.setStandardOutputFile(QProcess::nullDevice());
    question.start("xprop", {"-root", "_NET_ACTIVE_WINDOW"});
    if (question.waitForFinished(2000)) return true;
    question.kill();
    question.waitForFinished();
    return false;
  }

  QTemporaryDir home_;
  QProcess process_;
};

/// Presses keys by their X names, as a person would, for example "shift+Left".
inline void press(const QStringList& keys) {
  QProcess::execute("xdotool", QStringList{"key", "--clearmodifiers"} + keys);
}

}  // namespace quillet::test
