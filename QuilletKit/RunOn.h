// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/execution/outstanding_work.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/prefer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <exception>
#include <memory>
#include <utility>

#include "QuilletKit/Task.h"

namespace quillet {
namespace detail {

/// Work that runs on another executor. `signal` and `finished` are touched on that executor only, so that a
/// cancellation may arrive at any moment of the work's end: the hop outlives both sides.
struct Hop {
  boost::asio::cancellation_signal signal;
  bool finished = false;
};

template <typename Handler, typename... Values>
class HopBack {
 public:
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
            boost::asio::post(target, [hop, type] {
              if (!hop->finished) hop->signal.emit(type);
            });
          });
        }
        using Back = typename Signature::template Back<decltype(handler)>;
        Back back(target, std::move(handler), hop);
        boost::asio::post(target, [target, hop, body = std::move(body), back = std::move(back)]() mutable {
          boost::asio::co_spawn(target, std::move(body),
                                boost::asio::bind_cancellation_slot(hop->signal.slot(), std::move(back)));
        });
      },
      boost::asio::use_awaitable, std::move(executor), std::move(work));
}

}  // namespace quillet
