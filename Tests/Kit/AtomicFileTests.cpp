// SPDX-License-Identifier: MIT
#include "QuilletKit/AtomicFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

std::string contentsOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::ptrdiff_t entriesIn(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

unsigned modeOf(const fs::path& path) {
  return static_cast<unsigned>(fs::status(path).permissions());
}

std::string failureOf(std::string_view text, const fs::path& path) {
  try {
    AtomicFile::write(bytesOf(text), path);
  } catch (const AtomicFile::Failure& failure) {
    return failure.operation + " " + std::to_string(failure.code);
  } catch (const fs::filesystem_error& error) {
    return "folder " + std::to_string(error.code().value());
  }
  return "none";
}

std::string failed(const std::string& operation, int code) {
  return operation + " " + std::to_string(code);
}

TEST(AtomicFile, ReplacesContentsOfAnySize) {
  const TemporaryFolder folder;
  const fs::path path = folder.path() / "file.json";
  for (const std::string& text :
       {std::string("first"), std::string(3'000'000, 'x'), std::string(), std::string("last")}) {
    AtomicFile::write(bytesOf(text), path);
    EXPECT_EQ(contentsOf(path), text);
  }
  EXPECT_EQ(entriesIn(folder.path()), 1);
}

TEST(AtomicFile, OnlyTheOwnerCanReadWhatIsNew) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(0);
  const fs::path path = folder.path() / "a" / "b" / "file";
  EXPECT_EQ(failureOf("text", path), "none");
  ::umask(before);
  EXPECT_EQ(modeOf(folder.path() / "a"), 0700u);
  EXPECT_EQ(modeOf(folder.path() / "a" / "b"), 0700u);
  EXPECT_EQ(modeOf(path), 0600u);
}

TEST(AtomicFile, ReplacesALinkAndNotItsTarget) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "target") << "untouched";
  fs::create_symlink("target", folder.path() / "link");
  AtomicFile::write(bytesOf("text"), folder.path() / "link");
  EXPECT_FALSE(fs::is_symlink(folder.path() / "link"));
  EXPECT_EQ(contentsOf(folder.path() / "target"), "untouched");
}

TEST(AtomicFile, AFailureNamesItsStepAndLeavesNothingBehind) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "file") << "old";
  fs::create_directories(folder.path() / "occupied" / "inner");
  EXPECT_EQ(failureOf("new", folder.path() / "file" / "child"), failed("folder", ENOTDIR));
  EXPECT_EQ(failureOf("new", folder.path() / std::string(250, 'n')), failed("open", ENAMETOOLONG));
  EXPECT_EQ(failureOf("new", folder.path() / "occupied"), failed("rename", EISDIR));
  EXPECT_EQ(entriesIn(folder.path()), 2);
  EXPECT_EQ(contentsOf(folder.path() / "file"), "old");
}

/// A limit on file sizes makes the write fail half-way, as a full disk does.
TEST(AtomicFile, AWriteThatFailsHalfWayKeepsTheOldContents) {
  const TemporaryFolder folder;
  const fs::path path = folder.path() / "file";
  AtomicFile::write(bytesOf("old"), path);

  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit limited{4096, before.rlim_max};
  const auto handler = ::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
  const std::string failure = failureOf(std::string(10'000, 'x'), path);
  ::setrlimit(RLIMIT_FSIZE, &before);
  ::signal(SIGXFSZ, handler);

  EXPECT_EQ(failure, failed("write", EFBIG));
  EXPECT_EQ(contentsOf(path), "old");
  EXPECT_EQ(entriesIn(folder.path()), 1);
}

TEST(AtomicFile, AReaderNeverSeesHalfAFile) {
  const TemporaryFolder folder;
  const fs::path path = folder.path() / "file";
  AtomicFile::write(bytesOf(std::string(50'000, 'a')), path);
  std::atomic<bool> done = false;
  std::vector<std::thread> writers;
  for (const char letter : {'b', 'c'}) {
    writers.emplace_back([&, letter] {
      for (int i = 0; i < 40; ++i) AtomicFile::write(bytesOf(std::string(50'000 + i, letter)), path);
    });
  }
  std::thread reader([&] {
    while (!done) {
      const std::string seen = contentsOf(path);
      if (seen.size() < 50'000 || seen.find_first_not_of(seen[0]) != seen.npos) ADD_FAILURE() << "torn";
    }
  });
  for (auto& writer : writers) writer.join();
  done = true;
  reader.join();
  EXPECT_EQ(entriesIn(folder.path()), 1);
}

TEST(AtomicFile, ARelativePathStandsInTheWorkingFolder) {
  const TemporaryFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  const std::string failure = failureOf("text", "file");
  fs::current_path(before);
  EXPECT_EQ(failure, "none");
  EXPECT_EQ(contentsOf(folder.path() / "file"), "text");
}

}  // namespace
}  // namespace quillet
