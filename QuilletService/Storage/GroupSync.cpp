// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/GroupSync.h"

#include <boost/asio/execution/outstanding_work.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/prefer.hpp>
#include <utility>

namespace quillet {

namespace asio = boost::asio;

GroupSync::GroupSync(Executor home, std::function<bool()> sync)
    : home_(std::move(home)), sync_(std::move(sync)), self_(std::make_shared<GroupSync*>(this)) {}

GroupSync::~GroupSync() {
  *self_ = nullptr;
  thread_.join();
}

Awaitable<bool> GroupSync::sync() {
  return asio::async_initiate<const asio::use_awaitable_t<>, void(bool)>(
      [this](auto resume) {
        next_.push_back(std::move(resume));
        if (!running_) begin();
      },
      asio::use_awaitable);
}

void GroupSync::begin() {
  running_ = true;
  served_ = std::exchange(next_, {});
  // Counts as work of the home, which would otherwise think that nothing is left to do.
  auto home = asio::prefer(home_, asio::execution::outstanding_work.tracked);
  asio::post(thread_, [this, self = self_, home = std::move(home)] {
    const bool done = sync_();
    asio::post(home, [self, done] {
      if (*self != nullptr) (*self)->end(done);
    });
  });
}

void GroupSync::end(bool done) {
  running_ = false;
  auto served = std::exchange(served_, {});
  if (!next_.empty()) begin();
  for (Waiter& waiter : served) std::move(waiter)(done);
}

}  // namespace quillet
