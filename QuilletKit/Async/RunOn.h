// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/execution/outstanding_work.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/prefer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <exception>
#include <memory>
#include <utility>

#include "QuilletKit/Async/Task.h"

namespace quillet {
namespace detail {

/// Work that runs on another executor. Touched on that executor only, so that a cancellation may arrive at any moment
/// of the work's beginning and end: the hop outlives both sides.
struct Hop {
  boost::asio::cancellation_signal signal;
  bool begun = false;
  bool cancelled = false;
  bool finished = false;

  void cancel(boost::asio::cancellation_type type) {
    cancelled = true;
    // Before the first step there is nobody to catch what a cancelled suspension throws.
    if (begun && !finished) signal.emit(type);
  }
};

template <typename T>
Awaitable<T> startHop(std::shared_ptr<Hop> hop, Awaitable<T> work) {
  hop->begun = true;
  if (hop->cancelled) throw boost::system::system_error(boost::asio::error::operation_aborted);
  co_return co_await guarded(std::move(work));
}

template <typename Handler, typename... Values>
class HopBack {
 public:
  // Named by itself rather than bound: for a bound slot, co_spawn passes a cancellation on by a pointer that may
  // dangle.
  using cancellation_slot_type = boost::asio::cancellation_slot;
  cancellation_slot_type get_cancellation_slot() const noexcept { return hop_->signal.slot(); }

  HopBack(Executor executor, Handler handler, std::shared_ptr<Hop> hop)
      : home_(boost::asio::prefer(Executor(boost::asio::get_associated_executor(handler, executor)),
                                  boost::asio::execution::outstanding_work.tracked)),
        handler_(std::make_shared<Handler>(std::move(handler))),
        hop_(std::move(hop)) {}

  void operator()(std::exception_ptr error, Values... values) {
    hop_->finished = true;
    boost::asio::post(home_, [handler = std::move(handler_), error, ... result = std::move(values)]() mutable {
      boost::asio::get_associated_cancellation_slot(*handler).clear();
      Handler resume = std::move(*handler);
      handler.reset();
      resume(error, std::move(result)...);
    });
  }

 private:
  Executor home_;
  std::shared_ptr<Handler> handler_;
  std::shared_ptr<Hop> hop_;
};

template <typename T>
struct HopSignature {
  using Type = void(std::exception_ptr, T);
  template <typename Handler>
  using Back = HopBack<Handler, T>;
};
template <>
struct HopSignature<void> {
  using Type = void(std::exception_ptr);
  template <typename Handler>
  using Back = HopBack<Handler>;
};

}  // namespace detail

/// Runs `work` on `executor` and resumes on the caller's own executor with its result. Cancelling the caller cancels
/// the work; the caller resumes when the work has ended. Both executors may be on different threads. (Plain co_spawn
/// with use_awaitable carries a cancellation across threads by a pointer into the caller's frame, which may be gone.)
template <typename T>
Awaitable<T> runOn(Executor executor, Awaitable<T> work) {
  using Signature = detail::HopSignature<T>;
  co_return co_await boost::asio::async_initiate<const boost::asio::use_awaitable_t<>, typename Signature::Type>(
      [](auto handler, Executor target, Awaitable<T> body) {
        auto hop = std::make_shared<detail::Hop>();
        if (auto slot = boost::asio::get_associated_cancellation_slot(handler); slot.is_connected()) {
          slot.assign([hop, target](boost::asio::cancellation_type type) {
            boost::asio::post(target, [hop, type] { hop->cancel(type); });
          });
        }
        using Back = typename Signature::template Back<decltype(handler)>;
        Back back(target, std::move(handler), hop);
        boost::asio::post(target, [target, hop, body = std::move(body), back = std::move(back)]() mutable {
          boost::asio::co_spawn(target, detail::startHop(std::move(hop), std::move(body)), std::move(back));
        });
      },
      boost::asio::use_awaitable, std::move(executor), std::move(work));
}

}  // namespace quillet
