// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/LineWriter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace quillet {
namespace {

class LineWriterTest : public testing::Test {
 protected:
  LineWriterTest() {
    std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(::pipe(ends_), 0);
  }
  ~LineWriterTest() override { closeReader(); }

  std::unique_ptr<LineWriter> writer(std::size_t capacity = 1'048'576) {
    return std::make_unique<LineWriter>(
        ends_[1], [](std::size_t count) { return "lost " + std::to_string(count); }, capacity);
  }
  /// Up to this line or the end.
  std::vector<std::string> read(const std::string& last) {
    std::string text;
    char buffer[4096];
    while (!text.ends_with("\n" + last + "\n")) {
      const ssize_t count = ::read(ends_[0], buffer, sizeof buffer);
      if (count <= 0) break;
      text.append(buffer, static_cast<std::size_t>(count));
    }
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
  void closeReader() {
    if (ends_[0] >= 0) ::close(std::exchange(ends_[0], -1));
  }

 private:
  int ends_[2] = {-1, -1};  ///< The second stays open: a thread that was left behind may still use it.
};

constexpr int kLines = 20'000;

TEST_F(LineWriterTest, EveryLineComesOutInOrderBeforeTheEnd) {
  std::vector<std::string> lines;
  std::thread reader([&] { lines = read(std::to_string(kLines - 1)); });
  auto output = writer();
  for (int i = 0; i < kLines; ++i) output->print(std::to_string(i));
  output.reset();
  reader.join();
  ASSERT_EQ(lines.size(), kLines);
  for (int i = 0; i < kLines; ++i) ASSERT_EQ(lines[i], std::to_string(i));
}

TEST_F(LineWriterTest, AReaderWhoStandsStillLosesTheOldestLinesAndIsTold) {
  const auto output = writer(1000);
  for (int i = 0; i < kLines; ++i) output->print(std::to_string(i));
  const auto lines = read(std::to_string(kLines - 1));
  int expected = 0, notices = 0;
  for (const auto& line : lines) {
    if (line.starts_with("lost ")) {
      ++notices;
      expected += std::stoi(line.substr(5));
    } else {
      ASSERT_EQ(line, std::to_string(expected++));
    }
  }
  EXPECT_EQ(expected, kLines);
  EXPECT_GE(notices, 1);
}

TEST_F(LineWriterTest, EndsThoughNobodyReads) {
  auto output = writer();
  for (int i = 0; i < kLines; ++i) output->print("nobody reads this");
  output.reset();
  closeReader();
  output = writer();
  output->print("nobody can read this");
}

}  // namespace
}  // namespace quillet
