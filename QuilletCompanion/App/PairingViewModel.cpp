// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/PairingViewModel.h"

#include <cmath>
#include <stdexcept>
#include <type_traits>
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

/// What a call to the service came to; neither where it wasn't reached.
template <typename T>
struct Answer {
  std::optional<T> value;
  std::optional<APIError::Server> server;
};

/// Throws cancellations alone.
template <typename T>
Awaitable<Answer<T>> ask(Awaitable<T> call) {
  Answer<T> answer;
  try {
    answer.value = co_await std::move(call);
  } catch (const APIError& error) {
    if (const auto* server = error.server()) answer.server = *server;
  } catch (const std::exception& error) {
    if (isCancellation(error)) throw;
  }
  co_return answer;
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

/// One pairing, from its first code to its end. Belongs to its coroutine. Whoever watches the view model may give the
/// run up or destroy the view model in the middle of a write: from then on the run writes nothing there, and its next
/// suspension ends it. The token says so; the task's own cancellation may reach a coroutine one step late.
class PairingViewModel::Run {
 public:
  Run(PairingViewModel& model, Task::Token wanted) : model_(model), parts_(model.parts_), wanted_(std::move(wanted)) {}

  /// What people see of a fresh run at once. False when it was given up over that.
  bool showStart();
  Awaitable<void> untilPaired();

 private:
  /// One session at the service, with the keys made for it and, once a phone claimed it, what is to be verified.
  struct Session {
    CreatePairingResponse created;
    Crypto::Key privateKey, publicKey;
    std::optional<PairingCrypto> crypto;
    std::string phoneDeviceId, phoneName;
    std::shared_ptr<const void> claim;
    Words words;
    std::int64_t expiresAt = 0;
    bool wasAlive = false;  ///< The service has said so, before it expired by our clock.
  };

  Awaitable<std::optional<Session>> create();
  void show(const Session& session);
  Awaitable<std::optional<PairingStatus>> waitForClaim(Session& session, bool& renew);
  void takeWords(Session& session, const PairingStatus& status) const;
  Awaitable<bool> verify(const Session& session);
  Awaitable<std::optional<PairingStatus>> confirmAtService(const Session& session);
  Awaitable<void> finalWait(const Session& session, PairingStatus status);
  void finish(const Session& session, const std::string& sealedIdentity);
  bool endedElsewhere(PairingState state);

  bool confirmed() const { return !wanted_.cancelled() && model_.confirmRequested_; }
  template <typename T>
  void write(Observable<T> PairingViewModel::*shown, std::type_identity_t<T> value) {
    if (!wanted_.cancelled()) (model_.*shown).set(std::move(value));
  }
  void setSession(std::optional<std::string> id);
  void cancelSession();
  void fail(Failure failure) { write(&PairingViewModel::phase, std::move(failure)); }
  void failAndCancelSession(Failure failure);

  PairingViewModel& model_;  ///< Gone once `wanted_` is cancelled.
  const std::shared_ptr<const Parts> parts_;
  const Task::Token wanted_;
};

bool PairingViewModel::Run::showStart() {
  write(&PairingViewModel::showCode, false);
  write(&PairingViewModel::networkTrouble, false);
  write(&PairingViewModel::phase, Starting{});
  return !wanted_.cancelled();
}

Awaitable<void> PairingViewModel::Run::untilPaired() {
  // Sessions in a row that were over before they began: clocks that are apart, or a service that has lost them.
  for (int stillborn = 0;;) {
    auto session = co_await create();
    if (!session) co_return;
    show(*session);
    bool renew = false;
    const auto claim = co_await waitForClaim(*session, renew);
    if (renew) {
      cancelSession();
      stillborn = session->wasAlive ? 0 : stillborn + 1;
      if (stillborn > 1) co_await parts_->time.sleep(renewalWait(stillborn - 2));
      continue;
    }
    if (!claim) co_return;
    try {
      takeWords(*session, *claim);
    } catch (const std::exception&) {
      failAndCancelSession({Kind::verificationFailed, {}});
      co_return;
    }
    write(&PairingViewModel::phase, Verify{session->phoneName, session->words});
    if (!co_await verify(*session)) co_return;
    const auto confirmed = co_await confirmAtService(*session);
    if (confirmed) co_await finalWait(*session, *confirmed);
    co_return;
  }
}

Awaitable<std::optional<PairingViewModel::Run::Session>> PairingViewModel::Run::create() {
  for (;;) {
    Session session;
    session.privateKey = Crypto::generatePrivateKey();
    session.publicKey = Crypto::x25519PublicKey(session.privateKey);
    auto answer = co_await ask(parts_->api->createPairingSession(
        Bytes(session.publicKey.begin(), session.publicKey.end()), parts_->macName()));
    if (answer.value) {
      session.created = std::move(*answer.value);
      if (!wanted_.cancelled()) co_return session;
      cancelAtService(parts_->mainThread, parts_->api, session.created.sessionId);
      co_return std::nullopt;
    }
    if (answer.server) {
      fail({Kind::server, answer.server->body.message});
      co_return std::nullopt;
    }
    fail({Kind::offline, {}});
    co_await parts_->time.sleep(kOfflineRetryInterval);
  }
}

void PairingViewModel::Run::show(const Session& session) {
  setSession(session.created.sessionId);
  write(&PairingViewModel::networkTrouble, false);
  write(&PairingViewModel::phase,
        Invitation{.sessionId = session.created.sessionId,
                   .qrContent = PairingInvitation{session.created.sessionId, session.publicKey}.text(),
                   .code = session.created.code,
                   .expiresAt = session.created.expiresAt});
}

Awaitable<std::optional<PairingStatus>> PairingViewModel::Run::waitForClaim(Session& session, bool& renew) {
  while (parts_->time.now() < session.created.expiresAt) {
    auto answer = co_await ask(parts_->api->pairingStatus(session.created.sessionId));
    write(&PairingViewModel::networkTrouble, !answer.value && !answer.server);
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
    co_await parts_->time.sleep(kPollInterval);
  }
  renew = true;
  co_return std::nullopt;
}

void PairingViewModel::Run::takeWords(Session& session, const PairingStatus& status) const {
  const auto phoneKey = Base64URL::decode(status.phoneEphemeralPublicKey.value_or(""));
  if (!phoneKey || !status.phoneDeviceId || status.phoneDeviceId->empty()) {
    throw EnvelopeError(EnvelopeError::Code::badEncoding);
  }
  session.phoneDeviceId = *status.phoneDeviceId;
  session.claim = parts_->onClaimed(session.phoneDeviceId);
  session.crypto.emplace(session.created.sessionId, session.publicKey, Crypto::keyFrom(*phoneKey),
                         parts_->identity.deviceId(), session.phoneDeviceId, session.privateKey);
  session.phoneName = displayName(status.phoneName);
  session.words = session.crypto->verificationWords();
  session.expiresAt = status.expiresAt;
}

Awaitable<bool> PairingViewModel::Run::verify(const Session& session) {
  MonotonicTime lastPoll = parts_->time.monotonic();
  while (!confirmed()) {
    if (parts_->time.now() >= session.expiresAt) {
      failAndCancelSession({Kind::expired, {}});
      co_return false;
    }
    if (parts_->time.monotonic() - lastPoll >= kPollInterval) {
      lastPoll = parts_->time.monotonic();
      const auto answer = co_await ask(parts_->api->pairingStatus(session.created.sessionId));
      if (answer.value && endedElsewhere(answer.value->state)) co_return false;
    }
    co_await parts_->time.sleep(kVerificationStep);
  }
  co_return true;
}

Awaitable<std::optional<PairingStatus>> PairingViewModel::Run::confirmAtService(const Session& session) {
  write(&PairingViewModel::phase, Confirming{session.phoneName, session.words});
  std::string sealed;
  try {
    sealed = session.crypto->sealIdentity(parts_->identity.peerIdentity(parts_->macName(), DevicePlatform::macos));
  } catch (const std::exception&) {
    failAndCancelSession({Kind::verificationFailed, {}});
    co_return std::nullopt;
  }
  for (int attempt = 1;; ++attempt) {
    const auto answer = co_await ask(parts_->api->confirmPairing(session.created.sessionId, sealed));
    if (answer.value) co_return answer.value;
    if (answer.server || attempt == kConfirmationAttempts) {
      failAndCancelSession(answer.server ? Failure{Kind::server, answer.server->body.message}
                                         : Failure{Kind::offline, {}});
      co_return std::nullopt;
    }
    co_await parts_->time.sleep(kPollInterval);
  }
}

Awaitable<void> PairingViewModel::Run::finalWait(const Session& session, PairingStatus status) {
  while (!endedElsewhere(status.state)) {
    if (status.state == PairingState::paired && status.peerSealedIdentity) {
      finish(session, *status.peerSealedIdentity);
      co_return;
    }
    if (parts_->time.now() >= session.expiresAt + kGraceMs) {
      failAndCancelSession({Kind::expired, {}});
      co_return;
    }
    co_await parts_->time.sleep(kPollInterval);
    auto answer = co_await ask(parts_->api->pairingStatus(session.created.sessionId));
    if (answer.value) status = std::move(*answer.value);
  }
}

void PairingViewModel::Run::finish(const Session& session, const std::string& sealedIdentity) {
  if (wanted_.cancelled()) return;
  PeerIdentity phone;
  try {
    phone = session.crypto->openIdentity(sealedIdentity, session.phoneDeviceId);
    if (phone.platform != DevicePlatform::ios) throw EnvelopeError(EnvelopeError::Code::wrongSender);
    setSession(std::nullopt);  // whoever gives up now undoes nothing
    parts_->onPaired(phone);
  } catch (const std::exception&) {
    setSession(session.created.sessionId);
    return failAndCancelSession({Kind::verificationFailed, {}});
  }
  Log::info("pairing", "Paired a new iPhone");
  write(&PairingViewModel::phase, Paired{phone.name});
}

/// True, with the failure on show, when the phone or the service has ended the session.
bool PairingViewModel::Run::endedElsewhere(PairingState state) {
  if (state != PairingState::cancelled && state != PairingState::expired) return false;
  setSession(std::nullopt);
  fail({state == PairingState::cancelled ? Kind::cancelledByPhone : Kind::expired, {}});
  return true;
}

void PairingViewModel::Run::setSession(std::optional<std::string> id) {
  if (!wanted_.cancelled()) model_.currentSessionId_ = std::move(id);
}

void PairingViewModel::Run::cancelSession() {
  if (!wanted_.cancelled()) model_.cancelSession();
}

void PairingViewModel::Run::failAndCancelSession(Failure failure) {
  cancelSession();
  fail(std::move(failure));
}

PairingViewModel::PairingViewModel(Executor mainThread, std::shared_ptr<PairingAPI> api, DeviceIdentity identity,
                                   std::function<std::string()> macName, OnClaimed onClaimed,
                                   std::function<void(const PeerIdentity&)> onPaired, TimeSource time)
    : parts_(std::make_shared<const Parts>(Parts{.mainThread = mainThread,
                                                 .api = std::move(api),
                                                 .identity = std::move(identity),
                                                 .macName = std::move(macName),
                                                 .onClaimed = std::move(onClaimed),
                                                 .onPaired = std::move(onPaired),
                                                 .time = std::move(time)})),
      task_(std::move(mainThread)) {}

PairingViewModel::~PairingViewModel() = default;

void PairingViewModel::start() {
  giveUp();
  cancelSession();
  confirmRequested_ = false;
  Run run(*this, wanted_.emplace().token());
  if (run.showStart()) task_.start([run]() mutable { return run.untilPaired(); });
}

void PairingViewModel::confirm() {
  if (std::holds_alternative<Verify>(phase.get())) confirmRequested_ = true;
}

void PairingViewModel::cancel() {
  giveUp();
  cancelSession();
  phase.set(Failure{Failure::Kind::cancelledHere, {}});
}

void PairingViewModel::stop() {
  giveUp();
  if (std::holds_alternative<Paired>(phase.get())) return;
  cancelSession();
  phase.set(Idle{});
}

bool PairingViewModel::isRetrying() const {
  const auto* failure = std::get_if<Failure>(&phase.get());
  return failure != nullptr && failure->kind == Failure::Kind::offline && task_.running();
}

void PairingViewModel::giveUp() {
  wanted_.reset();
  task_.cancel();
}

void PairingViewModel::cancelSession() {
  if (const auto id = std::exchange(currentSessionId_, std::nullopt))
    cancelAtService(parts_->mainThread, parts_->api, *id);
}

}  // namespace quillet
