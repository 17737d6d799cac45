// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstddef>
#include <functional>
#include <set>

#include "QuilletService/AddressLimiter.h"
#include "QuilletService/Router.h"
#include "QuilletService/ServerLimits.h"
#include "QuilletService/Transport/HTTPDate.h"

namespace quillet {

/// An accepted connection. Names the executor's type, since a type-erased one is copied for every operation.
using ServerSocket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

/// An open connection of any kind, as the server sees it.
class ServerConnection {
 public:
  virtual ~ServerConnection() = default;
  /// Ends it, at once when it is between two requests, otherwise after the present one.
  virtual void finish() = 0;
  /// Drops it, whatever it is doing.
  virtual void abort() = 0;
};

/// What open connections share: the rules that they serve, their bounds, and the list of all of them.
class ConnectionHost {
 public:
  ConnectionHost(Service& service, ServerLimits limits)
      : service_(service), router_(service), limits_(std::move(limits)), addresses_(limits_.connectionsPerAddress) {}

  Service& service() { return service_; }
  Router& router() { return router_; }
  const ServerLimits& limits() const { return limits_; }
  AddressLimiter& addresses() { return addresses_; }

  std::string_view date() { return date_.now(); }

  void add(ServerConnection& connection) {
    connections_.insert(&connection);
    most_ = std::max(most_, connections_.size());
  }
  void remove(ServerConnection& connection) {
    connections_.erase(&connection);
    giveBackMemory();
    if (connections_.empty() && whenEmpty_) std::exchange(whenEmpty_, nullptr)();
  }
  std::size_t count() const { return connections_.size(); }
  void finishAll() {
    for (ServerConnection* connection : std::set(connections_)) connection->finish();
  }
  void abortAll() {
    for (ServerConnection* connection : std::set(connections_)) connection->abort();
  }
  /// Calls `done` once no connection is left, at once if there is none.
  void whenEmpty(std::function<void()> done) {
    whenEmpty_ = std::move(done);
    if (connections_.empty() && whenEmpty_) std::exchange(whenEmpty_, nullptr)();
  }

 private:
  /// Called as connections end. Once half of many are gone, their memory goes back.
  void giveBackMemory() {
    constexpr std::size_t kMany = 256;
    if (most_ < kMany || connections_.size() > most_ / 2) return;
    most_ = connections_.size();
    service_.giveBackMemory();
  }

  Service& service_;
  Router router_;
  ServerLimits limits_;
  AddressLimiter addresses_;
  HTTPDate date_;
  std::set<ServerConnection*> connections_;
  std::size_t most_ = 0;  ///< At a time, since memory was given back.
  std::function<void()> whenEmpty_;
};

}  // namespace quillet
