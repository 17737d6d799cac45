// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
#include "QuilletKit/Words/WordStatsStore.h"
#include "QuilletPhone/PhoneAnswers.h"
#include "QuilletPhone/PhoneCommands.h"
#include "QuilletPhone/PhoneWordCount.h"
#include "Tests/Doubles/FakeStores.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

class PhoneCommands : public testing::Test {
 protected:
  PhoneExit run(std::vector<std::string> arguments, const std::string& reply = "") {
    out_.str("");
    err_.str("");
    std::istringstream in(reply);
    return runPhone(arguments, folder_, in, out_, err_);
  }

  const test::TemporaryFolder place_;
  const std::filesystem::path folder_ = place_.path();
  std::ostringstream out_, err_;
};

TEST_F(PhoneCommands, ReadATextFromStandardInputAndCheckItAsAnyOther) {
  const PeerIdentity mac = DeviceIdentity::generate().peerIdentity("M", DevicePlatform::macos);
  PhoneState{.name = "P", .service = "http://127.0.0.1:1", .macs = {{mac, 1}}}.save(folder_);
  EXPECT_EQ(run({"say", "-"}, "words\n"), PhoneExit::unreachable) << err_.str();
  EXPECT_EQ(run({"--mac", "M", "say", "-"}, std::string("a\0b", 3)), PhoneExit::usage);
  EXPECT_EQ(run({"deliver", "token", "-", "--utterance", "u"}, "\xFF"), PhoneExit::usage);
  EXPECT_EQ(err_.str(), "quillet-phone: The text is not UTF-8.\nUtterance: u\n");
}

TEST(PhoneArguments, KeepsTextsThatLookLikeOptionsBehindTheDoubleDash) {
  const auto parsed = PhoneArguments::parse({"say", "--mac", "Desk", "--json", "--", "--not-an-option"});
  EXPECT_EQ(parsed.command, "say");
  EXPECT_EQ(parsed.operands, std::vector<std::string>{"--not-an-option"});
  // Neither a text nor a token of a Mac is an option because of its first character.
  for (const std::string token : {"-h58CIfFeSD4ED-LUdc-gQ", "--8CIfFeSD4ED-LUdc-gQA"}) {
    const auto delivery = PhoneArguments::parse({"deliver", token, "-5 degrees", "--utterance", "u", "--mac", "-M"});
    EXPECT_EQ(delivery.operands, (std::vector<std::string>{token, "-5 degrees"}));
    EXPECT_EQ(delivery.option("mac"), "-M");
  }
  EXPECT_EQ(parsed.option("mac"), "Desk");
  EXPECT_TRUE(parsed.json);
}

TEST_F(PhoneCommands, SayWhatIsMissingAndExitAccordingly) {
  EXPECT_EQ(run({"say", "hello"}), PhoneExit::notReady);
  EXPECT_NE(err_.str().find("quillet-phone init"), std::string::npos);
  for (const auto& help : {"-h", "help", "--help"}) {
    EXPECT_EQ(run({help}), PhoneExit::done);
    EXPECT_EQ(out_.str(), kPhoneHelp);
  }
}

TEST_F(PhoneCommands, RefuseWrongUsageBeforeAnythingElse) {
  auto wrong = test::rows<std::vector<std::string>>("command_lines", "phone");
  wrong.push_back({"say", "\xFF"});
  for (const bool isSetUp : {false, true}) {
    const PhoneState state{
        .name = "P", .service = "http://127.0.0.1:1", .macs = {{{.deviceId = "ab", .name = "M"}, 1}}};
    if (isSetUp) state.save(folder_);
    for (auto arguments : wrong) {
      EXPECT_EQ(run(arguments), PhoneExit::usage) << testing::PrintToString(arguments);
      EXPECT_NE(err_.str(), "");
      arguments.insert(arguments.begin(), "--json");
      EXPECT_EQ(run(arguments), PhoneExit::usage);
      EXPECT_NE(out_.str().find("\"exit\":2"), std::string::npos) << testing::PrintToString(arguments);
    }
    EXPECT_FALSE(std::filesystem::exists(folder_ / "keys"));
  }
}

