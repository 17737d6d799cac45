// SPDX-License-Identifier: MIT
#pragma once

#include <poll.h>
#include <sqlite3.h>

#include "QuilletKit/Network/WebSocketTask.h"
#include "Tests/Doubles/ChildProcess.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {

/// The service as a program of its own. Killed when this ends, should it still run.
class ServiceProgram {
 public:
  /// `variables` ("NAME=value") come on top of the test's own.
  ServiceProgram(const std::filesystem::path& folder, std::vector<std::string> arguments,
                 std::vector<std::string> variables = {})
      : output_(folder / ("output" + std::to_string(++started_))),
        process_(command(std::move(variables), arguments),
                 File(output_, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND).descriptor(), true) {}

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
  void signal(int number) const { ::kill(process_.id(), number); }
  /// Its exit code; -1 if a signal or the test's patience ended it.
  int wait() {
    std::optional<int> code;
    waitFor([&] { return (code = process_.exitCode()).has_value(); });
    return code.value_or(-1);
  }

 private:
  static std::vector<std::string> command(std::vector<std::string> variables,
                                          const std::vector<std::string>& arguments) {
    variables.insert(variables.begin(), "env");
    variables.push_back(builtProgram("quillet-service"));
    variables.insert(variables.end(), arguments.begin(), arguments.end());
    return variables;
  }
  template <typename Happened>
  static bool waitFor(Happened happened) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!happened()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      ::poll(nullptr, 0, 5);
    }
    return true;
  }

  static inline int started_ = 0;
  std::filesystem::path output_;
  ChildProcess process_;
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
  /// Registers and pairs the two over HTTP.
  void pairThem(APIClient& macAPI, APIClient& phoneAPI) {
    main.await(macAPI.registerDevice(DevicePlatform::macos, mac.name, "1"));
    main.await(phoneAPI.registerDevice(DevicePlatform::ios, phone.name, "1"));
    main.await(pairOver(macAPI, phoneAPI));
  }
  DeliveryRequest delivery(const std::string& utterance) {
    return {utterance, Envelope::sealBytes("text", EnvelopePurpose::delivery, phone.identity, mac.peer)};
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

}  // namespace quillet::test
