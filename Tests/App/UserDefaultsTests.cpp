// SPDX-License-Identifier: MIT
#include <thread>

#include "QuilletCompanion/App/DefaultsCommand.h"
#include "QuilletCompanion/App/UserDefaults.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/LogCapture.h"

namespace quillet {
namespace {

class UserDefaultsOnDisk : public testing::Test {
 protected:
  const test::TemporaryFolder folder_;
  const std::filesystem::path file_ = folder_.path() / "deep" / "defaults.json";
};

TEST_F(UserDefaultsOnDisk, ArgumentsStandAboveLastingSettingsAndAreNeverSaved) {
  std::vector<std::string> arguments{"--terminal", "-name", "from arguments", "-flag", "YES", "--json", "-last"};
  const auto domain = UserDefaults::takeArgumentDomain(arguments);
  EXPECT_EQ(arguments, (std::vector<std::string>{"--terminal", "--json", "-last"}));
  {
    UserDefaults defaults(file_, domain);
    defaults.set("name", "lasting");
    defaults.set("list", UserDefaults::valueFrom(R"(["a","b"])"));
    EXPECT_EQ(defaults.string("name"), "from arguments");
    EXPECT_TRUE(defaults.boolean("flag"));
  }
  UserDefaults later(file_);
  EXPECT_EQ(later.string("name"), "lasting");
  EXPECT_FALSE(later.boolean("flag"));
  EXPECT_EQ(later.strings("list"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(later.string("list"), std::nullopt);
}

TEST_F(UserDefaultsOnDisk, KeepsAbsentFalseAndNullApart) {
  {
    UserDefaults defaults(file_);
    defaults.setFlag("off", false);
    defaults.setJSON("nothing", "null");
    defaults.setJSON("key", R"({"keyCode":61})");
    defaults.setString("word", "maybe");
  }
  const UserDefaults later(file_, {{"typed", "0"}});
  EXPECT_EQ(later.flag("off"), false);
  EXPECT_EQ(later.flag("typed"), false);
  EXPECT_EQ(later.flag("word"), std::nullopt);
  EXPECT_EQ(later.flag("missing"), std::nullopt);
  EXPECT_EQ(later.json("nothing"), "null");
  EXPECT_EQ(later.json("key"), R"({"keyCode":61})");
  EXPECT_EQ(later.json("missing"), std::nullopt);
}

TEST_F(UserDefaultsOnDisk, ADamagedFileIsMovedAsideNotLost) {
  std::filesystem::create_directories(file_.parent_path());
  std::ofstream(file_) << "{broken";
  test::LogCapture::instance().expect("Settings unreadable; moving them aside");
  UserDefaults defaults(file_);
  EXPECT_TRUE(defaults.lasting().empty());
  EXPECT_FALSE(std::filesystem::exists(file_));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file_.parent_path()), {}), 1);
}

TEST_F(UserDefaultsOnDisk, WhatCannotBeReadIsNeverWrittenOver) {
  std::filesystem::create_directories(file_ / "within");
  test::LogCapture::instance().expect("Settings unreadable; moving them aside");
  EXPECT_TRUE(UserDefaults(file_).set("name", "new"));
  EXPECT_EQ(UserDefaults(file_).string("name"), "new");
  const auto beside = std::filesystem::directory_iterator(file_.parent_path());
  EXPECT_TRUE(std::any_of(begin(beside), end(beside), [](const auto& e) { return exists(e.path() / "within"); }));

  std::filesystem::remove_all(file_.parent_path());
  std::ofstream(file_.parent_path()) << "no folder";
  test::LogCapture::instance().expect("Settings unreadable, and they can't be moved aside; nothing is saved");
  test::LogCapture::instance().expect("Could not save the settings");
  UserDefaults defaults(file_);
  EXPECT_FALSE(defaults.set("name", "x"));
  EXPECT_EQ(defaults.string("name"), "x");
  EXPECT_EQ(test::readText(file_.parent_path()), "no folder");
  std::filesystem::remove(file_.parent_path());
  EXPECT_TRUE(defaults.set("other", "y"));
  EXPECT_EQ(UserDefaults(file_).lasting(), (boost::json::object{{"name", "x"}, {"other", "y"}}));
}

TEST_F(UserDefaultsOnDisk, ChangesOnlyItsOwnKeys) {
  UserDefaults running(file_);
  running.set("mine", "1");
  running.set("gone", "1");
  {
    UserDefaults other(file_);
    other.set("theirs", "2");
    other.remove("gone");
  }
  EXPECT_TRUE(running.set("mine", "3"));
  EXPECT_EQ(UserDefaults(file_).lasting(), (boost::json::object{{"mine", "3"}, {"theirs", "2"}}));
  EXPECT_EQ(running.string("theirs"), "2");
  EXPECT_TRUE(running.remove("mine"));
  EXPECT_EQ(UserDefaults(file_).lasting(), (boost::json::object{{"theirs", "2"}}));
}

TEST_F(UserDefaultsOnDisk, TwoThatWriteAtOnceBothLast) {
  constexpr int kRounds = 20;
  UserDefaults one(file_), other(file_);
  for (int round = 0; round < kRounds; ++round) {
    const std::string key = std::to_string(round);
    std::thread thread([&] { other.set("other" + key, true); });
    one.set("one" + key, true);
    thread.join();
  }
  EXPECT_EQ(UserDefaults(file_).lasting().size(), 2 * kRounds);
}

TEST_F(UserDefaultsOnDisk, TheCommandRefusesWhatItCannotKeep) {
  UserDefaults defaults(file_);
  std::ostringstream out, err;
  runDefaultsCommand(defaults, {"write", "macName", "Desk"}, out, err);
  const std::pair<std::string, std::string> cases[] = {{"foo", "caf\xe9"}, {"caf\xe9", "foo"}, {"", "foo"}};
  for (const auto& [key, value] : cases) {
    err.str("");
    EXPECT_EQ(runDefaultsCommand(defaults, {"write", key, value}, out, err), 2);
    EXPECT_EQ(err.str(), "A setting needs a name, and both must be UTF-8 text.\n");
  }
  test::LogCapture::instance().expect("A setting that no file can keep was refused");
  EXPECT_FALSE(defaults.set("foo", "caf\xe9"));
  EXPECT_EQ(UserDefaults(file_).lasting(), (boost::json::object{{"macName", "Desk"}}));
  test::LogCapture::instance().expect("Could not save the settings");
  UserDefaults nowhere("/proc/nope/defaults.json");
  EXPECT_EQ(runDefaultsCommand(nowhere, {"write", "a", "b"}, out, err), 1);
  EXPECT_EQ(runDefaultsCommand(nowhere, {"delete", "a"}, out, err), 1);
  UserDefaults inMemory(std::nullopt);
  EXPECT_EQ(runDefaultsCommand(inMemory, {"write", "a", "b"}, out, err), 1);
}

TEST_F(UserDefaultsOnDisk, TheCommandReadsWritesAndDeletes) {
  UserDefaults defaults(file_);
  std::ostringstream out, err;
  EXPECT_EQ(runDefaultsCommand(defaults, {"write", "macName", "Desk"}, out, err), 0);
  EXPECT_EQ(runDefaultsCommand(defaults, {"read", "macName"}, out, err), 0);
  EXPECT_EQ(out.str(), "Desk\n");
  EXPECT_EQ(runDefaultsCommand(defaults, {"delete", "macName"}, out, err), 0);
  EXPECT_EQ(runDefaultsCommand(defaults, {"read", "macName"}, out, err), 1);
  EXPECT_EQ(runDefaultsCommand(defaults, {"write", "macName"}, out, err), 2);
}

}  // namespace
}  // namespace quillet