TEST_F(PhoneCommands, ReportAnUnreachableServiceWithoutKeepingHalfAPhone) {
  // Port 1 of the loopback interface refuses connections.
  EXPECT_EQ(run({"--json", "init", "--service", "http://127.0.0.1:1"}), PhoneExit::unreachable);
  EXPECT_NE(out_.str().find("\"exit\":4"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder_ / "phone.json"));
}

TEST_F(PhoneCommands, NameWhatIsDamagedAndForgetItWhenTold) {
  const std::string keys = "keys/quillet-phone/device.signing.v1";
  const std::pair<std::string, std::function<void(const std::filesystem::path&)>> damages[] = {
      {"phone.json", [](const auto& file) { std::ofstream(file) << "{\"macs\":"; }},
      {"phone.json", [](const auto& file) { std::filesystem::create_directory(file); }},
      {keys, [](const auto& file) { std::ofstream(file) << "short"; }},
  };
  for (const auto& [name, damage] : damages) {
    PhoneState{.name = "P", .service = "http://127.0.0.1:1", .macs = {}}.save(folder_);
    const auto before = Phone::loadIdentity(folder_).deviceId();
    std::filesystem::remove(folder_ / name);
    damage(folder_ / name);
    const std::vector<std::vector<std::string>> commands = {{"presence"}, {"init"}, {"delete", "--yes"}};
    for (const auto& command : commands) {
      EXPECT_EQ(run(command), PhoneExit::failure) << name << command[0];
      EXPECT_NE(err_.str().find(folder_.string()), std::string::npos) << err_.str();
      EXPECT_NE(err_.str().find("quillet-phone reset"), std::string::npos) << err_.str();
    }
    EXPECT_TRUE(std::filesystem::exists(folder_ / name));
    EXPECT_EQ(run({"reset", "--yes"}), PhoneExit::done) << err_.str();
    EXPECT_EQ(run({"macs"}), PhoneExit::notReady);
    EXPECT_NE(Phone::loadIdentity(folder_).deviceId(), before);
  }
}

TEST_F(PhoneCommands, TakeEveryUsualYes) {
  PhoneState{.name = "P", .service = "http://127.0.0.1:1", .macs = {}}.save(folder_);
  for (const auto& no : {"", "\n", "n", "yessir", "\xFF"}) {
    EXPECT_EQ(run({"reset"}, no), PhoneExit::done);
    EXPECT_NE(out_.str().find("Nothing was changed."), std::string::npos);
    EXPECT_TRUE(PhoneState::load(folder_)) << no;
  }
  for (const auto& yes : {"y", "Y\n", "Yes", "YES\r\n", " yes"}) {
    PhoneState{.name = "P", .service = "http://127.0.0.1:1", .macs = {}}.save(folder_);
    EXPECT_EQ(run({"reset"}, yes), PhoneExit::done);
    EXPECT_FALSE(PhoneState::load(folder_)) << yes;
  }
}

TEST_F(PhoneCommands, KeepEverythingThatTheServiceDidNotHear) {
  // Port 1 of the loopback interface refuses connections.
  PhoneState{.name = "P", .service = "http://127.0.0.1:1"}.save(folder_);
  EXPECT_EQ(run({"delete", "--yes"}), PhoneExit::unreachable);
  EXPECT_EQ(run({"rename", "Q"}), PhoneExit::unreachable);
  EXPECT_EQ(PhoneState::load(folder_)->name, "P");
}

