// SPDX-License-Identifier: MIT
#include "QuilletService/Options.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Service/ServiceProgram.h"

namespace quillet::test {
namespace {

/// A command line, its words parted by single blanks.
Options parse(const std::string& line) {
  std::istringstream stream(line);
  const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
  std::vector<const char*> arguments;
  for (const auto& word : words) arguments.push_back(word.c_str());
  return Options::parse(arguments);
}

TEST(OptionsTest, ReadsEverything) {
  const Options options = parse(
      "--listen [::1]:0 --database /x/y --max-age 60 --pairing-ttl 30 --certificate c --key k --log debug "
      "--trust-proxy 10.0.0.1 --trust-proxy ::1 --max-connections 7 --max-connections-per-address 0 "
      "--max-registrations-per-hour 8 --max-queue 9 --metrics-port 0 --engine https://speech.example/v1 "
      "--engine-model large --engine-region Ghent --engine-key /k --max-streams 5 --max-uploads 3 "
      "--max-uploads-waiting 0 --max-sound-per-hour 600");
  ASSERT_TRUE(options.engine && options.tls);
  EXPECT_EQ(std::tuple(options.host, options.port, options.tls->key, options.logLevel, options.metricsPort),
            std::tuple("::1", 0, "k", Log::Level::debug, 0));
  const SpeechEngineChoice& engine = *options.engine;
  EXPECT_EQ(std::tie(engine.url, engine.model, engine.region),
            std::tuple("https://speech.example/v1", "large", "Ghent"));
  EXPECT_EQ(engine.keyFile, "/k");
  const ServiceSettings& settings = options.settings;
  EXPECT_EQ(std::tuple(settings.database, settings.maximumAge, settings.pairingTimeToLive),
            std::tuple("/x/y", std::chrono::minutes(1), std::chrono::seconds(30)));
  EXPECT_EQ(std::tuple(settings.registrationsPerHour, settings.relay.backlogCount), std::tuple(8, 9));
  const TranscriptionLimits& sound = settings.transcription;
  EXPECT_EQ(std::tuple(sound.streams, sound.uploads, sound.uploadsWaiting), std::tuple(5U, 3U, 0U));
  EXPECT_EQ(sound.soundPerDeviceAndHour, std::chrono::minutes(10));
  EXPECT_EQ(std::tuple(options.limits.connections, options.limits.connectionsPerAddress), std::tuple(7U, 0U));
  ASSERT_EQ(options.limits.trustedProxies.size(), 2U);
  EXPECT_TRUE(options.limits.trustedProxies[1].is_v6());
  const Options none = parse("");
  EXPECT_FALSE(none.engine || none.metricsPort);
  EXPECT_EQ(none.host, "127.0.0.1") << "nothing but this machine unless asked";
}

TEST(OptionsTest, RefusesWhatItDoesNotUnderstand) {
  for (const std::string& line : rows<std::string>("command_lines", "service")) {
    EXPECT_THROW(parse(line), Options::UsageError) << line;
  }
  for (const std::vector<const char*>& empty :
       {std::vector{"--database", ""}, std::vector{"--certificate", "", "--key", ""}, std::vector{"--listen", ""},
        std::vector{"--listen", "[]:80"}}) {
    EXPECT_THROW(Options::parse(empty), Options::UsageError) << empty[0];
  }
}

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
