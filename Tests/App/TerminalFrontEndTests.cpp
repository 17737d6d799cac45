// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalFrontEnd.h"

#include <boost/json/parse.hpp>

#include "QuilletKit/Base/Base64URL.h"
#include "Tests/App/AppModelHarness.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

namespace json = boost::json;
using test::FakeService;

class TerminalFrontEndTest : public test::AppModelTest {
 protected:
  void open(TerminalFrontEnd::Style style = TerminalFrontEnd::Style::json) {
    if (!model) makeModel();
    front = std::make_unique<TerminalFrontEnd>(
        *model, time.executor(), style, [this](std::string line) { lines.push_back(std::move(line)); },
        [this] { ++quits; });
  }
  void openConnected() {
    havePeer(phone, time.wall);
    listPairs({phone.deviceId()});
    open();
    model->start();
    ASSERT_TRUE(until([&] { return isConnected() && service.count(kPairs) >= 2; }));
    settle();
    lines.clear();
  }
  /// The first answer of this name, or an error, that comes after this line.
  json::object ask(const std::string& line, const std::string& name) {
    lines.clear();
    front->handleLine(line);
    until([&] { return found(name) || found("error"); });
    return found(name).value_or(found("error").value_or(json::object{}));
  }
  std::vector<json::object> all(const char* kind, const std::string& name) {
    std::vector<json::object> list;
    for (const auto& line : lines) {
      auto object = json::parse(line).as_object();
      if (object.contains(kind) && object[kind].as_string() == name) list.push_back(object);
    }
    return list;
  }
  std::vector<json::object> events(const std::string& name) { return all("event", name); }
  std::optional<json::object> found(const std::string& name) {
    const auto answers = all("answer", name);
    return answers.empty() ? std::nullopt : std::optional(answers.front());
  }
  std::string refusal(const std::string& line) {
    auto answer = ask(line, "error");
    return answer.contains("message") ? std::string(answer["message"].as_string()) : "";
  }
  ~TerminalFrontEndTest() override { front.reset(); }

  std::vector<std::string> lines;
  int quits = 0;
  std::unique_ptr<TerminalFrontEnd> front;
};

TEST_F(TerminalFrontEndTest, DictatesAndTellsEveryPhaseAndTheLevel) {
  defaults.setString("dictation.recognizer", "device");
  open();
  model->start();
  time.run();
  EXPECT_EQ(refusal("dictate"), "Dictation is off. Type \"dictation on\".");
  EXPECT_EQ(ask("dictation on", "dictation")["hint"], "Hold Right ⌥ or press ⌃⌥Space");
  EXPECT_EQ(refusal("last"), "Nothing was dictated yet.");
  lines.clear();
  front->handleLine("dictate");
  time.run();
  desk.deviceRecognizer->starts.give(true);
  desk.deviceRecognizer->level = 0.5;
  time.run();
  time.advance(std::chrono::milliseconds(50));
  front->handleLine("dictate");
  time.run();
  desk.deviceRecognizer->finishes.give("Hello");
  time.advance(std::chrono::seconds(5));
  std::vector<std::string> phases;
  for (auto& event : events("dictation")) phases.emplace_back(event["phase"].as_string());
  EXPECT_EQ(phases, (std::vector<std::string>{"starting", "listening", "transcribing", "inserted", "idle"}));
  EXPECT_EQ(events("level").at(0)["level"], 0.5);
  EXPECT_EQ(ask("last", "last")["text"], "Hello");
  lines.clear();
  front->handleLine("dictate");
  EXPECT_EQ(ask("cancel", "cancel")["answer"], "cancel");
  EXPECT_EQ(events("dictation").back()["phase"], "idle");
}

