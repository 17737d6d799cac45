// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "QuilletKit/APIClient.h"
#include "QuilletKit/WebSocketTask.h"
#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

/// The service as a program of its own. Killed when this ends, should it still run.
class ServiceProgram {
 public:
  ServiceProgram(const std::filesystem::path& folder, std::vector<std::string> arguments) : output_(folder / "output") {
    arguments.insert(arguments.begin(), QUILLET_BIN_DIR "/quillet-service");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, output_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&files, 1, 2);
    EXPECT_EQ(::posix_spawn(&process_, argv[0], &files, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&files);
  }
  ~ServiceProgram() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }

  /// What it has written to both outputs.
  std::string output() const {
    std::ifstream file(output_);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  /// The rest of the line behind `mark`, once the program has written it.
  std::string lineAfter(const std::string& mark) const {
    std::string found;
    waitFor([&] {
      const std::string text = output();
      const auto at = text.find(mark);
      const auto end = at == text.npos ? at : text.find('\n', at);
      if (end != text.npos) found = text.substr(at + mark.size(), end - at - mark.size());
      return !found.empty();
    });
    return found;
  }
  void signal(int number) const { ::kill(process_, number); }
  /// Its exit code; -1 if a signal or the test's patience ended it.
  int wait() {
    int status = -1;
    const bool ended = waitFor([&] { return ::waitpid(process_, &status, WNOHANG) == process_; });
    if (!ended) return -1;
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  template <typename Happened>
  static bool waitFor(Happened happened) {
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!happened()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      ::poll(nullptr, 0, 5);
    }
    return true;
  }

  std::filesystem::path output_;
  pid_t process_ = -1;
};

class ProgramTest : public testing::Test {
 protected:
  std::vector<std::string> arguments() {
    return {"--listen", "127.0.0.1:0", "--database", database.string(), "--metrics-port", "0", "--log", "debug"};
  }
  APIClient client(const ServiceProgram& program, const Party& party) {
    return APIClient(ServiceURL::parse(program.lineAfter("listening on ")).value(), party.identity, session);
  }
  int exitCode() { return ServiceProgram(folder.path(), arguments()).wait(); }
  std::string output() const {
    std::ifstream file(folder.path() / "output");
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void makeDatabase(const char* sql) {
    sqlite3* made = nullptr;
    ASSERT_EQ(sqlite3_open(database.c_str(), &made), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(made, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(made);
  }

  TemporaryFolder folder;
  std::filesystem::path database = folder.path() / "data" / "service.sqlite";
  NetworkThread network;
  HTTPSession session{network.executor()};
  MainThread main;
  Party mac{"Desk-marker-name", DevicePlatform::macos}, phone{"Pocket-marker-name", DevicePlatform::ios};

  void SetUp() override { std::filesystem::create_directories(database.parent_path()); }
};

TEST_F(ProgramTest, ASignalEndsItInOrderAndTheNextStartKnowsTheState) {
  constexpr std::string_view kMarker = "purple-elephant-marker";
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
  std::filesystem::remove(folder.path() / "output");  // the first run's address stands in there
  ServiceProgram program(folder.path(), arguments());
  ASSERT_NE(program.lineAfter("listening on "), "");
  ServiceProgram second(folder.path(), arguments());
  EXPECT_EQ(second.wait(), 3) << "two can't serve one database";
  EXPECT_NE(second.output().find("Another service is using this database."), std::string::npos);
  program.signal(SIGINT);
  EXPECT_EQ(program.wait(), 0);

  std::filesystem::remove(folder.path() / "output");
  ServiceProgram again(folder.path(), arguments());
  APIClient macAPI = client(again, mac), phoneAPI = client(again, phone);
  main.await(phoneAPI.registerDevice(DevicePlatform::ios, phone.name, "1"));
  const auto created = main.await(macAPI.createPairingSession(Crypto::randomBytes(32), "Desk"));
  main.await(phoneAPI.claimPairing({created.sessionId, std::nullopt, freshKey(), "Pocket"}));
  main.await(phoneAPI.confirmPairing(created.sessionId, "sealed"));
  main.await(macAPI.confirmPairing(created.sessionId, "sealed"));
  const Envelope envelope = Envelope::sealBytes(kMarker, EnvelopePurpose::delivery, phone.identity, mac.peer);
  main.await(phoneAPI.submitDelivery(mac.id(), {"u", envelope}));
  again.signal(SIGKILL);
  EXPECT_EQ(again.wait(), -1);
  std::string stored;
  for (const auto& entry : std::filesystem::directory_iterator(database.parent_path())) {
    std::ifstream file(entry.path(), std::ios::binary);
    stored.append(std::istreambuf_iterator<char>(file), {});
  }
  EXPECT_NE(stored.find(envelope.box), stored.npos) << "the write-ahead log was searched, too";
  EXPECT_EQ(stored.find(kMarker), stored.npos);
  const std::string logged = again.output();
  EXPECT_NE(logged.find("Paired " + mac.id().substr(0, 8)), logged.npos);
  for (const std::string& secret : {std::string(kMarker), mac.id(), phone.id(), mac.name, phone.name, envelope.box}) {
    EXPECT_EQ(logged.find(secret), logged.npos) << secret;
  }

  std::filesystem::remove(folder.path() / "output");
  ServiceProgram last(folder.path(), arguments());
  EXPECT_EQ(main.await(client(last, phone).waitForDelivery(mac.id(), "u", 0)).state, DeliveryTransportState::queued)
      << "a kill loses nothing";
  last.signal(SIGTERM);
  EXPECT_EQ(last.wait(), 0);
}

TEST_F(ProgramTest, ADatabaseThatItCannotUseIsRefusedAndLeftAlone) {
  makeDatabase("CREATE TABLE devices(id TEXT); PRAGMA user_version=99");
  EXPECT_EQ(exitCode(), 3);
  EXPECT_NE(output().find("newer version"), std::string::npos) << output();

  std::filesystem::remove(database);
  makeDatabase("CREATE TABLE songs(id TEXT)");
  EXPECT_EQ(exitCode(), 3);
  EXPECT_NE(output().find("another program's database"), std::string::npos) << output();

  std::ofstream(database, std::ios::binary) << std::string(8192, 'x');
  EXPECT_EQ(exitCode(), 3);
  EXPECT_NE(output().find("The database is damaged."), std::string::npos) << output();
  EXPECT_EQ(std::filesystem::file_size(database), 8192U);
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
  EXPECT_EQ(exitCode(), 3);
  EXPECT_NE(output().find("The database is damaged."), std::string::npos) << output();
}

TEST_F(ProgramTest, TellsWhyItCannotStart) {
  EXPECT_EQ(ServiceProgram(folder.path(), {"--listen"}).wait(), 2);
  EXPECT_EQ(ServiceProgram(folder.path(), {"--help"}).wait(), 0);
  EXPECT_NE(output().find("--trust-proxy"), std::string::npos);
  std::filesystem::remove(folder.path() / "output");
  ServiceProgram first(folder.path(), arguments());
  const std::string url = first.lineAfter("listening on ");
  ServiceProgram second(folder.path(), {"--listen", url.substr(url.rfind('/') + 1), "--database", ":memory:"});
  EXPECT_EQ(second.wait(), 1);
  EXPECT_NE(output().find("in use"), std::string::npos) << output();
}

}  // namespace
}  // namespace quillet::test
