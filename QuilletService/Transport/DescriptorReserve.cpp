// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/DescriptorReserve.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <vector>

namespace quillet {

void DescriptorReserve::prepare(std::size_t open) {
  constexpr std::size_t kLeast = 64, kMost = 1024;
  if (open < made_) return;
  const std::size_t wanted = open + std::clamp(made_, kLeast, kMost);
  // Those that are open have taken theirs; the rest are made by descriptors that are closed again.
  std::vector<boost::asio::posix::stream_descriptor> spare;
  while (open + spare.size() < wanted) {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC);
    if (descriptor < 0) break;
    boost::system::error_code error;
    spare.emplace_back(context_).assign(descriptor, error);
    if (error) {
      ::close(descriptor);
      break;
    }
  }
  made_ = open + spare.size();
}

}  // namespace quillet