TEST_F(TerminalFrontEndTest, ChangesWhatDictationDoes) {
  open();
  model->start();
  EXPECT_EQ(refusal("microphones"), "Dictation is off. Type \"dictation on\".");
  front->handleLine("dictation on");
  desk.devices.tell({{{1, "usb", "Desk", true, {}}, {2, "web", "Camera", true, {}}}, 2});
  const json::array list = ask("microphones", "microphones")["microphones"].as_array();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].at("name"), "Camera");
  EXPECT_EQ(list[0].at("isDefault"), true);
  using Row = std::tuple<std::string, std::string, std::string, std::string>;
  for (const auto& [line, name, field, value] : test::rows<Row>("command_lines", "dictation")) {
    EXPECT_EQ(ask(line, name)[field], json::value(json::string(value))) << line;
  }
  EXPECT_EQ(defaults.string("dictation.deviceEngine"), "tcp://localhost:1234");
  for (const auto& [line, begins] : test::rows<std::tuple<std::string, std::string>>("command_lines", "no dictation")) {
    EXPECT_TRUE(refusal(line).starts_with(begins)) << line;
    EXPECT_NE(refusal(line), "") << line;
  }
}

TEST_F(TerminalFrontEndTest, TellsEveryStepToTheFirstConnection) {
  open();
  model->start();
  ASSERT_TRUE(until([&] { return isConnected(); }));
  std::vector<std::string> steps, statuses;
  for (auto& event : events("registration")) steps.emplace_back(event["state"].as_string());
  for (auto& event : events("connection")) statuses.emplace_back(event["status"].as_string());
  EXPECT_EQ(steps, (std::vector<std::string>{"registering", "registered"}));
  EXPECT_EQ(statuses, (std::vector<std::string>{"reconnecting", "connected"}));
  EXPECT_EQ(events("device").size(), 1u);
  lines.clear();
  provider.trusted = false;
  time.advance(std::chrono::seconds(3));
  ASSERT_EQ(events("trust").size(), 1u);
  EXPECT_FALSE(events("trust")[0]["trusted"].as_bool());
  EXPECT_EQ(events("readiness").back()["state"].as_string(), "noAccessibility");
  auto status = ask("status", "status");
  EXPECT_EQ(status["registration"].as_object()["state"].as_string(), "registered");
  EXPECT_EQ(status["connection"].as_string(), "connected");
  EXPECT_EQ(status["version"].as_string(), "1.2 (3)");
  EXPECT_FALSE(status["accessibility"].as_bool());
}

TEST_F(TerminalFrontEndTest, SaysWhatIsWrongWithALine) {
  open();
  for (const auto& [line, expected] : test::rows<std::tuple<std::string, std::string>>("command_lines", "terminal")) {
    EXPECT_EQ(refusal(line), expected) << line;
  }
  EXPECT_EQ(refusal("\xff"), "This line is not UTF-8.");
  EXPECT_NE(refusal("reset").find("\"reset confirm\""), std::string::npos);
  EXPECT_NE(refusal("reset now").find("\"reset confirm\""), std::string::npos);
  lines.clear();
  front->handleLine("  ");
  EXPECT_TRUE(lines.empty());
}

TEST_F(TerminalFrontEndTest, HelpListsEveryCommandThatAnswers) {
  open();
  const std::string text(ask("help", "help")["text"].as_string());
  std::size_t listed = 0;
  for (std::size_t at = 0; at != std::string::npos; at = text.find('\n', at + 1), ++listed) {
    const std::size_t start = at == 0 ? 0 : at + 1;
    const std::string word = text.substr(start, text.find(' ', start) - start);
    lines.clear();
    front->handleLine(word);
    if (word != "quit" && word != "health") EXPECT_FALSE(lines.empty()) << word;
    for (const auto& line : lines) EXPECT_EQ(line.find("no command"), std::string::npos) << word;
  }
  EXPECT_GE(listed, 18u);
  EXPECT_EQ(quits, 1);
  EXPECT_EQ(restarts, 1);
  EXPECT_TRUE(until([&] { return found("health").has_value(); }));
}

