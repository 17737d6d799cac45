// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {

/// A refusal that goes to the client: an HTTP status and the body under the key `error`.
struct ServiceError : std::exception {
  ServiceError(int httpStatus, std::string code, std::string message, bool retryable = false)
      : status(httpStatus), body{std::move(code), std::move(message), retryable} {}
  const char* what() const noexcept override { return body.code.c_str(); }

  int status;
  APIErrorBody body;
};

/// A path that knows other methods only, which `allow` names.
struct MethodNotAllowed : ServiceError {
  explicit MethodNotAllowed(std::string methods)
      : ServiceError(405, "method_not_allowed", "This path doesn't take that method."), allow(std::move(methods)) {}
  std::string allow;
};

/// The refusals that more than one endpoint gives.
namespace Refusal {
ServiceError badRequest(std::string message);
ServiceError badSignature();
ServiceError unknownDevice();
ServiceError deviceRevoked();
ServiceError wrongPlatform(std::string message);
ServiceError notFound(std::string message);
ServiceError notPaired(int status);
ServiceError tooManyRequests();
}  // namespace Refusal

}  // namespace quillet
