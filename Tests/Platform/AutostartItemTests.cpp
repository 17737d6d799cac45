// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/AutostartItem.h"

#include <glib.h>
#include <gtest/gtest.h>

#include "QuilletCompanion/Platform/Linux/Session/InstanceLock.h"
#include "QuilletCompanion/Platform/Linux/Session/LinuxDeviceModel.h"
#include "Tests/Doubles/Files.h"

namespace quillet {
namespace {

TEST(AutostartItem, WritesAnEntryThatDesktopsStartAsItWasMeant) {
  const test::TemporaryFolder folder;
  const auto file = folder.path() / "autostart" / "quillet.desktop";
  const std::vector<std::string> command{"/opt/my \"own\" $HOME`s/100%/back\\slash", "--terminal"};
  AutostartItem item(folder.path(), "quillet", command);
  EXPECT_FALSE(item.isEnabled());
  item.setEnabled(false);
  item.setEnabled(true);
  EXPECT_TRUE(item.isEnabled());
  // What GLib, which desktops start entries by, makes of the line.
  g_autoptr(GKeyFile) keys = g_key_file_new();
  ASSERT_TRUE(g_key_file_load_from_file(keys, file.c_str(), G_KEY_FILE_NONE, nullptr));
  g_autofree char* line = g_key_file_get_string(keys, "Desktop Entry", "Exec", nullptr);
  g_auto(GStrv) words = nullptr;
  int count = 0;
  ASSERT_TRUE(g_shell_parse_argv(line, &count, &words, nullptr)) << line;
  ASSERT_EQ(count, 2);
  EXPECT_STREQ(words[0], "/opt/my \"own\" $HOME`s/100%%/back\\slash");
  EXPECT_STREQ(words[1], "--terminal");
  item.setEnabled(false);
  EXPECT_FALSE(item.isEnabled());
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(AutostartItem, RespectsWhatADesktopsSettingsSwitchedOff) {
  const test::TemporaryFolder folder;
  AutostartItem item(folder.path(), "quillet", {"quillet"});
  for (const char* off : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
    item.setEnabled(true);
    const auto file = folder.path() / "autostart" / "quillet.desktop";
    test::writeText(file, test::readText(file) + off + "\n");
    EXPECT_FALSE(item.isEnabled()) << off;
  }
  test::writeText(folder.path() / "file", "");
  AutostartItem blocked(folder.path() / "file", "quillet", {"quillet"});
  blocked.setEnabled(true);
  EXPECT_FALSE(blocked.isEnabled());
  AutostartItem homeless(std::nullopt, "quillet", {"quillet"});
  homeless.setEnabled(true);
  EXPECT_FALSE(homeless.isEnabled());
}

TEST(InstanceLock, IsHeldOnceAndGivenBack) {
  const test::TemporaryFolder folder;
  {
    const InstanceLock first(folder.path() / "new");
    EXPECT_TRUE(first.isHeld());
    EXPECT_FALSE(InstanceLock(folder.path() / "new").isHeld());
  }
  EXPECT_EQ(std::filesystem::status(folder.path() / "new").permissions(), std::filesystem::perms::owner_all);
  EXPECT_TRUE(InstanceLock(folder.path() / "new").isHeld());
}

class LinuxDeviceModelTest : public testing::Test {
 protected:
  void write(const std::string& path, const std::string& content) {
    std::filesystem::create_directories((sys / path).parent_path());
    test::writeText(sys / path, content);
  }

  const test::TemporaryFolder folder;
  const std::filesystem::path sys = folder.path();
};

TEST_F(LinuxDeviceModelTest, ReadsTheProductName) {
  const LinuxDeviceModel model(sys);
  EXPECT_EQ(model.modelName(), std::nullopt);
  write("class/dmi/id/product_name", "\n");
  EXPECT_EQ(model.modelName(), std::nullopt);
  write("class/dmi/id/product_name", std::string("Macmini7,1\0rest\n", 16));
  EXPECT_EQ(model.modelName(), "Macmini7,1");
  write("class/dmi/id/product_name", "Box \xff 2\n");
  EXPECT_EQ(model.modelName(), "Box \uFFFD 2") << "or no feedback could be sent";
}

TEST_F(LinuxDeviceModelTest, OnlyABatteryOfTheSystemCounts) {
  const LinuxDeviceModel model(sys);
  EXPECT_FALSE(model.hasBattery());
  write("class/power_supply/AC/type", "Mains\n");
  write("class/power_supply/mouse/type", "Battery\n");
  write("class/power_supply/mouse/scope", "Device\n");
  EXPECT_FALSE(model.hasBattery());
  write("class/power_supply/BAT0/type", "Battery\n");
  EXPECT_TRUE(model.hasBattery());
}

}  // namespace
}  // namespace quillet
