// SPDX-License-Identifier: MIT
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {
namespace {

/// Another program's connection to the service's database.
class Intruder {
 public:
  explicit Intruder(const std::filesystem::path& path) {
    sqlite3_open(path.c_str(), &connection);
    run("SELECT 1 FROM devices");  // only now it knows of the write-ahead log
  }
  ~Intruder() { sqlite3_close(connection); }
  Intruder(const Intruder&) = delete;
  Intruder& operator=(const Intruder&) = delete;
  void run(const char* sql) {
    EXPECT_EQ(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(connection);
  }

  sqlite3* connection = nullptr;
};

struct DatabaseFolder {
  std::filesystem::path database() const { return folder.path() / "db"; }
  TemporaryFolder folder;
};

class DurabilityTest : DatabaseFolder, public ServiceTest {
 protected:
  DurabilityTest() : ServiceTest({.database = database()}), intruder(database()) {
    service.relay.connected(macDevice, socket);
  }
  ~DurabilityTest() override { service.relay.disconnected(macDevice, socket); }

  /// A session that lacks the desktop's confirmation.
  std::string halfConfirmed() {
    const auto created = service.pairing.create(macDevice, {freshKey(), "Desk"});
    service.pairing.claim(phoneDevice, {created.sessionId, std::nullopt, freshKey(), "Pocket"});
    service.pairing.confirm(phoneDevice, created.sessionId, {"x"});
    return created.sessionId;
  }
  PairingState confirm(const std::string& id) { return service.pairing.confirm(macDevice, id, {"y"}).state; }
  PairingState stateOf(const std::string& id) { return service.pairing.status(phoneDevice, id).state; }
  template <typename Message>
  std::size_t told() const {
    return socket.all<Message>().size();
  }
  bool paired() { return service.pairDirectory.arePaired(mac.id(), phone.id()); }
  /// Does `work` while another program holds the lock that a checkpoint takes.
  void duringAnothersCheckpoint(std::function<void()> work) {
    struct Moment {
      Intruder writer;
      std::function<void()> work;
    } moment{Intruder(database()), std::move(work)};
    moment.writer.run("BEGIN IMMEDIATE");
    const auto waiting = [](void* data, int) {
      auto& now = *static_cast<Moment*>(data);
      now.writer.run("ROLLBACK");
      std::exchange(now.work, nullptr)();
      return 0;
    };
    sqlite3_busy_handler(intruder.connection, waiting, &moment);
    sqlite3_wal_checkpoint_v2(intruder.connection, nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    EXPECT_FALSE(moment.work) << "it had nothing to wait for";
  }

  Intruder intruder;
  FakeRelaySocket socket;
};

TEST_F(DurabilityTest, AChangeIsToldThoughItsCheckpointFails) {
  LogCapture::instance().expect("A checkpoint failed with database code 5");
  const std::string session = halfConfirmed();
  duringAnothersCheckpoint([&] { EXPECT_EQ(confirm(session), PairingState::paired); });
  EXPECT_EQ(told<RelayServer::Paired>(), 1U);
  duringAnothersCheckpoint([&] { EXPECT_TRUE(service.devices.removePair(phoneDevice, mac.id()).ok); });
  EXPECT_EQ(told<RelayServer::PairRevoked>(), 1U);
  duringAnothersCheckpoint([&] { EXPECT_TRUE(service.devices.deleteDevice(macDevice).ok); });
  EXPECT_TRUE(socket.closedWith);
  EXPECT_TRUE(LogCapture::instance().contains("A checkpoint failed with database code 5"));
}

TEST_F(DurabilityTest, ASessionIsPairedIfAndOnlyIfItsPairStands) {
  const std::string session = halfConfirmed();
  for (const char* table : {"pairs", "pairing_sessions"}) {
    intruder.run(
        ("CREATE TRIGGER full BEFORE INSERT ON " + std::string(table) + " BEGIN SELECT RAISE(ABORT, 'full'); END")
            .c_str());
    EXPECT_THROW(confirm(session), DatabaseError) << table;
    intruder.run("DROP TRIGGER full");
    EXPECT_EQ(stateOf(session), PairingState::claimed) << table;
    EXPECT_FALSE(paired()) << table;
  }
  EXPECT_EQ(told<RelayServer::Paired>(), 0U);
  EXPECT_EQ(confirm(session), PairingState::paired);

  intruder.run("CREATE TRIGGER full BEFORE INSERT ON pairing_sessions BEGIN SELECT RAISE(ABORT, 'full'); END");
  EXPECT_THROW(service.pairing.cancel(phoneDevice, session), DatabaseError);
  EXPECT_EQ(stateOf(session), PairingState::paired);
  EXPECT_TRUE(paired());
  EXPECT_EQ(told<RelayServer::PairRevoked>(), 0U);
  intruder.run("DROP TRIGGER full");
  EXPECT_EQ(service.pairing.cancel(phoneDevice, session).state, PairingState::cancelled);
  EXPECT_FALSE(paired());
  EXPECT_EQ(told<RelayServer::PairRevoked>(), 1U);
}

}  // namespace
}  // namespace quillet::test
