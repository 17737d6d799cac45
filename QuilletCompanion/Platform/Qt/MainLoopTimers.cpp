// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Qt/MainLoopTimers.h"

#include <QPointer>
#include <QTimer>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace quillet {
namespace {

namespace asio = boost::asio;
using Error = boost::system::error_code;
using Resume = asio::async_result<asio::use_awaitable_t<>, void(Error)>::handler_type;
constexpr std::chrono::seconds kShortest{1};

}  // namespace

/// A coroutine that waits, as what goes on with it; owns itself and the coroutine.
class MainLoopTimers::Sleeper : public QObject {
 public:
  Sleeper(QObject& all, Executor mainThread, Duration duration, Resume resume)
      : QObject(&all), mainThread_(std::move(mainThread)), resume_(std::move(resume)) {
    if (auto slot = asio::get_associated_cancellation_slot(*resume_); slot.is_connected()) {
      slot.assign([this](asio::cancellation_type) { cancel(); });
    }
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { end({}); });
    timer_.start(std::chrono::ceil<std::chrono::milliseconds>(duration));
  }
  ~Sleeper() override {
    if (resume_) asio::get_associated_cancellation_slot(*resume_).clear();
  }

 private:
  // Not at once: what cancels may be in the midst of its own destruction.
  void cancel() {
    timer_.stop();
    asio::post(mainThread_, [self = QPointer(this)] {
      if (self) self->end(asio::error::operation_aborted);
    });
  }
  void end(Error error) {
    if (!resume_) return;
    asio::get_associated_cancellation_slot(*resume_).clear();
    Resume resume = *std::exchange(resume_, std::nullopt);
    deleteLater();
    std::move(resume)(error);
  }

  Executor mainThread_;
  std::optional<Resume> resume_;
  QTimer timer_;
};

TimeSource MainLoopTimers::lasting(TimeSource precise) {
  precise.sleep = [this, shortly = precise.sleep](Duration duration) {
    return duration < kShortest ? shortly(duration) : sleep(duration);
  };
  return precise;
}

Awaitable<void> MainLoopTimers::sleep(Duration duration) {
  co_await asio::async_initiate<const asio::use_awaitable_t<>, void(Error)>(
      [this, duration](auto resume) { new Sleeper(sleepers_, mainThread_, duration, std::move(resume)); },
      asio::use_awaitable);
}

}  // namespace quillet
