// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include "QuilletCompanion/Relay/RelayConnection.h"
#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletKit/Network/WebSocketTask.h"
#include "Tests/Doubles/FakeAccessibilityProvider.h"
#include "Tests/Doubles/FakeSystemEvents.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Doubles/RelayEnds.h"

namespace quillet::test {

/// The desktop's half behind its socket, on a field in memory and a journal on the disk; can crash and start again.
class Desk {
 public:
  Desk(Executor mainThread, TimeSource time, std::filesystem::path folder, const PeerIdentity& phone)
      : mainThread_(std::move(mainThread)), time_(std::move(time)), folder_(std::move(folder)) {
    peers.upsert(phone, 1);
    start();
  }

  void start() {
    journal = InsertionJournal::openJournal(folder_, time_.now);
    guard_ = std::make_unique<TargetGuard>(desktop, std::weak_ptr<LocalTestTarget>(), time_.now);
    inserter_ = std::make_unique<TextInserter>(desktop, *guard_, InsertionPacing{}, time_);
    handler = makeHandler(mainThread_, keys, peers, *guard_, *journal, *inserter_, time_.now);
  }
  /// Ends as a killed process does: what was under way goes no further, and the file stays as it is.
  void crash() {
    crashed_ = handler;
    handler.reset();
    inserter_->abandon();
    graves_.push_back(std::move(inserter_));
    graves_.push_back(std::move(guard_));
    graves_.push_back(std::move(journal));
  }

  /// Whether nothing of the last crashed one is left.
  bool isQuiet() const { return crashed_.expired(); }

  std::string token(const SealingPhone& phone) {
    return std::get<TargetSnapshot>(guard_->prepare(phone.peer.deviceId)).token;
  }
  PeerIdentity identity() const { return keys.peerIdentity("Desk", DevicePlatform::macos); }

  DeviceIdentity keys = DeviceIdentity::generate();
  PeerStore peers{std::nullopt};
  FakeAccessibilityProvider desktop;
  std::unique_ptr<InsertionJournal> journal;
  std::shared_ptr<RelayMessageHandler> handler;

 private:
  Executor mainThread_;
  TimeSource time_;
  std::filesystem::path folder_;
  std::unique_ptr<TargetGuard> guard_;
  std::unique_ptr<TextInserter> inserter_;
  std::weak_ptr<RelayMessageHandler> crashed_;
  std::vector<std::shared_ptr<void>> graves_;  ///< What suspended work may still refer to.
};

/// A desk with a relay connection over real sockets, paired with one phone.
class ConnectedDesk : public testing::Test {
 protected:
  void TearDown() override {
    if (connection) connection->stop();
    desk.crash();
    main.runUntil([this] { return desk.isQuiet(); });
    settle(main, network);
  }
  void connect(std::function<HTTPRequest()> makeRequest) {
    connection = std::make_shared<RelayConnection>(
        main.executor(), std::move(makeRequest),
        [this](HTTPRequest request, std::size_t size) {
          return makeWebSocketTask(session, main.executor(), std::move(request), size);
        },
        system, time, [] { return 0.0; });
    connection->onMessage = [this](const RelayServerMessage& message) {
      ++messages;
      desk.handler->handle(message);
    };
    connection->onAuthenticationRejected = [this] { ++rejections; };
    desk.handler->setTransport(connection);
    connection->start();
  }

  MainThread main;
  NetworkThread network;
  TimeSource time = systemTime(network.executor());
  HTTPSession session{network.executor()};
  FakeSystemEvents system;
  TemporaryFolder folder;
  SealingPhone pocket;
  Desk desk{main.executor(), time, folder.path(), pocket.peer};
  std::shared_ptr<RelayConnection> connection;
  int messages = 0, rejections = 0;
};

}  // namespace quillet::test
