// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuilletKit/Base/File.h"

namespace quillet::test {

/// A program in a process of its own, killed when this ends. What can't be started has no process.
class ChildProcess {
 public:
  /// Its standard output goes into `output`, unless that is below zero, and with `errorsToo` its errors as well. For
  /// variables, "env" can be its command.
  explicit ChildProcess(std::vector<std::string> command, int output = -1, bool errorsToo = false) {
    std::vector<char*> arguments;
    for (std::string& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    if (output >= 0) posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    if (errorsToo) posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    if (::posix_spawnp(&process_, arguments[0], &files, nullptr, arguments.data(), environ) != 0) process_ = -1;
    posix_spawn_file_actions_destroy(&files);
  }
  /// One that nobody hears.
  static ChildProcess quiet(std::vector<std::string> command) {
    const File nowhere("/dev/null", O_WRONLY);
    return ChildProcess(std::move(command), nowhere.descriptor(), true);
  }
  ChildProcess(ChildProcess&& other) noexcept : process_(std::exchange(other.process_, -1)) {}
  ChildProcess& operator=(ChildProcess&& other) noexcept {
    end(SIGKILL);
    process_ = std::exchange(other.process_, -1);
    return *this;
  }
  ~ChildProcess() { end(SIGKILL); }

  pid_t id() const { return process_; }
  void end(int signal) {
    if (process_ <= 0) return;
    ::kill(process_, signal);
    ::waitpid(std::exchange(process_, -1), nullptr, 0);
  }
  /// Its exit code once it has ended by itself, -1 if a signal ended it; absent while it runs.
  std::optional<int> exitCode() {
    int status = 0;
    if (process_ <= 0 || ::waitpid(process_, &status, WNOHANG) != process_) return std::nullopt;
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t process_ = -1;
};

}  // namespace quillet::test
