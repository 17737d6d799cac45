// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/MuffleWatcher.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <utility>

extern char** environ;

namespace quillet {
namespace {

/// Beside the program that runs.
std::string watcherProgram() {
  std::error_code unknown;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", unknown);
  return (self.parent_path() / "quillet-muffle-watch").string();
}

/// Runs the program with `input` as its standard input until it says that it is up, by leaving a child behind.
int run(const std::string& program, int input) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  sigset_t none, all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  std::string name = program;
  char* arguments[] = {name.data(), nullptr};
  pid_t child = -1;
  const int failure = posix_spawn(&child, program.c_str(), &actions, &attributes, arguments, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) return failure;
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return errno;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : ECHILD;
}

}  // namespace

int MuffleWatcher::start() {
  int ends[2];
  // Whole messages, and no other child of ours holds it open.
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) < 0) return errno;
  const int failure = run(watcherProgram(), ends[1]);
  ::close(ends[1]);
  socket_ = ends[0];
  if (failure != 0) letGo();
  return failure;
}

void MuffleWatcher::tellModule(std::uint32_t index) {
  send("module " + std::to_string(index));
}

void MuffleWatcher::tellStream(std::uint32_t index, const std::string& home) {
  send("stream " + std::to_string(index) + " " + home);
}

void MuffleWatcher::dismiss() {
  send("done");
  letGo();
}

void MuffleWatcher::letGo() {
  if (socket_ >= 0) ::close(std::exchange(socket_, -1));
}

void MuffleWatcher::send(const std::string& message) const {
  if (socket_ >= 0) ::send(socket_, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace quillet
