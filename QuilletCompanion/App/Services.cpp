// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/Services.h"

#include <utility>

namespace quillet {
namespace {

constexpr std::size_t kMaximumSocketMessage = 1'048'576;

std::shared_ptr<RelayConnection> makeConnection(const AppModelParts& parts, std::shared_ptr<APIClient> api) {
  return std::make_shared<RelayConnection>(
      parts.mainThread, [api = std::move(api)] { return api->relayRequest(); },
      [&session = parts.network.session, mainThread = parts.mainThread](HTTPRequest request, std::size_t) {
        return makeWebSocketTask(session, mainThread, std::move(request), kMaximumSocketMessage);
      },
      parts.desktop.events, parts.time, parts.network.jitter);
}

}  // namespace

Services::Services(const AppModelParts& parts, DeviceIdentity device, ServiceURL service,
                   std::weak_ptr<LocalTestTarget> localTest, std::function<void()> onFocusChange)
    : identity(std::move(device)),
      api(std::make_shared<APIClient>(std::move(service), identity, parts.network.session)),
      journal(InsertionJournal::openJournal(parts.storage.folder, parts.time.now)),
      targetGuard(parts.accessibility.provider, std::move(localTest), parts.time.now),
      inserter(parts.accessibility.provider, targetGuard, InsertionPacing{}, parts.time),
      connection(makeConnection(parts, api)),
      focusMonitor(targetGuard, parts.accessibility.provider, std::move(onFocusChange)) {}

std::shared_ptr<Services> Services::make(const AppModelParts& parts, DeviceIdentity identity, ServiceURL service,
                                         PeerStore& peers, std::weak_ptr<LocalTestTarget> localTest,
                                         std::function<void()> onFocusChange) {
  std::shared_ptr<Services> made(
      new Services(parts, std::move(identity), std::move(service), std::move(localTest), std::move(onFocusChange)));
  made->handler.emplace(made, parts.mainThread, made->identity, peers, made->targetGuard, *made->journal,
                        made->inserter, parts.time.now);
  made->handler->setTransport(made->connection);
  made->connection->onMessage = [weak = std::weak_ptr(made)](const RelayServerMessage& message) {
    if (const auto services = weak.lock()) services->handler->handle(message);
  };
  return made;
}

void Services::stop() {
  connection->stop();
  handler->stop();
  focusMonitor.stop();
}

}  // namespace quillet
