// SPDX-License-Identifier: MIT
#include "QuilletService/AddressLimiter.h"

#include <algorithm>

namespace quillet {

namespace ip = boost::asio::ip;

ip::address unmapped(const ip::address& address) {
  if (!address.is_v6() || !address.to_v6().is_v4_mapped()) return address;
  return ip::make_address_v4(ip::v4_mapped, address.to_v6());
}

std::string addressKey(const ip::address& address) {
  const ip::address plain = unmapped(address);
  if (plain.is_v4()) return plain.to_string();
  auto bytes = plain.to_v6().to_bytes();
  std::fill(bytes.begin() + 8, bytes.end(), std::uint8_t{0});
  return ip::address_v6(bytes).to_string();
}

std::optional<ip::address> forwardedAddress(std::string_view header) {
  std::string_view last = header.substr(header.rfind(',') + 1);  // npos + 1 is 0
  while (last.starts_with(' ')) last.remove_prefix(1);
  while (last.ends_with(' ')) last.remove_suffix(1);
  boost::system::error_code error;
  const ip::address address = ip::make_address(std::string(last), error);
  if (error) return std::nullopt;
  return address;
}

AddressLimiter::Lease::~Lease() {
  if (owner_ == nullptr) return;
  const auto count = owner_->counts_.find(address_);
  if (--count->second == 0) owner_->counts_.erase(count);
}

std::optional<AddressLimiter::Lease> AddressLimiter::take(std::string address) {
  std::size_t& count = counts_[address];
  if (limit_ != 0 && count >= limit_) return std::nullopt;
  ++count;
  return Lease(this, std::move(address));
}

}  // namespace quillet
