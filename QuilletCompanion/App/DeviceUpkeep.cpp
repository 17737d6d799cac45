// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DeviceUpkeep.h"

#include <algorithm>

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

constexpr std::int64_t kGraceMilliseconds = 120'000;
constexpr std::size_t kLongestName = 64;

/// What the service said to the attempt to revoke a pair.
enum class Answer { done, missing, notOurs, failed };

Awaitable<Answer> askToRevoke(std::shared_ptr<APIClient> api, std::string peerDeviceId) {
  try {
    co_await api->removePair(std::move(peerDeviceId));
    co_return Answer::done;
  } catch (const APIError& error) {
    const int status = error.server() != nullptr ? error.server()->status : 0;
    if (status == 404) co_return Answer::missing;
    co_return status == 403 ? Answer::notOurs : Answer::failed;
  } catch (const std::exception&) {
    co_return Answer::failed;  // given up by the caller: the service may not have heard
  }
}

}  // namespace

DeviceUpkeep::DeviceUpkeep(Executor mainThread, std::function<std::int64_t()> now, std::string macName,
                           UserDefaults& defaults, PeerStore& peers, const RegistrationLoop& registration)
    : now_(std::move(now)),
      defaults_(defaults),
      peers_(peers),
      registration_(registration),
      macName_(std::move(macName)),
      task_(std::move(mainThread)) {}

void DeviceUpkeep::attach(std::shared_ptr<APIClient> api, TargetGuard& guard) {
  attached_.emplace(std::move(api), guard);
}

void DeviceUpkeep::detach() {
  task_.cancel();
  working_ = flushWanted_ = reconcileWanted_ = false;
  attached_.reset();
  serverPairs_.set({});
}

std::string DeviceUpkeep::cutName(std::string_view name) {
  return std::string(Unicode::cutToClusters(Unicode::trim(name), kLongestName));
}

bool DeviceUpkeep::rename(std::string_view name) {
  const std::string cut = cutName(name);
  if (cut.empty() || cut == macName_.get() || !Unicode::isValidUTF8(cut)) return false;
  macName_.set(cut);
  defaults_.set("macName", boost::json::string(cut));
  defaults_.set("pendingRename", true);
  return true;
}

Awaitable<bool> DeviceUpkeep::revoke(std::string peerDeviceId) {
  // First of all, so that it is not lost however this process ends.
  if (attached_) queueRevocation(peerDeviceId);
  forgetPeer(peerDeviceId);
  dropPair(peerDeviceId);
  if (!attached_) co_return false;
  const auto api = attached_->api;
  const Answer answer = co_await askToRevoke(api, peerDeviceId);
  if (answer != Answer::done && answer != Answer::missing) co_return false;
  // After a reset this is another device, whose pairs those were not.
  if (attached_ && attached_->api == api) forgetRevocation(peerDeviceId);
  co_return true;
}

void DeviceUpkeep::dropPair(const std::string& peerDeviceId) {
  auto pairs = serverPairs_.get();
  std::erase_if(pairs, [&](const PairSummary& pair) { return pair.peerDeviceId == peerDeviceId; });
  serverPairs_.set(std::move(pairs));
}

void DeviceUpkeep::forgetPeer(const std::string& peerDeviceId) {
  if (attached_) attached_->guard.dropTokens(peerDeviceId);
  try {
    peers_.remove(peerDeviceId);
  } catch (const std::exception&) {
    return;  // gone from memory, which is what deliveries look at
  }
}

void DeviceUpkeep::queueRevocation(const std::string& peerDeviceId) {
  boost::json::array queue;
  for (const auto& id : defaults_.strings("pendingRevocations")) {
    if (id == peerDeviceId) return;
    queue.emplace_back(id);
  }
  queue.emplace_back(peerDeviceId);
  defaults_.set("pendingRevocations", std::move(queue));
}

void DeviceUpkeep::forgetRevocation(const std::string& peerDeviceId) {
  const auto queue = defaults_.strings("pendingRevocations");
  boost::json::array left;
  for (const auto& id : queue) {
    if (id != peerDeviceId) left.emplace_back(id);
  }
  if (left.size() < queue.size()) defaults_.set("pendingRevocations", std::move(left));
}

void DeviceUpkeep::flushPending() {
  flushWanted_ = true;
  work();
}

