// SPDX-License-Identifier: MIT
#include "QuilletService/ServiceError.h"

namespace quillet::Refusal {

ServiceError badRequest(std::string message) {
  return {400, "bad_request", std::move(message)};
}
ServiceError badSignature() {
  return {401, "bad_signature", "The request's signature is missing or wrong."};
}
ServiceError unknownDevice() {
  return {401, "unknown_device", "This device isn't registered."};
}
ServiceError deviceRevoked() {
  return {403, "device_revoked", "This device was deleted."};
}
ServiceError wrongPlatform(std::string message) {
  return {403, "wrong_platform", std::move(message)};
}
ServiceError notFound(std::string message) {
  return {404, "not_found", std::move(message)};
}
ServiceError notPaired(int status) {
  return {status, "not_paired", "The two devices aren't paired."};
}
ServiceError tooManyRequests() {
  return {429, "too_many_requests", "Too many requests. Try again in a while.", true};
}

}  // namespace quillet::Refusal
