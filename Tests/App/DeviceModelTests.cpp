// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DeviceModel.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(DeviceModel, PrefersTheModelNameToTheBattery) {
  const struct {
    std::optional<std::string> name;
    bool battery;
    std::optional<DeviceKind> kind;
  } cases[] = {{"Mac mini (2023)", true, DeviceKind::macMini},
               {"MacBookPro18,1", false, DeviceKind::macBook},
               {"Some Desktop 900", false, std::nullopt},
               {"Some Laptop 14", true, DeviceKind::macBook},
               {"Mac14,3", true, DeviceKind::macBook},
               {std::nullopt, true, DeviceKind::macBook},
               {std::nullopt, false, std::nullopt}};
  for (const auto& c : cases) {
    int questions = 0;
    const DeviceModel model([&] { return ++questions, c.name; }, [&] { return c.battery; });
    EXPECT_EQ(model.kind(), c.kind) << c.name.value_or("none");
    EXPECT_EQ(model.kind(), c.kind);
    EXPECT_EQ(questions, 1);
  }
}

}  // namespace
}  // namespace quillet
