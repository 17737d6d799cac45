// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "QuilletService/Service.h"
#include "QuilletService/ServiceError.h"

namespace quillet {

struct HTTPReply {
  int status = 200;
  std::string body;
};

/// From a request as it stood on the wire to the endpoint and back: path, signature, JSON, errors. Knows no socket.
class Router {
 public:
  explicit Router(Service& service) : service_(service) {}

  /// Never throws but for cancellation. The views in `request` must live until this is done.
  Awaitable<HTTPReply> handle(SignedRequest request);
  /// The desktop that asks for a relay socket. Throws what `refusal` turns into a reply.
  Device authenticateRelay(const SignedRequest& request);

  /// The reply for whatever an endpoint threw.
  static HTTPReply refusal(const std::exception_ptr& error);
  /// True for the path of the relay socket.
  static bool isRelayPath(std::string_view target);
  /// The largest body that this target takes.
  static std::size_t bodyLimit(std::string_view target);

 private:
  Awaitable<HTTPReply> dispatch(SignedRequest request);

  Service& service_;
};

}  // namespace quillet
