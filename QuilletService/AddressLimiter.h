// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ip/address.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace quillet {

/// The IPv4 address that an IPv6 one stands for on a socket that serves both; any other as it is.
boost::asio::ip::address unmapped(const boost::asio::ip::address& address);

/// What an address counts as: itself, or for IPv6 the network of 64 bits that one customer is given.
std::string addressKey(const boost::asio::ip::address& address);

/// The client that a trusted proxy names last in an X-Forwarded-For header; absent if that is no address.
std::optional<boost::asio::ip::address> forwardedAddress(std::string_view header);

/// How many connections each address has open, up to a limit. Must outlive its leases. One thread.
class AddressLimiter {
 public:
  /// One counted connection; ends with its destruction.
  class Lease {
   public:
    Lease(Lease&& other) noexcept : owner_(std::exchange(other.owner_, nullptr)), address_(std::move(other.address_)) {}
    Lease& operator=(Lease&& other) noexcept {
      std::swap(owner_, other.owner_);
      std::swap(address_, other.address_);
      return *this;
    }
    ~Lease();
    const std::string& address() const { return address_; }

   private:
    friend class AddressLimiter;
    Lease(AddressLimiter* owner, std::string address) : owner_(owner), address_(std::move(address)) {}
    AddressLimiter* owner_;
    std::string address_;
  };

  /// No limit at 0.
  explicit AddressLimiter(std::size_t limit) : limit_(limit) {}
  /// Absent when the address has no room left.
  std::optional<Lease> take(std::string address);
  /// For whom no limit holds.
  static Lease unlimited(std::string address) { return {nullptr, std::move(address)}; }
  std::size_t addresses() const { return counts_.size(); }

 private:
  std::size_t limit_;
  std::unordered_map<std::string, std::size_t> counts_;
};

}  // namespace quillet
