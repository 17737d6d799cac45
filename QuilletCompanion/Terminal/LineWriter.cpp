// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/LineWriter.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string_view>
#include <utility>

namespace quillet {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{1};
constexpr std::chrono::seconds kLongestEnd{10};
constexpr std::size_t kChunk = 4096;

/// How much went out; nothing when the file takes no more for ever.
std::size_t writeSome(int file, std::string_view text) {
  for (;;) {
    const ssize_t count = ::write(file, text.data(), std::min(text.size(), kChunk));
    if (count > 0) return static_cast<std::size_t>(count);
    if (count < 0 && errno == EAGAIN) {  // somebody who shares the file made it so
      pollfd ready{.fd = file, .events = POLLOUT, .revents = 0};
      ::poll(&ready, 1, -1);
    } else if (count == 0 || errno != EINTR) {
      return 0;
    }
  }
}

}  // namespace

struct LineWriter::State {
  State(int target, std::function<std::string(std::size_t)> notice, std::size_t bound)
      : file(target), lostLines(std::move(notice)), capacity(bound) {}

  int file;
  std::function<std::string(std::size_t)> lostLines;
  std::size_t capacity;

  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::string> waiting;
  std::size_t bytes = 0, lost = 0, written = 0;
  bool ending = false, ended = false;

  void add(std::string line) {
    const std::lock_guard lock(mutex);
    if (ended) return;
    bytes += line.size();
    waiting.push_back(std::move(line));
    for (; bytes > capacity && waiting.size() > 1; ++lost) {
      bytes -= waiting.front().size();
      waiting.pop_front();
    }
    changed.notify_all();
  }

  /// The next text to write, with its line feeds; empty at the end.
  std::string take() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return ending || !waiting.empty(); });
    if (waiting.empty()) return {};
    std::string text = lost > 0 ? lostLines(std::exchange(lost, 0)) + "\n" : "";
    text += waiting.front();
    bytes -= waiting.front().size();
    waiting.pop_front();
    return text + "\n";
  }

  bool write(std::string_view text) {
    while (!text.empty()) {
      const std::size_t count = writeSome(file, text);
      if (count == 0) return false;
      text.remove_prefix(count);
      const std::lock_guard lock(mutex);
      written += count;
      changed.notify_all();
    }
    return true;
  }

  void run() {
    for (std::string text = take(); !text.empty() && write(text);) text = take();
    const std::lock_guard lock(mutex);
    ended = true;
    waiting.clear();
    changed.notify_all();
  }

  /// True once everything is written that ever will be.
  bool end() {
    std::unique_lock lock(mutex);
    ending = true;
    changed.notify_all();
    const auto limit = Clock::now() + kLongestEnd;
    for (std::size_t before = written; !ended && Clock::now() < limit; before = written) {
      if (!changed.wait_for(lock, kPatience, [&] { return ended || written != before; })) return false;
    }
    return ended;
  }
};

LineWriter::LineWriter(int file, std::function<std::string(std::size_t)> lostLines, std::size_t capacity)
    : state_(std::make_shared<State>(file, std::move(lostLines), capacity)),
      thread_([state = state_] { state->run(); }) {}

LineWriter::~LineWriter() {
  if (state_->end()) {
    thread_.join();
  } else {
    thread_.detach();
  }
}

void LineWriter::print(std::string line) {
  state_->add(std::move(line));
}

}  // namespace quillet
