// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/RegistrationLoop.h"

#include <cmath>

#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr double kFirstWait = 2.0;

bool isRevocation(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const APIError& e) {
    return e.server() != nullptr && e.server()->body.code == "device_revoked";
  } catch (...) {
    return false;
  }
}

}  // namespace

RegistrationLoop::RegistrationLoop(Executor mainThread, TimeSource time, std::function<double()> jitter,
                                   std::function<std::string()> name, std::string appVersion)
    : time_(std::move(time)),
      jitter_(std::move(jitter)),
      name_(std::move(name)),
      appVersion_(std::move(appVersion)),
      task_(std::move(mainThread)) {}

void RegistrationLoop::start(std::shared_ptr<APIClient> api, int refusals) {
  task_.start([this, api = std::move(api), refusals](Task::Token token) { return run(token, api, refusals); });
}

void RegistrationLoop::stop() {
  task_.cancel();
  state_.set(Step::notStarted);
}

Awaitable<void> RegistrationLoop::waitBeforeRetry(Backoff& backoff) {
  const std::chrono::milliseconds delay(static_cast<std::int64_t>(backoff.nextDelay(jitter_()) * 1000));
  state_.set(Offline{time_.now() + delay.count()});
  co_await time_.sleep(delay);
}

Awaitable<std::exception_ptr> RegistrationLoop::attempt(std::shared_ptr<APIClient> api) {
  try {
    co_await api->registerDevice(DevicePlatform::macos, name_(), appVersion_);
  } catch (...) {
    co_return std::current_exception();
  }
  co_return nullptr;
}

// The token is asked after each suspension: a loop that was replaced writes no state, and one that was destroyed is not
// touched.
Awaitable<void> RegistrationLoop::run(Task::Token token, std::shared_ptr<APIClient> api, int refusals) {
  Backoff backoff{.base = kFirstWait};
  if (refusals > 1) {
    backoff.attempt = refusals - 2;
    co_await waitBeforeRetry(backoff);
    backoff.attempt = 0;
  }
  while (!token.cancelled()) {
    state_.set(Step::registering);
    if (token.cancelled()) co_return;
    const std::exception_ptr error = co_await attempt(api);
    if (token.cancelled() || isCancellation(error)) co_return;
    if (!error) {
      state_.set(Step::registered);
      Log::info("relay", "Registered with the server");
      if (!token.cancelled() && onRegistered) onRegistered();
      co_return;
    }
    if (isRevocation(error)) {
      state_.set(Step::revoked);
      if (!token.cancelled() && onRevoked) onRevoked();
      co_return;
    }
    co_await waitBeforeRetry(backoff);
  }
}

}  // namespace quillet