TEST_F(TerminalFrontEndTest, KeepsTheDeviceUpToDate) {
  openConnected();
  auto answer = ask("rename  Attic Mac ", "rename");
  EXPECT_EQ(answer["macName"].as_string(), "Attic Mac");
  EXPECT_TRUE(answer["changed"].as_bool());
  EXPECT_EQ(events("macName").size(), 1u);
  EXPECT_FALSE(ask("rename Attic Mac", "rename")["changed"].as_bool());
  auto peer = ask("peers", "peers")["peers"].as_array()[0].as_object();
  EXPECT_EQ(peer["name"].as_string(), "Ada's phone");
  EXPECT_EQ(peer["lastSeenAt"].as_int64(), 77);
  answer = ask("health", "health");
  EXPECT_EQ(answer["state"].as_string(), "reachable");
  EXPECT_EQ(answer["rows"].as_array().size(), 4u);
  service.set("DELETE /v1/pairs/" + phone.deviceId(), FakeService::error(500, "down"));
  answer = ask("revoke Ada's phone", "revoke");
  EXPECT_FALSE(answer["serviceKnows"].as_bool());
  EXPECT_TRUE(events("peers").back()["peers"].as_array().empty());
  EXPECT_TRUE(ask("login on", "login")["enabled"].as_bool());
  loginItem.allowed = false;
  EXPECT_EQ(refusal("login on"), "The desktop's list of programs could not be changed.");
  EXPECT_TRUE(ask("feedback reply-to=ada@example.org Hello", "feedback")["sent"].as_bool());
  EXPECT_NE(service.bodies("POST /v1/feedback")[0].find(R"("replyTo":"ada@example.org")"), std::string::npos);
}

TEST_F(TerminalFrontEndTest, ResetsAndDeletesOnlyWhenToldTwice) {
  openConnected();
  const auto before = model->deviceId().get();
  refusal("reset");
  refusal("delete");
  EXPECT_EQ(model->deviceId().get(), before);
  service.set(kDelete, FakeService::error(500, "down"));
  EXPECT_EQ(refusal("delete confirm"), "Couldn't reach the Quillet service. Nothing was deleted.");
  service.set(kDelete, {});
  ask("pair", "pair");
  auto answer = ask("delete confirm", "delete");
  EXPECT_EQ(answer["deviceId"].as_string(), *model->deviceId().get());
  const auto between = model->deviceId().get();
  EXPECT_NE(between, before);
  ask("reset confirm", "reset");
  EXPECT_NE(model->deviceId().get(), between);
  front.reset();
  open(TerminalFrontEnd::Style::people);
  const auto last = model->deviceId().get();
  for (const char* line : {"reset", "no", "yes", "reset", "status", "yes"}) front->handleLine(line);
  EXPECT_EQ(model->deviceId().get(), last);
  for (const char* line : {"reset", "yes"}) front->handleLine(line);
  EXPECT_NE(model->deviceId().get(), last);
}

TEST_F(TerminalFrontEndTest, SaysWhatAResetCouldNotForget) {
  using test::LogCapture;
  LogCapture::instance().expect("Could not load the device identity from Keychain");
  LogCapture::instance().expect("Journal unreadable; inserting nothing until it can be read");
  openConnected();
  secrets.locked = true;
  EXPECT_NE(refusal("reset confirm").find("could not forget: its keys. See"), std::string::npos);
  secrets.locked = false;
  EXPECT_FALSE(ask("reset confirm", "reset")["deviceId"].as_string().empty());
  // Folders that hold something can't be removed as files are.
  for (const char* name : {"peers.json", "journal.json"}) {
    std::filesystem::remove(folder.path() / name);
    std::filesystem::create_directories(folder.path() / name / "within");
  }
  const auto before = model->deviceId().get();
  const std::string stayed = "This computer could not forget: its paired iPhones, what it inserted. ";
  EXPECT_TRUE(refusal("reset confirm").starts_with(stayed));
  EXPECT_NE(model->deviceId().get(), before);
  EXPECT_TRUE(ask("reset confirm", "reset").contains("message")) << "the paired phones' folder is still there";
}

TEST_F(TerminalFrontEndTest, SaysThatANameWillNotLast) {
  open();
  EXPECT_FALSE(ask("rename Attic", "rename")["saved"].as_bool());
  defaults = UserDefaults(folder.path() / "defaults.json");
  EXPECT_TRUE(ask("rename Cellar", "rename")["saved"].as_bool());
}

TEST_F(TerminalFrontEndTest, APairingThatWaitsForTheNetworkCanBeCancelled) {
  openConnected();
  const std::string sessions = "POST /v1/pairing/sessions";
  service.set(sessions, {200, "no JSON"});
  front->handleLine("pair");
  const auto phase = [&] { return std::string(events("pairing").back()["phase"].as_string()); };
  ASSERT_TRUE(until([&] { return phase() == "failed"; }));
  front->handleLine("cancel");
  EXPECT_TRUE(found("cancel"));
  EXPECT_EQ(events("pairing").back()["failure"].as_string(), "cancelledHere");
  const std::size_t asked = service.count(sessions);
  time.advance(std::chrono::seconds(10));
  settle();
  EXPECT_EQ(service.count(sessions), asked);
  EXPECT_EQ(refusal("cancel"), "There is no pairing to cancel.");
}

