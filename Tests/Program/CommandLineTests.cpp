// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/CommandLine.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quillet {
namespace {

using Words = std::vector<std::string>;

class CommandLineTest : public testing::Test {
 protected:
  CommandLine::Request parse(Words arguments) {
    out.str("");
    err.str("");
    return CommandLine::parse(std::move(arguments), out, err);
  }
  std::ostringstream out, err;
};

TEST_F(CommandLineTest, TakesOptionsInAnyOrderAndSettingsAmongThem) {
  for (const Words& arguments :
       {Words{"--terminal", "-key", "--json", "--json"}, Words{"--json", "-key", "--json", "--terminal"}}) {
    const auto request = parse(arguments);
    const auto* terminal = std::get_if<CommandLine::Terminal>(&request);
    ASSERT_NE(terminal, nullptr) << err.str();
    EXPECT_EQ(terminal->style, TerminalOutput::Style::json);
    EXPECT_EQ(terminal->settings, (boost::json::object{{"key", "--json"}}));
  }
  const auto windows = parse({"-key", "value"});
  EXPECT_EQ(std::get<CommandLine::Windows>(windows).settings, (boost::json::object{{"key", "value"}}));
  const auto request = parse({"--terminal"});
  EXPECT_EQ(std::get<CommandLine::Terminal>(request).style, TerminalOutput::Style::people);
}

TEST_F(CommandLineTest, LeavesTheWordsOfASettingsCommandAlone) {
  for (const Words& words : {Words{}, Words{"read"}, Words{"write", "-key", "-5"}, Words{"delete", "key", "--json"}}) {
    Words arguments{"defaults"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const auto request = parse(arguments);
    const auto* settings = std::get_if<CommandLine::Settings>(&request);
    ASSERT_NE(settings, nullptr) << err.str();
    EXPECT_EQ(settings->words, words);
  }
}

TEST_F(CommandLineTest, RefusesWhatNobodyWouldLookAt) {
  const Words cases[] = {{"--terminal", "defaults", "read"}, {"-key", "value", "defaults", "read"},
                         {"--terminal", "--unknown"},        {"--terminal", "word"},
                         {"--terminal", "-lonely"},          {"--json"}};
  for (const auto& arguments : cases) {
    const auto request = parse(arguments);
    const auto* answered = std::get_if<CommandLine::Answered>(&request);
    ASSERT_NE(answered, nullptr) << testing::PrintToString(arguments);
    EXPECT_EQ(answered->exitCode, 2) << testing::PrintToString(arguments);
    EXPECT_TRUE(err.str().starts_with("QuilletCompanion: ")) << err.str();
    EXPECT_EQ(out.str(), "");
  }
  for (const char* option : {"--help", "--version"}) {
    const auto request = parse({option, "--terminal"});
    EXPECT_EQ(std::get<CommandLine::Answered>(request).exitCode, 0);
    EXPECT_NE(out.str().find("QuilletCompanion"), std::string::npos) << option;
    EXPECT_EQ(err.str(), "");
  }
}

}  // namespace
}  // namespace quillet
