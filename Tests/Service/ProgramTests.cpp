// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "QuilletKit/Network/WebSocketTask.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

/// The service as a program of its own. Killed when this ends, should it still run.
class ServiceProgram {
 public:
  ServiceProgram(const std::filesystem::path& folder, std::vector<std::string> arguments)
      : output_(folder / ("output" + std::to_string(++started_))) {
    arguments.insert(arguments.begin(), QUILLET_BIN_DIR "/quillet-service");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
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
  std::string output() const { return readText(output_); }
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

  static inline int started_ = 0;
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
  /// Starts it and expects it to end at once.
  void expectEnd(std::vector<std::string> with, int exitCode, const std::string& saying) {
    ServiceProgram program(folder.path(), std::move(with));
    EXPECT_EQ(program.wait(), exitCode);
    EXPECT_NE(program.output().find(saying), std::string::npos) << program.output();
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
  Party mac{"Desk", DevicePlatform::macos}, phone{"Pocket", DevicePlatform::ios};

  void SetUp() override { std::filesystem::create_directories(database.parent_path()); }
};

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
  main.await(phoneAPI.registerDevice(DevicePlatform::ios, phone.name, "1"));
  const auto created = main.await(macAPI.createPairingSession(Crypto::randomBytes(32), "Desk"));
  main.await(phoneAPI.claimPairing({created.sessionId, std::nullopt, freshKey(), "Pocket"}));
  main.await(phoneAPI.confirmPairing(created.sessionId, "sealed"));
  main.await(macAPI.confirmPairing(created.sessionId, "sealed"));
  const Envelope envelope = Envelope::sealBytes("text", EnvelopePurpose::delivery, phone.identity, mac.peer);
  main.await(phoneAPI.submitDelivery(mac.id(), {"u", envelope}));
  again.signal(SIGKILL);
  EXPECT_EQ(again.wait(), -1);
  ServiceProgram last(folder.path(), arguments());
  EXPECT_EQ(main.await(client(last, phone).waitForDelivery(mac.id(), "u", 0)).state, DeliveryTransportState::queued)
      << "a kill loses nothing";
  last.signal(SIGTERM);
  EXPECT_EQ(last.wait(), 0);
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
