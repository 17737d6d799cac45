// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "QuilletKit/Async/Event.h"
#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Finds a host's addresses and connects to the one that answers first. They are tried in the system's order, each a
/// quarter of a second after the one before, or when one has failed: an address that swallows everything, as with a
/// broken IPv6, costs no more than that. Lives on the network thread, and outlives its calls.
class Dialer {
 public:
  using TCP = boost::asio::ip::tcp;
  using Socket = TCP::socket;
  using Endpoints = std::vector<TCP::endpoint>;
  /// Blocks. Throws boost::system::system_error.
  using Lookup = std::function<Endpoints(const std::string& host, const std::string& port)>;

  /// `lookup` is called on a thread of its own, which is left behind where nobody waits for it any more: the system's
  /// can't be interrupted.
  explicit Dialer(Executor network, Lookup lookup = systemLookup);

  /// Throws boost::system::system_error: that of the last address, or operation_aborted after `cancel`.
  Awaitable<Socket> dial(std::string host, std::string port);
  /// Ends what is being made, and what is begun later.
  void cancel();

  static Endpoints systemLookup(const std::string& host, const std::string& port);

 private:
  struct Answer;
  struct Race;
  Awaitable<Endpoints> find(std::string host, std::string port);
  Awaitable<Socket> connect(Endpoints endpoints);
  void requireWanted() const;

  Executor network_;
  Lookup lookup_;
  std::shared_ptr<Race> race_;
  Event found_;  ///< A lookup gave its answer, or nobody wants it any more.
  bool cancelled_ = false;
};

}  // namespace quillet
