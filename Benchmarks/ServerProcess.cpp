// SPDX-License-Identifier: MIT
#include "Benchmarks/ServerProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <fstream>
#include <sstream>

namespace quillet::bench {

ServerProcess::ServerProcess(std::vector<std::string> arguments, const std::filesystem::path& folder,
                             const std::string& mark) {
  const std::filesystem::path output = folder / "output";
  std::filesystem::remove(output);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 1, output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  posix_spawn_file_actions_adddup2(&files, 1, 2);
  const int failed = ::posix_spawn(&process_, argv[0], &files, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  if (failed != 0) throw std::runtime_error("cannot start " + arguments[0]);
  findPort(output, mark);
}

std::vector<std::string> ServerProcess::service(const std::filesystem::path& database) {
  return {QUILLET_BIN_DIR "/quillet-service",
          "--listen",
          "127.0.0.1:0",
          "--database",
          database,
          "--max-connections-per-address",
          "0",
          "--max-registrations-per-hour",
          "0",
          "--max-queue",
          "1000000",
          "--log",
          "error"};
}

ServerProcess::~ServerProcess() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

double ServerProcess::memoryKiB() const {
  std::ifstream file("/proc/" + std::to_string(process_) + "/smaps_rollup");
  for (std::string word; file >> word;) {
    if (word == "Pss:" && file >> word) return std::stod(word);
  }
  return 0;
}
double ServerProcess::cpuMicroseconds() const {
  std::ifstream file("/proc/" + std::to_string(process_) + "/stat");
  std::string word;
  for (int field = 1; field <= 13; ++field) file >> word;
  double user = 0, system = 0;
  file >> user >> system;
  return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK)) * 1e6;
}

void ServerProcess::findPort(const std::filesystem::path& output, const std::string& mark) {
  const auto deadline = SteadyClock::now() + std::chrono::seconds(20);
  while (SteadyClock::now() < deadline) {
    std::ifstream file(output);
    for (std::string line; std::getline(file, line) && !file.eof();) {
      const auto at = line.find(mark);
      if (at == line.npos) continue;
      port_ = static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1)));
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  throw std::runtime_error("a server didn't come up");
}

ScratchFolder::ScratchFolder(const std::filesystem::path& within) {
  std::string pattern = (within / "quillet-bench-XXXXXX").string();
  path_ = ::mkdtemp(pattern.data());
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string writeAndRead(tcp::socket& socket, const std::string& text, const std::string& until) {
  asio::write(socket, asio::buffer(text));
  std::string answer;
  asio::read_until(socket, asio::dynamic_buffer(answer), until);
  return answer;
}

std::string textOf(const http::request<http::string_body>& request) {
  std::ostringstream out;
  out << request;
  return out.str();
}

std::string ask(tcp::socket& socket, const http::request<http::string_body>& request) {
  http::write(socket, request);
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::read(socket, buffer, response);
  if (response.result_int() != 200) throw std::runtime_error("refused: " + response.body());
  return response.body();
}

void enrol(tcp::socket& socket, const Identity& device) {
  ask(socket,
      signedRequest(device.identity, "POST", "/v1/devices/register", JSONCoding::encode(device.registration())));
}

void pairOverHTTP(tcp::socket& socket, const Identity& mac, const Identity& phone) {
  const std::string key = mac.peer.agreementPublicKey;
  const auto created = JSONCoding::decode<CreatePairingResponse>(
      ask(socket, signedRequest(mac.identity, "POST", "/v1/pairing/sessions",
                                JSONCoding::encode(CreatePairingRequest{key, "Desk"}))));
  ask(socket, signedRequest(phone.identity, "POST", "/v1/pairing/claim",
                            JSONCoding::encode(ClaimPairingRequest{created.sessionId, std::nullopt, key, "Pocket"})));
  for (const Identity* side : {&phone, &mac}) {
    ask(socket, signedRequest(side->identity, "POST", "/v1/pairing/sessions/" + created.sessionId + "/confirm",
                              JSONCoding::encode(ConfirmPairingRequest{"sealed"})));
  }
}

}  // namespace quillet::bench
