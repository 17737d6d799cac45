// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/Crypto.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/LogLimiter.h"
#include "QuilletKit/Base/Unicode.h"
#include "Tests/Doubles/Files.h"

namespace quillet {
namespace {

using namespace Crypto;

Key filledKey(std::uint8_t value) {
  Key key;
  key.fill(value);
  return key;
}

TEST(Crypto, ManyThreadsAtOnce) {
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (std::uint8_t t = 1; t <= 4; ++t) {
    threads.emplace_back([&wrong, t] {
      const Key key = filledKey(t);
      for (int i = 0; i < 50; ++i) {
        const Bytes message = randomBytes(200);
        if (open(key, seal(key, {}, message, {}), {}) != message) ++wrong;
        if (!verify(ed25519PublicKey(key), sha256(message), sign(key, sha256(message)))) ++wrong;
        if (hkdf(message, {}, {}, 32) != hkdf(message, Bytes(32), {}, 32)) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

using namespace std::chrono_literals;

TEST(LogLimiterTest, ARepeatedLineIsCountedAndToldOfOnceAMinute) {
  LogLimiter limiter;
  LogLimiter::Time now{};
  const auto written = [&](const char* line, int times) {
    int count = 0;
    for (int i = 0; i < times; ++i) count += limiter.admits(line, now);
    return count;
  };
  const auto told = [&] {
    std::map<std::string, std::size_t> lines;
    limiter.summarise(now, [&](const std::string& line, std::size_t times) { lines[line] = times; });
    return lines;
  };
  using Lines = std::map<std::string, std::size_t>;
  EXPECT_EQ(written("a", 1000), 10);
  EXPECT_EQ(written("b", 10), 10);
  now += 59s;
  EXPECT_EQ(written("a", 5), 0);
  EXPECT_EQ(written("c", 11), 10);
  EXPECT_EQ(told(), Lines{});
  now += 1s;
  EXPECT_EQ(told(), (Lines{{"a", 995}}));
  EXPECT_EQ(written("a", 11), 10);
  now = LogLimiter::Time::max();
  EXPECT_EQ(told(), (Lines{{"a", 1}, {"c", 1}}));
}

TEST(LogLimiterTest, DifferentLinesDoNotFillTheMemory) {
  LogLimiter limiter;
  for (int i = 0; i < 5000; ++i) EXPECT_TRUE(limiter.admits("line " + std::to_string(i), {}));
  int written = 0;
  for (int i = 0; i < 100; ++i) written += limiter.admits("line 7", {});
  EXPECT_EQ(written, 9) << "those that were known stay so";
}

TEST(Unicode, ConvertsBothWaysAndRefusesIllFormedText) {
  for (const std::string text : {"", "plain", "\u00E9\u20AC\U0001F600"}) {
    const auto units = Unicode::toUTF16(text);
    ASSERT_TRUE(units);
    EXPECT_EQ(Unicode::toUTF8(*units), text);
    EXPECT_EQ(Unicode::utf16Length(text), units->size());
  }
  EXPECT_EQ(Unicode::toUTF16("\U0001F600"), u"\xD83D\xDE00");
  EXPECT_EQ(Unicode::toUTF16(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
  for (const std::string_view bad : {"\xC0\xAF", "\xED\xA0\x80", "\xE2\x82", "\xFF", "\xF4\x90\x80\x80"}) {
    EXPECT_FALSE(Unicode::toUTF16(bad)) << bad.size();
    EXPECT_FALSE(Unicode::isValidUTF8(bad));
  }
  EXPECT_EQ(Unicode::toUTF32(u"\u00E9\xD83D\xDE00z"), U"\u00E9\U0001F600z");
  for (const std::u16string_view lone : {u"a\xD83D", u"\xDE00z", u"\xD83D\xD83D\xDE00"}) {
    EXPECT_FALSE(Unicode::toUTF8(lone));
    EXPECT_FALSE(Unicode::toUTF32(lone));
  }
}

TEST(Unicode, TrimsWhiteSpaceAndNewLines) {
  EXPECT_EQ(Unicode::trim(" \t\r\n\u0085\u00A0\u2003\u2028\u2029\u3000a b\u205F\v\f "), "a b");
  EXPECT_EQ(Unicode::trim(" \u3000 "), "");
  EXPECT_EQ(Unicode::trim("\u200Bx\u200B"), "\u200Bx\u200B");
  EXPECT_EQ(Unicode::trim(u"\u2003\U0001F600 "), u"\U0001F600");
}

namespace fs = std::filesystem;
using test::TemporaryFolder;

std::ptrdiff_t entriesIn(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

unsigned modeOf(const fs::path& path) {
  return static_cast<unsigned>(fs::status(path).permissions());
}

using Failed = std::pair<std::string, int>;
const Failed kNone("none", 0);

Failed failureOf(std::string_view text, const fs::path& path) {
  try {
    AtomicFile::write(bytesOf(text), path);
  } catch (const AtomicFile::Failure& failure) {
    return {failure.operation, failure.code};
  } catch (const fs::filesystem_error& error) {
    return {"folder", error.code().value()};
  }
  return kNone;
}

TEST(AtomicFile, OnlyTheOwnerCanReadWhatIsNew) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(0);
  const fs::path path = folder.path() / "a" / "b" / "file";
  EXPECT_EQ(failureOf("text", path), kNone);
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
  EXPECT_EQ(failureOf("new", folder.path() / "file" / "child"), Failed("folder", ENOTDIR));
  EXPECT_EQ(failureOf("new", folder.path() / std::string(250, 'n')), Failed("open", ENAMETOOLONG));
  EXPECT_EQ(failureOf("new", folder.path() / "occupied"), Failed("rename", EISDIR));
  EXPECT_EQ(entriesIn(folder.path()), 2);
  EXPECT_EQ(test::readText(folder.path() / "file"), "old");
}

TEST(AtomicFile, ARelativePathStandsInTheWorkingFolder) {
  const TemporaryFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  EXPECT_EQ(failureOf("text", "file"), kNone);
  fs::current_path(before);
  EXPECT_EQ(test::readText(folder.path() / "file"), "text");
}

}  // namespace
}  // namespace quillet
