// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "QuilletCompanion/App/DefaultsCommand.h"
#include "QuilletCompanion/App/UserDefaults.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/TemporaryFolder.h"

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

TEST_F(UserDefaultsOnDisk, ADamagedFileIsMovedAsideNotLost) {
  std::filesystem::create_directories(file_.parent_path());
  std::ofstream(file_) << "{broken";
  test::LogCapture::instance().expect("Settings unreadable; moving them aside");
  UserDefaults defaults(file_);
  EXPECT_TRUE(defaults.lasting().empty());
  EXPECT_FALSE(std::filesystem::exists(file_));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file_.parent_path()), {}), 1);
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
