// SPDX-License-Identifier: MIT
#include <fstream>

#include "Tests/Service/ServiceProgram.h"

namespace quillet::test {
namespace {

TEST_F(ProgramTest, ASignalEndsItInOrderAndTheNextStartKnowsTheState) {
  {
    ServiceProgram program(folder.path(), arguments());
    APIClient macAPI = client(program, mac);
    main.await(macAPI.registerDevice(DevicePlatform::macos, mac.name, "1"));
    const auto socket = makeWebSocketTask(session, main.executor(), macAPI.relayRequest(), 1 << 20);
    socket->resume();
    socket->sendText("ping", [](bool) {});
    EXPECT_EQ(main.await(socket->receive()).data, "pong");
    program.signal(SIGTERM);
    EXPECT_THROW(main.await(socket->receive()), TransportError);
    EXPECT_EQ(program.wait(), 0) << program.output();
  }
  EXPECT_FALSE(std::filesystem::exists(database.string() + "-wal")) << "the database was closed";
  ServiceProgram program(folder.path(), arguments());
  ASSERT_NE(program.lineAfter("listening on "), "");
  expectEnd(arguments(), 3, "Another service is using this database.");
  program.signal(SIGINT);
  EXPECT_EQ(program.wait(), 0);

  ServiceProgram again(folder.path(), arguments());
  APIClient macAPI = client(again, mac), phoneAPI = client(again, phone);
  pairThem(macAPI, phoneAPI);
  main.await(phoneAPI.submitDelivery(mac.id(), delivery("u")));
  again.signal(SIGKILL);
  EXPECT_EQ(again.wait(), -1);
  ServiceProgram last(folder.path(), arguments());
  EXPECT_EQ(main.await(client(last, phone).waitForDelivery(mac.id(), "u", 0)).state, DeliveryTransportState::queued)
      << "a kill loses nothing";
  last.signal(SIGTERM);
  EXPECT_EQ(last.wait(), 0);
}

TEST_F(ProgramTest, ADesktopCannotFillTheLog) {
  ServiceProgram program(folder.path(), arguments());
  APIClient macAPI = client(program, mac);
  main.await(macAPI.registerDevice(DevicePlatform::macos, mac.name, "1"));
  const auto socket = makeWebSocketTask(session, main.executor(), macAPI.relayRequest(), 1 << 20);
  socket->resume();
  constexpr int kFrames = 20'000;
  for (int i = 0; i < kFrames; ++i) socket->sendText("{", [](bool) {});
  socket->sendText("ping", [](bool) {});
  EXPECT_EQ(main.await(socket->receive()).data, "pong");
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait(), 0);
  EXPECT_LT(program.output().size(), 10'000U);
  EXPECT_NE(program.output().find("(19990 times more)"), std::string::npos) << program.output();
}

TEST_F(ProgramTest, ADatabaseThatItCannotUseIsRefusedAndLeftAlone) {
  makeDatabase("CREATE TABLE devices(id TEXT); PRAGMA user_version=99");
  expectEnd(arguments(), 3, "newer version");

  std::filesystem::remove(database);
  makeDatabase("CREATE TABLE songs(id TEXT)");
  expectEnd(arguments(), 3, "another program's database");

  std::ofstream(database, std::ios::binary) << std::string(8192, 'x');
  expectEnd(arguments(), 3, "The database is damaged.");
  EXPECT_EQ(std::filesystem::file_size(database), 8192U);

  const std::string within = (database / "folder" / "db").string();
  expectEnd({"--listen", "127.0.0.1:0", "--database", within}, 3, within);
}

TEST_F(ProgramTest, ADamagedPageIsFoundAtTheStart) {
  {
    ServiceProgram program(folder.path(), arguments());
    program.lineAfter("listening on ");
    program.signal(SIGTERM);
    ASSERT_EQ(program.wait(), 0);
  }
  std::fstream file(database, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(4096);
  file << std::string(4096, '\x7f');
  file.close();
  expectEnd(arguments(), 3, "The database is damaged.");
}

TEST_F(ProgramTest, TellsWhyItCannotStart) {
  expectEnd({"--listen"}, 2, "--listen");
  expectEnd({"--help"}, 0, "--trust-proxy");
  ServiceProgram first(folder.path(), arguments());
  const std::string url = first.lineAfter("listening on ");
  expectEnd({"--listen", url.substr(url.rfind('/') + 1), "--database", ":memory:"}, 1, "in use");
}

}  // namespace
}  // namespace quillet::test
