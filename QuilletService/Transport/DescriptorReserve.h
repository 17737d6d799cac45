// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/io_context.hpp>
#include <cstddef>

namespace quillet {

/// Makes what the reactor notes of each descriptor ahead of need, and many at a time. The reactor keeps such a note for
/// the next descriptor and never frees it: made one by one, each would lie in the midst of its connection's memory and
/// keep that page from going back to the system.
class DescriptorReserve {
 public:
  explicit DescriptorReserve(boost::asio::io_context& context) : context_(context) {}

  /// Makes room for one more than are open. Without descriptors to spare it does nothing.
  void prepare(std::size_t open);

 private:
  boost::asio::io_context& context_;
  std::size_t made_ = 0;
};

}  // namespace quillet
