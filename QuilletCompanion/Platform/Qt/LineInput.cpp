// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Qt/LineInput.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quillet {

LineInput::LineInput(std::function<void(std::string_view)> line, std::function<void()> end)
    : line_(std::move(line)), end_(std::move(end)), notifier_(STDIN_FILENO, QSocketNotifier::Read) {
  QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { readSome(); });
}

void LineInput::readSome() {
  char buffer[4096];
  const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
  if (count <= 0) {
    notifier_.setEnabled(false);
    if (!pending_.empty()) line_(std::exchange(pending_, {}));
    if (everRead_ || isatty(STDIN_FILENO) != 0) end_();
    return;
  }
  everRead_ = true;
  pending_.append(buffer, static_cast<std::size_t>(count));
  for (auto end = pending_.find('\n'); end != std::string::npos; end = pending_.find('\n')) {
    const std::string line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    line_(line);
  }
}

}  // namespace quillet
