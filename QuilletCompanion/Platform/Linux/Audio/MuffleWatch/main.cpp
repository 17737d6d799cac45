// SPDX-License-Identifier: MIT
// Started beside a muffled route, with a socket as standard input on which it is told what the route took. When the
// other end of that is gone without "done", it gives everything back and ends. No signal that a terminal or a session's
// end sends keeps it from that.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <optional>
#include <string_view>

#include "QuilletCompanion/Platform/Linux/Audio/MuffledStreams.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseConnection.h"
#include "QuilletCompanion/Platform/Linux/Audio/SoundLoop.h"

namespace {

using namespace quillet;
using namespace std::chrono_literals;

constexpr int kAttempts = 20;
constexpr Duration kPause = 250ms;

/// Takes a number, and a space after it, from the front of a text.
std::optional<std::uint32_t> takeNumber(std::string_view& text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (text.starts_with(' ')) text.remove_prefix(1);
  return number;
}

struct Taken {
  std::optional<std::uint32_t> module;
  std::map<std::uint32_t, std::string> homes;
};

void note(Taken& taken, std::string_view message) {
  constexpr std::string_view module = "module ", stream = "stream ";
  if (message.starts_with(module)) {
    message.remove_prefix(module.size());
    taken.module = takeNumber(message);
  } else if (message.starts_with(stream)) {
    message.remove_prefix(stream.size());
    if (const auto index = takeNumber(message)) taken.homes[*index] = message;
  }
}

/// What was taken at the other side's end; nothing once it said "done".
std::optional<Taken> watch() {
  Taken taken;
  char buffer[4096];
  while (true) {
    const ssize_t size = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return taken;
    const std::string_view message(buffer, static_cast<std::size_t>(size));
    if (message == "done") return std::nullopt;
    note(taken, message);
  }
}

/// Where the module is gone, so is its sink, or the server is another one by now.
void giveBack(const Taken& taken) {
  SoundLoop loop;
  PulseConnection connection(loop);
  for (int attempt = 0; connection.connect() != PA_OK; ++attempt) {
    if (attempt == kAttempts) return;
    loop.waitUntil([] { return false; }, kPause);
  }
  const auto modules = MuffledStreams::modulesOf(connection);
  if (!modules || !modules->contains(*taken.module)) return;
  MuffledStreams streams(connection, {});
  for (const auto& [index, home] : taken.homes) streams.setHome(index, home);
  streams.giveBack();
  connection.unloadModule(*taken.module);
}

/// Goes on in a child that belongs to nobody, so that the parent need not wait for its end.
bool leaveParent() {
  const pid_t child = ::fork();
  if (child > 0) ::_exit(0);
  return child == 0 && ::setsid() >= 0;
}

}  // namespace

int main() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_IGN);
  // Files of the parent's, its locks among them, would outlive it.
  ::close_range(STDERR_FILENO + 1, ~0U, 0);
  if (!leaveParent() || ::chdir("/") != 0) return 1;
  const auto taken = watch();
  if (taken && taken->module) giveBack(*taken);
  return 0;
}