void DeviceUpkeep::reconcilePairs() {
  reconcileWanted_ = true;
  work();
}

// One worker for both, so that two requests about the same thing never overtake each other: what is wanted while it
// works makes it go round again.
void DeviceUpkeep::work() {
  if (!attached_) flushWanted_ = reconcileWanted_ = false;
  if (!attached_ || std::exchange(working_, true)) return;
  task_.start([this, api = attached_->api](Task::Token token) { return workOff(token, api); });
}

Awaitable<void> DeviceUpkeep::workOff(Task::Token token, std::shared_ptr<APIClient> api) {
  while (!token.cancelled()) {
    if (std::exchange(flushWanted_, false)) {
      co_await sendName(token, api);
      if (!token.cancelled()) co_await sendRevocations(token, api);
    } else if (std::exchange(reconcileWanted_, false)) {
      co_await fetchPairs(token, api);
    } else {
      working_ = false;
      co_return;
    }
  }
}

Awaitable<void> DeviceUpkeep::sendName(Task::Token token, std::shared_ptr<APIClient> api) {
  if (!registration_.isRegistered() || !defaults_.boolean("pendingRename")) co_return;
  const std::string name = macName_.get();
  try {
    co_await api->rename(name);
  } catch (const std::exception&) {
    co_return;
  }
  if (!token.cancelled() && name == macName_.get()) defaults_.set("pendingRename", false);
}

Awaitable<void> DeviceUpkeep::sendRevocations(Task::Token token, std::shared_ptr<APIClient> api) {
  if (!registration_.isRegistered()) co_return;
  for (const auto& id : defaults_.strings("pendingRevocations")) {
    const auto left = defaults_.strings("pendingRevocations");
    if (std::find(left.begin(), left.end(), id) == left.end()) continue;  // paired anew meanwhile
    const Answer answer = co_await askToRevoke(api, id);
    if (token.cancelled()) co_return;
    if (answer != Answer::failed) forgetRevocation(id);
  }
}

Awaitable<void> DeviceUpkeep::fetchPairs(Task::Token token, std::shared_ptr<APIClient> api) {
  if (!registration_.isRegistered()) co_return;
  try {
    PairsResponse answer = co_await api->pairs();
    if (token.cancelled()) co_return;
    serverPairs_.set(std::move(answer.pairs));
  } catch (const std::exception&) {
    co_return;  // the next registration or relay connect asks again
  }
  if (token.cancelled()) co_return;
  dropUnlistedPeers();
  co_await endUnheldPairs(token, api);
}

void DeviceUpkeep::dropUnlistedPeers() {
  const auto known = peers_.peers().get();
  const auto listed = serverPairs_.get();
  for (const auto& peer : known) {
    const auto isPeer = [&](const PairSummary& pair) { return pair.peerDeviceId == peer.identity.deviceId; };
    if (now_() - peer.pairedAt <= kGraceMilliseconds || std::any_of(listed.begin(), listed.end(), isPeer)) continue;
    forgetPeer(peer.identity.deviceId);
  }
}

std::shared_ptr<const void> DeviceUpkeep::expectPeer(std::string peerDeviceId) {
  auto expected = std::make_shared<const std::string>(std::move(peerDeviceId));
  expectedPeers_.push_back(expected);
  return expected;
}

bool DeviceUpkeep::isExpected(const std::string& peerDeviceId) {
  std::erase_if(expectedPeers_, [](const auto& expected) { return expected.expired(); });
  return std::any_of(expectedPeers_.begin(), expectedPeers_.end(), [&](const auto& expected) {
    const auto id = expected.lock();
    return id && *id == peerDeviceId;
  });
}

// What fails is asked again with the next list.
Awaitable<void> DeviceUpkeep::endUnheldPairs(Task::Token token, std::shared_ptr<APIClient> api) {
  if (!peers_.isComplete()) co_return;  // what is held isn't known
  const auto listed = serverPairs_.get();
  for (const auto& pair : listed) {
    const auto& id = pair.peerDeviceId;
    if (peers_.peer(id) || isExpected(id)) continue;
    Log::standard("pairing", "Ending a pairing that the service knows and this computer doesn't");
    const Answer answer = co_await askToRevoke(api, id);
    if (token.cancelled()) co_return;
    if (answer == Answer::done || answer == Answer::missing) dropPair(id);
  }
}

}  // namespace quillet
