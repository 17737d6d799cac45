// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/LinuxDeviceModel.h"

#include <gtest/gtest.h>

#include <fstream>

#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet {
namespace {

class LinuxDeviceModelTest : public testing::Test {
 protected:
  void write(const std::string& path, const std::string& content) {
    std::filesystem::create_directories((sys / path).parent_path());
    std::ofstream(sys / path) << content;
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
