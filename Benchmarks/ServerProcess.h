// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Benchmarks/ServiceRig.h"

namespace quillet::bench {

/// A program that says where it listens on a line of its output. Killed at the end.
class ServerProcess {
 public:
  /// `mark` stands on that line; the port is behind its last colon.
  ServerProcess(std::vector<std::string> arguments, const std::filesystem::path& folder, const std::string& mark);
  /// The service without limits on who connects and registers, its database at `database`.
  static std::vector<std::string> service(const std::filesystem::path& database);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  tcp::endpoint endpoint() const { return {asio::ip::address_v4::loopback(), port_}; }
  double memoryKiB() const;
  double cpuMicroseconds() const;

 private:
  void findPort(const std::filesystem::path& output, const std::string& mark);

  pid_t process_ = -1;
  std::uint16_t port_ = 0;
};

/// A folder for temporary files, gone at the end.
class ScratchFolder {
 public:
  explicit ScratchFolder(const std::filesystem::path& within = std::filesystem::temp_directory_path());
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// Writes, and reads until `until` has come; blocks.
std::string writeAndRead(tcp::socket& socket, const std::string& text, const std::string& until);
std::string textOf(const http::request<http::string_body>& request);
/// The answer's body; blocks. Throws if it isn't a success.
std::string ask(tcp::socket& socket, const http::request<http::string_body>& request);
void enrol(tcp::socket& socket, const Identity& device);
void pairOverHTTP(tcp::socket& socket, const Identity& mac, const Identity& phone);

}  // namespace quillet::bench