TEST(PhoneAnswers, TellACancellationThatCameTooLateAndWhatIsUncertain) {
  using State = DeliveryTransportState;
  const ResultPayload inserted{.utteranceId = "u", .outcome = InsertionOutcome::inserted};
  EXPECT_EQ(answerOf({State::result, true, inserted}, "u", DeliveryWish::cancelled).exit, PhoneExit::tooLate);
  EXPECT_EQ(answerOf({State::received, true, {}}, "u", DeliveryWish::cancelled).exit, PhoneExit::tooLate);
  const auto expired = answerOf({State::expired, true, {}}, "u-1", DeliveryWish::result);
  EXPECT_EQ(expired.exit, PhoneExit::uncertain);
  EXPECT_NE(expired.text.find("Utterance: u-1"), std::string::npos);
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

/// What a desktop program that shares the folder shows.
WordStatsSummary summaryOf(const std::filesystem::path& shared) {
  FolderLedgerStorage storage(shared);
  test::MemoryPreferences local;
  return WordStatsStore(&storage, local, "Desk", "macmini", WordCalendar::current(), &Clock::now).summary();
}

/// A text of its own that went in.
void sendAndCount(const PhoneState& state, const std::filesystem::path& folder, std::string_view text,
                  std::ostream& notes) {
  static int last = 0;
  const std::string id = "u" + std::to_string(++last);
  noteSentWords(folder, id, text, notes);
  countSentWords(state, folder, id, notes);
}

TEST(PhoneWordCount, CountsAnUtteranceOnceHoweverOftenItIsSentAndTold) {
  const test::TemporaryFolder root;
  std::ostringstream notes;
  const PhoneState state{.name = "P", .service = "", .macs = {}};
  countSentWords(state, root.path(), "unknown", notes);
  for (int i = 0; i < 2; ++i) {
    noteSentWords(root.path(), "u", "two words", notes);
    noteSentWords(root.path(), "never told", "three more words", notes);
    EXPECT_EQ(wordSummary(state, root.path(), notes).total, i * 2);
    countSentWords(state, root.path(), "u", notes);
    countSentWords(state, root.path(), "u", notes);
  }
  EXPECT_EQ(wordSummary(state, root.path(), notes).total, 2);
  EXPECT_EQ(notes.str(), "");
  EXPECT_EQ(test::readText(root.path() / "words.json").find("more"), std::string::npos) << "no text is kept";
}

TEST(PhoneWordCount, ReachesTheDesktopThroughTheFolder) {
  const test::TemporaryFolder root;
  std::ostringstream notes;
  const auto phone = root.path() / "phone", shared = root.path() / "shared";
  PhoneState state{.name = "My phone", .service = "http://127.0.0.1:1", .macs = {}};
  sendAndCount(state, phone, "two words", notes);
  state.wordLedgerFolder = shared;
  state.save(phone);
  EXPECT_EQ(PhoneState::load(phone)->wordLedgerFolder, shared);
  sendAndCount(state, phone, "-", notes);
  EXPECT_EQ(summaryOf(shared).total, 0);
  std::filesystem::create_directory(shared);
  sendAndCount(state, phone, "and three more", notes);
  const auto summary = summaryOf(shared);
  EXPECT_EQ(summary.total, 5) << "what was counted before the folder was there comes along";
  ASSERT_EQ(summary.devices.size(), 1U);
  EXPECT_EQ(summary.devices[0].name, "My phone");
  EXPECT_FALSE(summary.devices[0].isThisDevice);
}

TEST(PhoneWordCount, LosesNoCountsThatItCannotRead) {
  const test::TemporaryFolder root;
  const auto file = root.path() / "words.json";
  const PhoneState state{.name = "My phone", .service = "", .macs = {}, .wordLedgerFolder = "relative"};
  for (const char* damaged : {"{", ""}) {
    test::writeText(file, damaged);
    std::ostringstream notes;
    sendAndCount(state, root.path(), "two words", notes);
    EXPECT_NE(notes.str().find("words.json.damaged"), std::string::npos);
    EXPECT_EQ(test::readText(root.path() / "words.json.damaged"), damaged);
    EXPECT_EQ(wordSummary(state, root.path(), notes).total, 2) << "counting goes on";
  }

  std::filesystem::remove(file);
  std::filesystem::create_directory(file);  // can't be read, not even by root
  std::ostringstream notes;
  sendAndCount(state, root.path(), "one", notes);
  EXPECT_NE(notes.str().find("not counted"), std::string::npos);
  EXPECT_NE(notes.str().find(file.string()), std::string::npos);
  EXPECT_THROW(wordSummary(state, root.path(), notes), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_directory(file));
}

TEST(PhoneWordCount, NeverFails) {
  const test::TemporaryFolder root;
  std::ostringstream notes;
  const PhoneState state{.name = "\xFF", .service = "", .macs = {}, .wordLedgerFolder = "relative"};
  sendAndCount(state, root.path(), "words that can't be encoded", notes);
  test::writeText(root.path() / "file", "");
  sendAndCount(state, root.path() / "file", "one", notes);
  EXPECT_FALSE(notes.str().empty());
}

}  // namespace
}  // namespace quillet
