// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/PairingViewModel.h"

#include <boost/asio/error.hpp>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "QuilletCompanion/Relay/Backoff.h"
#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/Protocol/Envelope.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using Kind = PairingViewModel::Failure::Kind;

constexpr Duration kPollInterval = 1s;
constexpr Duration kOfflineRetryInterval = 5s;
constexpr Duration kVerificationStep = 100ms;
constexpr std::int64_t kGraceMs = 5'000;
constexpr int kConfirmationAttempts = 5;
constexpr std::size_t kNameCharacters = 64;

/// 2 s at first, doubling to 30 s.
Duration renewalWait(int attempt) {
  const double seconds = Backoff{.base = 2.0, .cap = 30.0, .attempt = attempt}.nextDelay(1.0);
  return std::chrono::milliseconds(std::lround(seconds * 1000));
}

/// What a call to the service came to. `value` may be there although the task was cancelled meanwhile.
template <typename T>
struct Answer {
  std::optional<T> value;
  std::optional<APIError::Server> server;
  bool cancelled = false;
};

/// Expires when the run was given up. The task's cancellation isn't enough: it may reach a coroutine one step late.
using Wanted = std::weak_ptr<const bool>;

template <typename T>
Awaitable<Answer<T>> ask(Wanted wanted, Awaitable<T> call) {
  Answer<T> answer;
  try {
    answer.value = co_await std::move(call);
  } catch (const APIError& error) {
    if (const auto* server = error.server()) answer.server = *server;
  } catch (const std::exception& error) {
    answer.cancelled = isCancellation(error);
  }
  if (wanted.expired()) answer.cancelled = true;
  co_return answer;
}

/// Throws the cancellation error for a run that was given up meanwhile.
Awaitable<void> pause(Wanted wanted, Awaitable<void> sleep) {
  co_await std::move(sleep);
  if (wanted.expired()) throw boost::system::system_error(boost::asio::error::operation_aborted);
}

Awaitable<void> cancelQuietly(std::shared_ptr<PairingAPI> api, std::string sessionId) {
  try {
    co_await api->cancelPairing(std::move(sessionId));
  } catch (const std::exception&) {
    // The service lets sessions expire by itself.
  }
}

void cancelAtService(const Executor& mainThread, std::shared_ptr<PairingAPI> api, std::string sessionId) {
  startDetached(mainThread, [api = std::move(api), id = std::move(sessionId)] { return cancelQuietly(api, id); });
}

std::string displayName(const std::optional<std::string>& given) {
  const std::string name(Unicode::cutToClusters(Unicode::trim(given.value_or("")), kNameCharacters));
  return name.empty() ? "iPhone" : name;
}

}  // namespace

/// One session at the service, with the keys made for it and, once a phone claimed it, what is to be verified.
struct PairingViewModel::Session {
  Wanted wanted;
  CreatePairingResponse created;
  Crypto::Key privateKey, publicKey;
  std::optional<PairingCrypto> crypto;
  std::string phoneDeviceId, phoneName;
  Words words;
  std::int64_t expiresAt = 0;
  bool wasAlive = false;  ///< The service has said so, before it expired by our clock.
};

PairingViewModel::PairingViewModel(Executor mainThread, std::shared_ptr<PairingAPI> api, DeviceIdentity identity,
                                   std::function<std::string()> macName,
                                   std::function<void(const PeerIdentity&)> onPaired, TimeSource time)
    : mainThread_(std::move(mainThread)),
      api_(std::move(api)),
      identity_(std::move(identity)),
      macName_(std::move(macName)),
      onPaired_(std::move(onPaired)),
      time_(std::move(time)),
      task_(mainThread_) {}

PairingViewModel::~PairingViewModel() = default;

void PairingViewModel::start() {
  giveUp();
  cancelSession();
  confirmRequested_ = false;
  wanted_ = std::make_shared<const bool>(true);
  const Wanted wanted = wanted_;
  showCode.set(false);
  if (!wanted.expired()) networkTrouble.set(false);
  if (!wanted.expired()) phase.set(Starting{});
  if (wanted.expired()) return;
  task_.start([this, wanted]() -> Awaitable<void> {
    if (!wanted.expired()) co_await run(wanted);
  });
}

void PairingViewModel::confirm() {
  if (std::holds_alternative<Verify>(phase.get())) confirmRequested_ = true;
}

void PairingViewModel::cancel() {
  giveUp();
  failAndCancelSession({Kind::cancelledHere, {}});
}

void PairingViewModel::stop() {
  giveUp();
  if (std::holds_alternative<Paired>(phase.get())) return;
  cancelSession();
  phase.set(Idle{});
}

