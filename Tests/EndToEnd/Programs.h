// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <list>

#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/Files.h"

namespace quillet::test {

/// One of our programs, which says one JSON object a line. Killed at the end of the scope.
class Program {
 public:
  ~Program() { kill(); }

  void start(const QString& name, const QStringList& arguments, const QProcessEnvironment& environment) {
    kill();
    lines_.clear();
    process_.emplace();
    process_->setProcessEnvironment(environment);
    process_->setStandardErrorFile(QProcess::nullDevice());
    process_->start(QString::fromStdString(builtProgram(name.toStdString())), arguments);
    process_->waitForStarted();
  }
  void say(const char* line) { process_->write(line); }
  qint64 pid() const { return process_->processId(); }
  bool running() const { return process_ && process_->state() != QProcess::NotRunning; }
  /// Waits for its end; -1 if it doesn't end by itself, or not in order.
  int exitCode() {
    const bool ended = eventually([this] { return !running(); });
    return ended && process_->exitStatus() == QProcess::NormalExit ? process_->exitCode() : -1;
  }
  void kill() {
    if (!process_) return;
    process_->kill();
    process_->waitForFinished();
    read();
  }
  /// The first line so far that the condition holds for, taken with those before it.
  std::optional<QJsonObject> take(const std::function<bool(const QJsonObject&)>& wanted) {
    read();
    for (auto line = lines_.begin(); line != lines_.end(); ++line) {
      if (!wanted(*line)) continue;
      const QJsonObject found = *line;
      lines_.erase(lines_.begin(), std::next(line));
      return found;
    }
    return std::nullopt;
  }
  std::optional<QJsonObject> await(const std::function<bool(const QJsonObject&)>& wanted) {
    std::optional<QJsonObject> found;
    eventually([&] { return (found = take(wanted)).has_value(); });
    return found;
  }
  std::optional<QJsonObject> last() {
    read();
    return lines_.empty() ? std::nullopt : std::optional(lines_.back());
  }
  QByteArray readLine() {
    eventually([&] { return process_->canReadLine(); });
    return process_->readLine();
  }

 private:
  void read() {
    while (process_ && process_->canReadLine()) {
      lines_.push_back(QJsonDocument::fromJson(process_->readLine()).object());
    }
  }

  std::optional<QProcess> process_;
  std::list<QJsonObject> lines_;
};

}  // namespace quillet::test