TEST_F(TerminalFrontEndTest, TextFromElsewhereStaysInItsPlace) {
  // A line of its own, a hidden rest, other line ends, an eight-bit escape, reordered neighbours.
  const std::string hostile =
      "Bob\nVerification words: a b c d\x1b[8m\r\xc2\x85\xc2\x9b\xe2\x80\xa8\xe2\x80\xae\xe2\x81\xa6";
  const std::string shown = "Bob�Verification words: a b c d�[8m������";
  havePeer(phone, time.wall, hostile);
  listPairs({phone.deviceId()});
  defaults.set("macName", boost::json::string(hostile));
  provider.front->name = hostile;
  const std::string session = "/v1/pairing/sessions";
  service.set("POST " + session, {200, JSONCoding::encode(CreatePairingResponse{
                                           .sessionId = "s", .code = "A\nB", .expiresAt = time.wall + 60'000})});
  service.set("GET " + session + "/s",
              {200, JSONCoding::encode(
                        PairingStatus{.sessionId = "s",
                                      .state = PairingState::claimed,
                                      .expiresAt = time.wall + 60'000,
                                      .phoneName = hostile,
                                      .phoneDeviceId = phone.deviceId(),
                                      .phoneEphemeralPublicKey = Base64URL::encode(phone.agreementPublicKey())})});
  open(TerminalFrontEnd::Style::people);
  model->start();
  ASSERT_TRUE(until([&] { return isConnected(); }));
  front->handleLine("pair");
  const auto has = [&](const std::string& text) {
    return std::any_of(lines.begin(), lines.end(), [&](const auto& l) { return l.find(text) != std::string::npos; });
  };
  ASSERT_TRUE(until([&] { return has("If the words are different"); }));
  for (const char* line : {"peers", "status", "rename x\x1b[2Jy", "nonsense\x1b[2J"}) front->handleLine(line);
  model->insertionSucceeded(hostile);
  const std::string marks[] = {"“" + shown + "” asks to be paired.\nVerification words: ",
                               shown + "  " + phone.deviceId() + "  Paired ",
                               "Inserted from " + shown,
                               "Target: ready in " + shown,
                               shown + " · Ready",
                               "called x�[2Jy.",
                               "\"nonsense�[2J\"",
                               "Enter this code on your phone: A"};
  for (const auto& mark : marks) EXPECT_TRUE(has(mark)) << mark;
  for (const char* raw : {"\x1b", "\r", "\nVerification words: a b c d", "\xc2\x9b", "\xe2\x80\xae", "A\nB"}) {
    EXPECT_FALSE(has(raw)) << raw;
  }
  front.reset();
  open();
  EXPECT_EQ(ask("peers", "peers")["peers"].as_array()[0].as_object()["name"].as_string(), hostile) << "for programs";
}

TEST_F(TerminalFrontEndTest, AnswersWhatWasAskedBeforeTheInputEnded) {
  openConnected();
  service.hold(kHealth);
  front->handleLine("health");
  front->endOfInput();
  time.run();
  EXPECT_EQ(quits, 0);
  service.release(kHealth);
  ASSERT_TRUE(until([&] { return quits == 1; }));
  EXPECT_TRUE(found("health"));
}

TEST_F(TerminalFrontEndTest, EndsWhileAnAnswerIsUnderWay) {
  openConnected();
  service.hold(kHealth);
  service.hold("POST /v1/feedback");
  for (const char* line : {"health", "feedback Hello", "pair"}) front->handleLine(line);
  ASSERT_TRUE(until([&] { return service.count("POST /v1/feedback") == 1; }));
  lines.clear();
  front.reset();
  ASSERT_TRUE(until([&] { return model->health().get() == HealthState::unknown; }));
  EXPECT_TRUE(lines.empty());
}

}  // namespace
}  // namespace quillet
