// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "QuilletPhone/PhoneCommands.h"
#include "QuilletPhone/PhoneWordCount.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet {
namespace {

class PhoneCommands : public testing::Test {
 protected:
  PhoneExit run(std::vector<std::string> arguments) {
    out_.str("");
    err_.str("");
    std::istringstream in;
    return runPhone(PhoneArguments::parse(arguments), folder_, in, out_, err_);
  }

  const test::TemporaryFolder place_;
  const std::filesystem::path folder_ = place_.path();
  std::ostringstream out_, err_;
};

TEST(PhoneArguments, KeepsTextsThatLookLikeOptionsBehindTheDoubleDash) {
  const auto parsed = PhoneArguments::parse({"say", "--mac", "Desk", "--json", "--", "--not-an-option"});
  EXPECT_EQ(parsed.command, "say");
  EXPECT_EQ(parsed.operands, std::vector<std::string>{"--not-an-option"});
  EXPECT_EQ(parsed.option("mac"), "Desk");
  EXPECT_TRUE(parsed.json);
  for (const auto& wrong : std::vector<std::vector<std::string>>{{"say", "--mac"}, {"--nonsense"}}) {
    EXPECT_THROW(PhoneArguments::parse(wrong), PhoneError);
  }
}

TEST_F(PhoneCommands, SayWhatIsMissingAndExitAccordingly) {
  EXPECT_EQ(run({"say", "hello"}), PhoneExit::notReady);
  EXPECT_NE(err_.str().find("quillet-phone init"), std::string::npos);
  EXPECT_EQ(run({"init", "--service", "ftp://x"}), PhoneExit::usage);
  EXPECT_FALSE(std::filesystem::exists(folder_ / "phone.json"));
}

TEST_F(PhoneCommands, ReportAnUnreachableServiceWithoutKeepingHalfAPhone) {
  // Port 1 of the loopback interface refuses connections.
  EXPECT_EQ(run({"--json", "init", "--service", "http://127.0.0.1:1"}), PhoneExit::unreachable);
  EXPECT_NE(out_.str().find("\"exit\":4"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder_ / "phone.json"));
}

TEST_F(PhoneCommands, KeepADamagedFileAndNameIt) {
  std::ofstream(folder_ / "phone.json") << "{\"macs\":";
  EXPECT_EQ(run({"macs"}), PhoneExit::failure);
  EXPECT_NE(err_.str().find("phone.json"), std::string::npos);
  EXPECT_EQ(std::filesystem::file_size(folder_ / "phone.json"), 8U);
}

TEST_F(PhoneCommands, ForgetOnlyWhenTold) {
  // Port 1 of the loopback interface refuses connections.
  PhoneState{.name = "P", .service = "http://127.0.0.1:1"}.save(folder_);
  EXPECT_EQ(run({"reset"}), PhoneExit::done);
  EXPECT_NE(out_.str().find("Nothing was changed."), std::string::npos);
  EXPECT_EQ(run({"delete", "--yes"}), PhoneExit::unreachable);
  EXPECT_EQ(run({"rename", "Q"}), PhoneExit::unreachable);
  EXPECT_EQ(run({"rename", " \n"}), PhoneExit::usage);
  EXPECT_EQ(PhoneState::load(folder_)->name, "P");
  const auto before = Phone::loadIdentity(folder_).deviceId();
  EXPECT_EQ(run({"reset", "--yes"}), PhoneExit::done);
  EXPECT_EQ(run({"macs"}), PhoneExit::notReady);
  EXPECT_NE(Phone::loadIdentity(folder_).deviceId(), before);
}

TEST_F(PhoneCommands, TellHowManyWordsWentIn) {
  const PhoneState state{.name = "P", .service = "http://127.0.0.1:1"};
  state.save(folder_);
  recordInsertedWords(state, folder_, "three small words");
  EXPECT_EQ(run({"--json", "words"}), PhoneExit::done);
  EXPECT_NE(out_.str().find("\"total\":3"), std::string::npos);
  EXPECT_EQ(run({"init", "--words", "relative"}), PhoneExit::usage);
}

TEST(PhoneState, FindsAMacOnlyWhenOneFits) {
  const PhoneState state{.name = "P",
                         .service = "http://127.0.0.1",
                         .macs = {{{.deviceId = "ab12", .name = "Desk"}, 1}, {{.deviceId = "ab34", .name = "Lap"}, 2}}};
  EXPECT_EQ(state.mac("Lap")->identity.deviceId, "ab34");
  EXPECT_EQ(state.mac("ab1")->identity.name, "Desk");
  EXPECT_EQ(state.mac("ab"), nullptr);
  EXPECT_EQ(state.mac(""), nullptr);
  EXPECT_EQ(state.mac("none"), nullptr);
}

}  // namespace
}  // namespace quillet