bool PairingViewModel::isRetrying() const {
  const auto* failure = std::get_if<Failure>(&phase.get());
  return failure != nullptr && failure->kind == Kind::offline && task_.running();
}

// In what follows, a run that was given up may mean that the view model is gone. Each suspension goes through `ask` or
// `pause`, and each observable is written last of all: nothing else follows before it is known that the run is still
// wanted.

Awaitable<void> PairingViewModel::run(std::weak_ptr<const bool> wanted) {
  const auto api = api_;  // outlives what it was asked, whatever becomes of the view model
  // Sessions in a row that were over before they began: clocks that are apart, or a service that has lost them.
  for (int stillborn = 0;;) {
    auto session = co_await create(wanted);
    if (!session) co_return;
    show(*session);
    if (wanted.expired()) co_return;
    bool renew = false;
    const auto claim = co_await waitForClaim(*session, renew);
    if (renew) {
      cancelSession();
      stillborn = session->wasAlive ? 0 : stillborn + 1;
      if (stillborn > 1) co_await pause(wanted, time_.sleep(renewalWait(stillborn - 2)));
      continue;
    }
    if (!claim || wanted.expired()) co_return;
    try {
      takeWords(*session, *claim);
    } catch (const std::exception&) {
      failAndCancelSession({Kind::verificationFailed, {}});
      co_return;
    }
    phase.set(Verify{session->phoneName, session->words});
    if (wanted.expired()) co_return;
    if (!co_await verify(*session)) co_return;
    const auto confirmed = co_await confirmAtService(*session);
    if (confirmed) co_await finalWait(*session, *confirmed);
    co_return;
  }
}

Awaitable<std::optional<PairingViewModel::Session>> PairingViewModel::create(std::weak_ptr<const bool> wanted) {
  const Executor mainThread = mainThread_;
  const auto api = api_;
  for (;;) {
    Session session;
    session.wanted = wanted;
    session.privateKey = Crypto::generatePrivateKey();
    session.publicKey = Crypto::x25519PublicKey(session.privateKey);
    auto answer = co_await ask(
        wanted, api_->createPairingSession(Bytes(session.publicKey.begin(), session.publicKey.end()), macName_()));
    if (answer.cancelled) {
      if (answer.value) cancelAtService(mainThread, api, answer.value->sessionId);
      co_return std::nullopt;
    }
    if (answer.value) {
      session.created = std::move(*answer.value);
      co_return session;
    }
    if (answer.server) {
      fail({Kind::server, answer.server->body.message});
      co_return std::nullopt;
    }
    fail({Kind::offline, {}});
    if (wanted.expired()) co_return std::nullopt;
    co_await pause(wanted, time_.sleep(kOfflineRetryInterval));
  }
}

void PairingViewModel::show(const Session& session) {
  currentSessionId_ = session.created.sessionId;
  networkTrouble.set(false);
  if (session.wanted.expired()) return;
  phase.set(Invitation{.sessionId = session.created.sessionId,
                       .qrContent = PairingInvitation{session.created.sessionId, session.publicKey}.text(),
                       .code = session.created.code,
                       .expiresAt = session.created.expiresAt});
}

Awaitable<std::optional<PairingStatus>> PairingViewModel::waitForClaim(Session& session, bool& renew) {
  while (time_.now() < session.created.expiresAt) {
    auto answer = co_await ask(session.wanted, api_->pairingStatus(session.created.sessionId));
    if (answer.cancelled) co_return std::nullopt;
    networkTrouble.set(!answer.value && !answer.server);
    if (session.wanted.expired()) co_return std::nullopt;
    if (answer.server) {
      renew = answer.server->status == 404 || answer.server->status == 410;
      if (!renew) failAndCancelSession({Kind::server, answer.server->body.message});
      co_return std::nullopt;
    }
    if (answer.value && answer.value->state == PairingState::claimed) co_return answer.value;
    if (answer.value && answer.value->state == PairingState::expired) break;
    if (answer.value && answer.value->state == PairingState::paired) {
      failAndCancelSession({Kind::verificationFailed, {}});  // nobody can have finished what we didn't confirm
      co_return std::nullopt;
    }
    if (answer.value && endedElsewhere(answer.value->state)) co_return std::nullopt;
    session.wasAlive = session.wasAlive || answer.value;
    co_await pause(session.wanted, time_.sleep(kPollInterval));
  }
  renew = true;
  co_return std::nullopt;
}

