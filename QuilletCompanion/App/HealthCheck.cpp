// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/HealthCheck.h"

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {
namespace {

constexpr auto kTimeout = std::chrono::seconds(8);
constexpr int kOKStatus = 200;

bool saysOK(const HTTPResponse& response) {
  if (response.status != kOKStatus) return false;
  try {
    return JSONCoding::decode<OK>(response.body).ok;
  } catch (const JSONCoding::DecodingError&) {
    return false;
  }
}

}  // namespace

Awaitable<bool> HealthCheck::isWell(ServiceURL service) {
  HTTPRequest request{"GET", service.resolve("/v1/health"), {}, {}, kTimeout};
  try {
    const HTTPResponse response = co_await session_.send(std::move(request));
    co_return saysOK(response);
  } catch (const TransportError&) {
    co_return false;
  }
}

Awaitable<bool> HealthCheck::check(ServiceURL service) {
  const int mine = ++newest_;
  state_.set(HealthState::checking);
  HealthState found = HealthState::unknown;
  std::exception_ptr givenUp;
  try {
    const bool well = co_await isWell(std::move(service));
    found = well ? HealthState::reachable : HealthState::unreachable;
  } catch (...) {
    givenUp = std::current_exception();
  }
  if (mine == newest_) state_.set(found);
  if (givenUp) std::rethrow_exception(givenUp);
  co_return found == HealthState::reachable;
}

}  // namespace quillet
