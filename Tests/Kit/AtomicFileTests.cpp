// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/AtomicFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>

#include "QuilletKit/Base/File.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

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

TEST(AtomicFile, RemovesWhatACrashHasLeftAndNothingElse) {
  const TemporaryFolder folder;
  const std::string uuid = "0A1B2C3D-0000-4000-8000-00000000000F";
  const auto put = [&](const std::string& name) { std::ofstream(folder.path() / name) << "text"; };
  for (const char* name : {"file", ".file.tmp", ".file.0a1b.tmp", "file.tmp"}) put(name);
  put(".file." + uuid + ".tmp");
  put(".other.json." + uuid + ".tmp");
  AtomicFile::removeLeftovers(folder.path(), std::chrono::hours(1));
  EXPECT_EQ(entriesIn(folder.path()), 6) << "too young";
  const File writing(folder.path() / (".other.json." + uuid + ".tmp"), O_RDONLY);
  EXPECT_TRUE(writing.lock());
  AtomicFile::removeLeftovers(folder.path());
  EXPECT_EQ(entriesIn(folder.path()), 5);
  EXPECT_TRUE(writing.isLinked());
  AtomicFile::removeLeftovers(folder.path() / "missing");
}

TEST(File, KeepsAbsentUnreadableDamagedAndGoodApart) {
  using Condition = File::Condition;
  const TemporaryFolder folder;
  const auto decode = [](const std::string& text) { return text == "bad" ? std::nullopt : std::optional(text + "!"); };
  std::ofstream(folder.path() / "bad") << "bad";
  std::ofstream(folder.path() / "good") << std::string(100'000, 'x');
  EXPECT_EQ(File::read(folder.path() / "none", decode).condition, Condition::absent);
  EXPECT_EQ(File::read(folder.path() / "bad" / "below", decode).condition, Condition::absent);
  EXPECT_EQ(File::read(folder.path(), decode).condition, Condition::unreadable);
  EXPECT_EQ(File::read(folder.path(), decode).error, EISDIR);
  EXPECT_EQ(File::read(folder.path() / "bad", decode).condition, Condition::damaged);
  EXPECT_EQ(File::read(folder.path() / "good", decode).value, std::string(100'000, 'x') + "!");
  const File tooLong(folder.path() / "good", O_RDONLY);
  EXPECT_EQ(tooLong.read(99'999).error, EFBIG);
}

TEST(AtomicFile, ReplacesALinkAndNotItsTarget) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "target") << "untouched";
  fs::create_symlink("target", folder.path() / "link");
  AtomicFile::write(bytesOf("text"), folder.path() / "link");
  EXPECT_FALSE(fs::is_symlink(folder.path() / "link"));
  EXPECT_EQ(test::readText(folder.path() / "target"), "untouched");
}

TEST(AtomicFile, AFailureNamesItsStepAndLeavesNothingBehind) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "file") << "old";
  fs::create_directories(folder.path() / "occupied" / "inner");
  EXPECT_EQ(failureOf("new", folder.path() / "file" / "child"), failed("folder", ENOTDIR));
  EXPECT_EQ(failureOf("new", folder.path() / std::string(250, 'n')), failed("open", ENAMETOOLONG));
  EXPECT_EQ(failureOf("new", folder.path() / "occupied"), failed("rename", EISDIR));
  EXPECT_EQ(entriesIn(folder.path()), 2);
  EXPECT_EQ(test::readText(folder.path() / "file"), "old");
}

TEST(AtomicFile, ARelativePathStandsInTheWorkingFolder) {
  const TemporaryFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  const std::string failure = failureOf("text", "file");
  fs::current_path(before);
  EXPECT_EQ(failure, "none");
  EXPECT_EQ(test::readText(folder.path() / "file"), "text");
}

}  // namespace
}  // namespace quillet
