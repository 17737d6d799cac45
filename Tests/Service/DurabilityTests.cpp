// SPDX-License-Identifier: MIT
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/LogCapture.h"
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

class DurabilityTest : protected DatabaseFolder, public ServiceTest {
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

TEST_F(DurabilityTest, AResultThatCannotBeKeptHasTheDesktopComeAgain) {
  LogCapture::instance().expect("The database fails with code 19");
  service.pairDirectory.add({mac.id(), phone.id(), time.wall});
  service.relay.submit(phoneDevice, mac.id(), {"u", sealed(EnvelopePurpose::delivery, phone, mac)});
  const RelayClient::Result result{"u", phone.id(), sealed(EnvelopePurpose::result, mac, phone)};
  intruder.run("CREATE TRIGGER full BEFORE UPDATE ON deliveries BEGIN SELECT RAISE(ABORT, 'full'); END");
  frameFromDesktop(RelayClient::Received{"u"});
  EXPECT_FALSE(socket.closedWith) << "nobody would tell it again because of that";
  frameFromDesktop(result);
  EXPECT_EQ(socket.closedWith, 1011);
  intruder.run("DROP TRIGGER full");

  FakeRelaySocket next;
  service.relay.connected(macDevice, next);
  EXPECT_EQ(next.all<RelayServer::Deliver>().size(), 1U);
  frameFromDesktop(result);
  const auto status = start(service.relay.status(phoneDevice, mac.id(), "u", std::chrono::seconds(0)));
  EXPECT_EQ(status->response.value().state, DeliveryTransportState::result);
  service.relay.disconnected(macDevice, next);
}

TEST_F(DurabilityTest, OfADeletedDeviceNothingIsLeftOrNothingIsDeleted) {
  const auto rows = [&](const std::string& table) {
    sqlite3_stmt* query = nullptr;
    sqlite3_prepare_v2(intruder.connection, ("SELECT count(*) FROM " + table).c_str(), -1, &query, nullptr);
    sqlite3_step(query);
    const int found = sqlite3_column_int(query, 0);
    sqlite3_finalize(query);
    return found;
  };
  const std::string leftovers[] = {"pairs", "deliveries", "feedback", "pairing_sessions"};
  confirm(halfConfirmed());
  service.relay.submit(phoneDevice, mac.id(), {"u", sealed(EnvelopePurpose::delivery, phone, mac)});
  service.devices.sendFeedback(macDevice, {"Hello.", "reply@address.example", "1.0", "Linux", "PC"});
  intruder.run("CREATE TRIGGER full BEFORE UPDATE ON devices BEGIN SELECT RAISE(ABORT, 'full'); END");
  EXPECT_THROW(service.devices.deleteDevice(macDevice), DatabaseError);
  for (const std::string& table : leftovers) EXPECT_EQ(rows(table), 1) << table;
  EXPECT_TRUE(paired());
  EXPECT_FALSE(socket.closedWith);
  intruder.run("DROP TRIGGER full");

  EXPECT_TRUE(service.devices.deleteDevice(macDevice).ok);
  service.relay.disconnected(macDevice, socket);
  for (const std::string& table : leftovers) EXPECT_EQ(rows(table), 0) << table;
  EXPECT_EQ(rows("devices WHERE revoked_at NOT NULL AND last_seen_at NOT NULL"), 0) << "it was seen, but is forgotten";
  for (const auto& file : std::filesystem::directory_iterator(database().parent_path())) {
    EXPECT_EQ(readText(file.path()).find("reply@address.example"), std::string::npos) << file.path();
  }
}

}  // namespace
}  // namespace quillet::test
