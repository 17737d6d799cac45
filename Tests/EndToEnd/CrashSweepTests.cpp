// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <QDirIterator>
#include <cstring>
#include <iostream>
#include <map>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "Tests/EndToEnd/KillPoint.h"
#include "Tests/EndToEnd/ProcessMemory.h"
#include "Tests/EndToEnd/Programs.h"
// The macros of its own headers must come last.
#include "Tests/Desktop/DisplayKeyboard.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

constexpr int kLongestSweep = 400;

auto has(const char* key, const char* value) {
  return [=](const QJsonObject& object) { return object[key].toString() == value; };
}

/// The real service, desktop program and phone, paired, and a real editor in front.
class CrashSweep : public testing::Test {
 protected:
  CrashSweep(const QString& program, const QStringList& arguments, QString words)
      : editor(program, arguments), words(std::move(words)) {}

  void SetUp() override {
    makeControl();
    service.start("quillet-service", {"--listen", "127.0.0.1:0", "--database", folder.filePath("service.db")},
                  QProcessEnvironment::systemEnvironment());
    url = QString(service.readLine()).trimmed().section(' ', -1);
    ASSERT_TRUE(url.startsWith("http://"));
    ASSERT_TRUE(eventually([this] { return provider.enableAccessibility(); }));
    ASSERT_TRUE(eventually([this] { return findField(); })) << "the editor isn't in front";
    ASSERT_TRUE(startDesktop());
    pair();
  }
  void TearDown() override {
    if (control != nullptr) ::munmap(control, sizeof(KillPoint));
  }