void PairingViewModel::takeWords(Session& session, const PairingStatus& status) const {
  const auto phoneKey = Base64URL::decode(status.phoneEphemeralPublicKey.value_or(""));
  if (!phoneKey || !status.phoneDeviceId || status.phoneDeviceId->empty()) {
    throw EnvelopeError(EnvelopeError::Code::badEncoding);
  }
  session.phoneDeviceId = *status.phoneDeviceId;
  session.crypto.emplace(session.created.sessionId, session.publicKey, Crypto::keyFrom(*phoneKey), identity_.deviceId(),
                         session.phoneDeviceId, session.privateKey);
  session.phoneName = displayName(status.phoneName);
  session.words = session.crypto->verificationWords();
  session.expiresAt = status.expiresAt;
}

Awaitable<bool> PairingViewModel::verify(const Session& session) {
  MonotonicTime lastPoll = time_.monotonic();
  while (!confirmRequested_) {
    if (time_.now() >= session.expiresAt) {
      failAndCancelSession({Kind::expired, {}});
      co_return false;
    }
    if (time_.monotonic() - lastPoll >= kPollInterval) {
      lastPoll = time_.monotonic();
      const auto answer = co_await ask(session.wanted, api_->pairingStatus(session.created.sessionId));
      if (answer.cancelled || (answer.value && endedElsewhere(answer.value->state))) co_return false;
    }
    co_await pause(session.wanted, time_.sleep(kVerificationStep));
  }
  co_return true;
}

Awaitable<std::optional<PairingStatus>> PairingViewModel::confirmAtService(const Session& session) {
  phase.set(Confirming{session.phoneName, session.words});
  if (session.wanted.expired()) co_return std::nullopt;
  std::string sealed;
  try {
    sealed = session.crypto->sealIdentity(identity_.peerIdentity(macName_(), DevicePlatform::macos));
  } catch (const std::exception&) {
    failAndCancelSession({Kind::verificationFailed, {}});
    co_return std::nullopt;
  }
  for (int attempt = 1;; ++attempt) {
    const auto answer = co_await ask(session.wanted, api_->confirmPairing(session.created.sessionId, sealed));
    if (answer.cancelled) co_return std::nullopt;
    if (answer.value) co_return answer.value;
    if (answer.server || attempt == kConfirmationAttempts) {
      failAndCancelSession(answer.server ? Failure{Kind::server, answer.server->body.message}
                                         : Failure{Kind::offline, {}});
      co_return std::nullopt;
    }
    co_await pause(session.wanted, time_.sleep(kPollInterval));
  }
}

Awaitable<void> PairingViewModel::finalWait(const Session& session, PairingStatus status) {
  while (!endedElsewhere(status.state)) {
    if (status.state == PairingState::paired && status.peerSealedIdentity) {
      finish(session, *status.peerSealedIdentity);
      co_return;
    }
    if (time_.now() >= session.expiresAt + kGraceMs) {
      failAndCancelSession({Kind::expired, {}});
      co_return;
    }
    co_await pause(session.wanted, time_.sleep(kPollInterval));
    auto answer = co_await ask(session.wanted, api_->pairingStatus(session.created.sessionId));
    if (answer.cancelled) co_return;
    if (answer.value) status = std::move(*answer.value);
  }
}

void PairingViewModel::finish(const Session& session, const std::string& sealedIdentity) {
  const auto onPaired = onPaired_;  // may give up this run, and the view model with it
  PeerIdentity phone;
  try {
    phone = session.crypto->openIdentity(sealedIdentity, session.phoneDeviceId);
    if (phone.platform != DevicePlatform::ios) throw EnvelopeError(EnvelopeError::Code::wrongSender);
    currentSessionId_.reset();
    onPaired(phone);
  } catch (const std::exception&) {
    if (session.wanted.expired()) return;
    currentSessionId_ = session.created.sessionId;
    return failAndCancelSession({Kind::verificationFailed, {}});
  }
  Log::info("pairing", "Paired a new iPhone");
  if (session.wanted.expired()) return;
  phase.set(Paired{phone.name});
}

void PairingViewModel::fail(Failure failure) {
  phase.set(std::move(failure));
}

void PairingViewModel::failAndCancelSession(Failure failure) {
  cancelSession();
  fail(std::move(failure));
}

/// True, with the failure on show, when the phone or the service has ended the session.
bool PairingViewModel::endedElsewhere(PairingState state) {
  if (state != PairingState::cancelled && state != PairingState::expired) return false;
  currentSessionId_.reset();
  fail({state == PairingState::cancelled ? Kind::cancelledByPhone : Kind::expired, {}});
  return true;
}

void PairingViewModel::giveUp() {
  wanted_.reset();
  task_.cancel();
}

void PairingViewModel::cancelSession() {
  if (const auto id = std::exchange(currentSessionId_, std::nullopt)) cancelAtService(mainThread_, api_, *id);
}

}  // namespace quillet