  void makeControl() {
    controlFile = folder.filePath("kill-point");
    const int descriptor = ::open(controlFile.toUtf8().constData(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(::ftruncate(descriptor, sizeof(KillPoint)), 0);
    control =
        static_cast<KillPoint*>(::mmap(nullptr, sizeof(KillPoint), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0));
    ::close(descriptor);
    ASSERT_NE(control, MAP_FAILED);
  }
  bool findField() {
    const auto front = provider.frontApplication();
    if (!front || front->pid != editor.pid()) return false;
    field = provider.focusedElement(editor.pid());
    return field && provider.inspect(field).editable;
  }
  bool startDesktop() {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_HOME", folder.filePath("data"));
    environment.insert("XDG_CONFIG_HOME", folder.filePath("config"));
    environment.insert("LD_PRELOAD", QUILLET_KILL_POINT_LIBRARY);
    environment.insert("QUILLET_KILL_POINT", controlFile);
    desktop.start("QuilletCompanion", {"--terminal", "--json", "-QLTServerURLOverride", url}, environment);
    return desktop.await(has("status", "connected")).has_value();
  }
  QJsonObject phone(const QStringList& arguments) {
    Program run;
    startPhone(run, arguments);
    EXPECT_TRUE(eventually([&] { return !run.running(); }, 60s));
    return run.last().value_or(QJsonObject());
  }
  void startPhone(Program& run, const QStringList& arguments) {
    run.start("quillet-phone", QStringList{"--json", "--state", folder.filePath(phoneState)} + arguments,
              QProcessEnvironment::systemEnvironment());
  }
  void pair() {
    Program claiming;
    claim(claiming);
    desktop.say("confirm\n");
    ASSERT_TRUE(desktop.await(has("phase", "paired")));
    ASSERT_TRUE(eventually([&] { return !claiming.running(); }));
  }
  /// Up to the words that are to be compared; the phone has confirmed them.
  void claim(Program& claiming) {
    phone({"init", "--service", url, "--name", "Pocket"});
    desktop.say("pair\n");
    const auto invitation = desktop.await(has("phase", "invitation"));
    ASSERT_TRUE(invitation);
    startPhone(claiming, {"pair", (*invitation)["code"].toString(), "--yes"});
    ASSERT_TRUE(desktop.await(has("phase", "verify")));
  }

  /// The phone's word on it: "inserted", "refused", "uncertain", or nothing.
  struct Told {
    QString outcome, signature;
    static Told from(const QJsonObject& answer) {
      const auto result = answer["result"].toObject();
      return {result["outcome"].toString(), result["signature"].toString()};
    }
  };
  struct Utterance {
    QString id, token, text;
  };

  Utterance prepare(const std::string& name) {
    QJsonObject ready;
    EXPECT_TRUE(eventually([&] { return (ready = phone({"prepare"}))["status"] == "ready"; }, 60s))
        << QJsonDocument(ready).toJson().toStdString();
    return {ready["utteranceId"].toString(), ready["token"].toString(),
            QString("[%1] ").arg(QString::fromStdString(name)) + words};
  }
  void deliver(const Utterance& what) { phone({"deliver", what.token, what.text, "--utterance", what.id}); }
  Told repeat(const Utterance& what) {
    deliver(what);
    return await(what);
  }
  Told await(const Utterance& what) { return Told::from(phone({"wait", what.id, "--seconds", "20"})); }
  /// Delivers while the `number`-th step of a kind is deadly. What the phone heard before the program died, if
  /// anything.
  Told deliverUntil(const char* kind, int number, const Utterance& what) {
    std::strncpy(control->kind, kind, sizeof control->kind);
    control->left = number;
    deliver(what);
    Program waiting;
    startPhone(waiting, {"wait", what.id, "--seconds", "20"});
    EXPECT_TRUE(eventually([&] { return !desktop.running() || !waiting.running(); }, 60s));
    control->left = 0;
    waiting.kill();
    return Told::from(waiting.last().value_or(QJsonObject()));
  }
  QString inEditor() { return QString::fromStdString(provider.readValue(field).value_or("")); }
  /// What the field must hold after a delivery, by what the phone was told: all of it, nothing, or some beginning.
  void expectTruth(const Told& told, const Utterance& what) {
    const auto now = inEditor();
    ASSERT_TRUE(now.startsWith(standing)) << now.toStdString();
    const auto added = now.mid(standing.size());
    EXPECT_TRUE(what.text.startsWith(added)) << added.toStdString();
    if (told.outcome == "inserted") EXPECT_EQ(added, what.text);
    if (told.outcome == "refused") EXPECT_EQ(added, QString());
    if (told.outcome == "uncertain")
      ++(added.isEmpty() ? uncertainAndAbsent : added == what.text ? uncertainYetThere : cutShort);
    standing = now;
  }

  /// One delivery, with the program killed and started again on the way, and what the phone is told in the end. False
  /// if the program never came to that step.
  bool round(const char* kind, int number) {
    const std::string name = kind + std::to_string(number);
    SCOPED_TRACE(name);
    const auto what = prepare(name);
    const Told before = deliverUntil(kind, number, what);
    const bool killed = !desktop.running();
    if (killed && !startDesktop()) {
      ADD_FAILURE() << "doesn't start again";
      return false;
    }
    if (killed) EXPECT_TRUE(keyboard.symbols() == untouched && keyboard.nothingHeld());
    // The service repeats by itself what has no result; the phone may, too.
    const Told told = number % 2 == 0 ? await(what) : repeat(what);
    EXPECT_FALSE(told.outcome.isEmpty()) << "no answer";
    if (!before.outcome.isEmpty()) {
      EXPECT_EQ(before.signature, told.signature);
    }
    if (number % 4 == 1) {
      EXPECT_EQ(repeat(what).signature, told.signature);
    }
    ++outcomes[told.outcome];
    if (!killed) {
      EXPECT_EQ(told.outcome, "inserted");
    }
    expectTruth(told, what);
    return killed;
  }

  /// Each kind of step until a delivery comes through without reaching it, and how often that must not happen first.
  void sweep(const std::vector<std::pair<const char*, int>>& kinds) {
    for (const auto& [kind, least] : kinds) {
      int steps = 0;
      while (steps < kLongestSweep && !HasFailure() && round(kind, steps + 1)) ++steps;
      EXPECT_GE(steps, least) << kind;
      std::cout << kind << " " << steps << ", " << std::flush;
    }
    EXPECT_EQ(inEditor(), standing) << "something came late";
    for (const auto& [outcome, count] : outcomes) std::cout << outcome.toStdString() << " " << count << " ";
    std::cout << std::endl;
  }

  QTemporaryDir folder;
  QString controlFile, url, phoneState = "phone";
  KillPoint* control = nullptr;
  StubLock lock;
  KeyTypist typist;
  SystemAccessibilityProvider provider{getpid(), lock, typist};
  const DisplayKeyboard keyboard;
  const std::vector<KeySym> untouched = keyboard.symbols();
  Editor editor;
  ElementRef field;
  Program service, desktop;
  QString words, standing;
  std::map<QString, int> outcomes;
  int uncertainYetThere = 0, uncertainAndAbsent = 0, cutShort = 0;
};

class WritingCrashSweep : public CrashSweep {
 protected:
  WritingCrashSweep() : CrashSweep("mousepad", {Editor::emptyFile}, "") {}
};

TEST_F(WritingCrashSweep, KilledAtAnyStepItInsertsAtMostOnceAndTellsTheTruth) {
  // An attempt's entry and its outcome's are one file replacement each; "received" and the result are frames.
  sweep({{"open", 2}, {"write", 2}, {"fdatasync", 2}, {"rename", 2}, {"fsync", 2}, {"send", 2}, {"call", 3}});
  EXPECT_GT(uncertainYetThere, 0) << "never killed between insertion and its record";
}

/// What lies in the desktop program's memory once it has served.
class MemoryTest : public WritingCrashSweep {
 protected:
  MemoryTest() { words = "wombats under a quartz sky"; }
  QByteArray key(const QString& name) {
    QDirIterator files(folder.filePath("data"), {name}, QDir::Files, QDirIterator::Subdirectories);
    QFile file(files.next());
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
  }
};

TEST_F(MemoryTest, KeepsHardlyAnyTextAndItsKeysInGuardedPagesOnly) {
  Utterance last;
  for (const auto* name : {"a", "b", "c", "d", "e"}) EXPECT_EQ(repeat(last = prepare(name)).outcome, "inserted");
  if (!ProcessMemory::isReadable(desktop.pid())) GTEST_SKIP() << "only its owner's superior may look";
  EXPECT_GT(ProcessMemory(editor.pid()).count(textForms(last.text)), 0) << "nothing can be found";
  // The bus library keeps its last five messages, to use them again; the field's whole text may stand in each.
  const auto copies = [&] { return ProcessMemory(desktop.pid()).count(textForms(last.text)); };
  EXPECT_TRUE(eventually([&] { return copies() <= 5; })) << copies() << " copies of a text";
  for (const auto* name : {"device.signing.v1", "device.agreement.v1"}) {
    const auto secret = key(name);
    ASSERT_EQ(secret.size(), 32) << name;
    const ProcessMemory memory(desktop.pid());
    EXPECT_GE(memory.count({secret}), 1) << name;
    EXPECT_EQ(memory.count({secret}, ProcessMemory::Pages::ordinary), 0) << name;
  }
}

/// A phone that is being paired while the desktop program dies.
class PairingCrashSweep : public WritingCrashSweep {
 protected:
  /// A new phone, with the program killed and started again once it was told to confirm. False if it never came to that
  /// step.
  bool round(const char* kind, int number) {
    phoneState = kind + QString::number(number);
    SCOPED_TRACE(phoneState.toStdString());
    Program claiming;
    claim(claiming);
    std::strncpy(control->kind, kind, sizeof control->kind);
    control->left = number;
    desktop.say("confirm\n");
    EXPECT_TRUE(eventually([&] { return !desktop.running() || desktop.take(has("phase", "paired")); }));
    control->left = 0;
    const bool killed = !desktop.running();
    // Before the confirmation has left it, nothing is paired, and the phone goes on waiting.
    const bool believes = eventually([&] { return !claiming.running(); }, 4s) && claiming.exitCode() == 0;
    EXPECT_TRUE(!killed || startDesktop()) << "doesn't start again";
    if (!believes) return killed;
    QJsonObject answer;
    const auto isSettled = [&] {
      answer = phone({"prepare"});
      return answer["status"] == "ready" || QJsonDocument(answer).toJson().contains("not_paired");
    };
    EXPECT_TRUE(eventually(isSettled, 60s)) << QJsonDocument(answer).toJson().toStdString();
    ++(answer["status"] == "ready" ? held : ended);
    return killed;
  }
  int held = 0, ended = 0;
};

TEST_F(PairingCrashSweep, LeavesNoPhoneThatBelievesInAPairingWhichIsNotHeld) {
  // The folder's sync comes after the phone's record is in place, whatever else goes on by then.
  for (const auto* kind : {"rename", "fsync", "send"}) {
    int steps = 0;
    while (steps < kLongestSweep && !HasFailure() && round(kind, steps + 1)) ++steps;
    EXPECT_GE(steps, 1) << kind;
  }
  EXPECT_GT(ended, 0) << "never killed between the confirmation and its record";
  EXPECT_GT(held, 3) << "never killed after it";
}

/// Into a field that takes nothing but keys. Three chunks, with characters that no key has.
class TypingCrashSweep : public CrashSweep {
 protected:
  TypingCrashSweep()
      : CrashSweep(QString::fromStdString(sourceFile("Tests/Desktop/fields.py")), {"--deaf"},
                   "Grüße, привет; 日本 👍🏽 and more. ") {}
};

TEST_F(TypingCrashSweep, KilledAtAnyChunkItTypesNothingTwiceAndGivesTheKeyboardBack) {
  sweep({{"keymap", 2}, {"keys", 6}, {"rename", 2}, {"send", 2}});
  EXPECT_GT(uncertainYetThere, 0) << "never killed between the last chunk and the record";
  EXPECT_GT(uncertainAndAbsent, 0) << "never killed before the first chunk";
  EXPECT_GT(cutShort, 1) << "never killed between chunks";
}

TEST_F(TypingCrashSweep, AskedToEndInTheMidstOfALongTextItBreaksOffInOrder) {
  words = words.repeated(100);
  const auto what = prepare("long");
  deliver(what);
  ASSERT_TRUE(eventually([&] { return inEditor().size() > 40; }));
  desktop.say("quit\n");
  EXPECT_EQ(desktop.exitCode(), 0);
  EXPECT_TRUE(keyboard.symbols() == untouched && keyboard.nothingHeld());
  ASSERT_TRUE(startDesktop());
  const Told told = repeat(what);
  EXPECT_EQ(told.outcome, "uncertain");
  expectTruth(told, what);
  EXPECT_EQ(cutShort, 1);
}

}  // namespace
}  // namespace quillet::test
