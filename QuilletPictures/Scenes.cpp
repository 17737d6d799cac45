// SPDX-License-Identifier: MIT
#include <QCursor>
#include <chrono>

#include "QuilletPictures/Stage.h"
#include "Tests/Doubles/FakeStores.h"
#include "Tests/Doubles/FakeUpdateController.h"
#include "Tests/Doubles/LogCapture.h"

namespace quillet::pictures {
namespace {

using namespace std::chrono_literals;
using namespace test;
using Arrange = std::function<void(Stage&)>;
using State = PairingState;

constexpr const char* kFeedback = "POST /v1/feedback";
constexpr const char* kSessions = "POST /v1/pairing/sessions";
constexpr const char* kSession = "GET /v1/pairing/sessions/s1";

void nothing(Stage&) {}

/// Connected, with two phones and the set-up over.
void connected(Stage& stage) {
  stage.begin();
  stage.await([&] { return stage.isConnected(); });
  stage.pass(1s);
}

/// The popover, once the program has come so far.
Arrange popover(Arrange first, Arrange then = {}) {
  return [first, then](Stage& stage) {
    first(stage);
    connected(stage);
    if (then) then(stage);
    stage.popover();
    stage.rest();
  };
}

Arrange offline(Arrange first) {
  return [first](Stage& stage) {
    first(stage);
    stage.begin();
    stage.rest();
    stage.popover();
    stage.rest();
  };
}

/// A pairing in its own window.
Arrange pairing(Arrange then) {
  return [then](Stage& stage) {
    connected(stage);
    stage.offerPairing();
    stage.open("pair");
    stage.awaitPairing("invitation");
    then(stage);
    stage.rest();
  };
}

void claim(Stage& stage) {
  stage.pairingIs(State::claimed);
  stage.pass(1s);
  stage.awaitPairing("verify");
}

void confirm(Stage& stage) {
  claim(stage);
  stage.press("PairingPane", "Confirm");
  stage.pass(100ms);
  stage.awaitPairing("confirming");
}

Arrange pairingEnds(State state) {
  return pairing([state](Stage& stage) {
    claim(stage);
    stage.pairingIs(state);
    stage.pass(1s);
    stage.awaitPairing("failed");
  });
}

Arrange pairingMeets(FakeService::Reply reply) {
  return [reply](Stage& stage) {
    connected(stage);
    stage.service.set(kSessions, reply);
    stage.open("pair");
    stage.awaitPairing("failed");
  };
}

/// The first run at one of its steps.
Arrange setUp(const char* step, bool trusted, Arrange then = {}) {
  return [=](Stage& stage) {
    stage.provider.trusted = trusted;
    stage.defaults.set("onboardingStep", boost::json::string(step));
    stage.offerPairing();
    stage.begin(false, false);
    stage.await([&] { return stage.isConnected(); });
    stage.open("onboarding");
    if (then) then(stage);
    stage.rest();
  };
}

void askForAccess(Stage& stage) {
  stage.press("OnboardingWindow", "Open Accessibility Settings");
}

/// Another window takes the focus, and gives it back.
void comeBack(Stage& stage) {
  auto* const window = Stage::window("Onboarding");
  stage.popover()->requestActivate();
  stage.await([&] { return !window->isActive(); });
  stage.popover()->close();
  window->requestActivate();
  stage.await([&] { return window->isActive(); });
}

Arrange check(Arrange first, bool paired = true) {
  return [first, paired](Stage& stage) {
    first(stage);
    stage.begin(paired);
    stage.rest();
    stage.open("connection-test");
  };
}

Arrange statistics(std::initializer_list<std::int64_t> days, bool shared) {
  return [days = std::vector(days), shared](Stage& stage) {
    stage.sharedFolder.signedIn = shared;
    stage.begin();
    stage.countWords(days);
    stage.open("statistics");
  };
}

/// Another device's counts.
void countElsewhere(Stage& stage) {
  MemoryPreferences preferences;
  WordStatsStore other(&stage.sharedFolder, preferences, "Ada's phone", "iphone.gen3", WordCalendar::current(),
                       stage.time.source().now);
  other.record(8'120);
}

Arrange settings(Arrange then = {}) {
  return [then](Stage& stage) {
    connected(stage);
    stage.open("settings");
    if (then) then(stage);
    stage.rest();
  };
}

void fill(Stage& stage, const QString& message, const QString& address) {
  stage.control("SettingsWindow", "Message")->setProperty("text", message);
  stage.control("SettingsWindow", "Your email")->setProperty("text", address);
}

Arrange feedback(FakeService::Reply reply) {
  return settings([reply](Stage& stage) {
    stage.service.set(kFeedback, reply);
    fill(stage, "Works well.", "");
    stage.press("SettingsWindow", "Send Feedback");
    stage.await([&] { return stage.service.count(kFeedback) > 0; });
  });
}

/// Dictation is on, by an engine whose answers the scene gives.
void dictating(Stage& stage) {
  connected(stage);
  stage.desk.devices.tell({.all = {{.id = 1, .uid = "usb", .name = "Headset", .hasInput = true},
                                   {.id = 2, .uid = "inner", .name = "Internal microphone", .hasInput = true}},
                           .defaultInput = 1});
  stage.model->dictation().preferences.recognizer.set(RecognizerChoice::device);
  stage.model->dictation().setEnabled(true);
  stage.rest();
}

Arrange pill(Arrange then) {
  return [then](Stage& stage) {
    dictating(stage);
    then(stage);
    stage.rest();
  };
}

void listen(Stage& stage) {
  stage.model->dictation().toggleFromPanel();
  stage.await([&] { return stage.desk.deviceRecognizer->starts.size() > 0; });
  stage.desk.deviceRecognizer->starts.give(true);
  for (int i = 0; i < 16; ++i) {
    stage.desk.deviceRecognizer->level = static_cast<float>(i * 7 % 16) / 16;
    stage.time.advance(50ms);
  }
}

void stop(Stage& stage) {
  listen(stage);
  stage.time.advance(1s);
  stage.model->dictation().controller().stop();
  stage.await([&] { return stage.desk.deviceRecognizer->finishes.size() > 0; });
}

void dictate(Stage& stage) {
  stop(stage);
  stage.desk.deviceRecognizer->finishes.give("Hello.");
  stage.await([&] { return !is<DictationPhases::Transcribing>(stage.model->dictation().controller().phase().get()); });
}

std::vector<Scene> dictationScenes() {
  const DictationShortcut taken{.keyCode = 49, .modifiers = DictationShortcut::kControl | DictationShortcut::kOption};
  return {
      {"pill-idle", "Pill", pill(nothing)},
      {"pill-hint", "Pill", pill([](Stage& stage) {
         const auto* const window = Stage::window("Pill");
         QCursor::setPos(window->mapToGlobal(QPoint(window->width() / 2, window->height() - 20)));
         stage.await([&] { return Stage::shown().contains(stage.dictationView()->hint()); });
       })},
      {"pill-listening", "Pill", pill(listen)},
      {"pill-transcribing", "Pill", pill(stop)},
      {"pill-inserted", "Pill", pill(dictate)},
      {"pill-not-inserted", "Pill", pill([](Stage& stage) {
         stage.provider.focus.clear();
         dictate(stage);
       })},
      {"pill-failed", "Pill", pill([](Stage& stage) {
         stop(stage);
         stage.desk.deviceRecognizer->finishes.fail(DictationError(DictationFailure::cloudUnavailable));
       })},
      {"popover-dictation", "Popover", pill([](Stage& stage) {
         dictate(stage);
         stage.popover();
       })},
      {"popover-listening", "Popover", pill([](Stage& stage) {
         listen(stage);
         stage.popover();
       })},
      {"popover-needs-setup", "Popover", pill([](Stage& stage) {
         stage.desk.microphone.granted = false;
         stage.model->dictation().refreshStatus();
         stage.popover();
       })},
      {"settings-dictation", "Settings", pill([](Stage& stage) { stage.open("settings"); })},
      {"settings-dictation-problems", "Settings", pill([taken](Stage& stage) {
         stage.desk.microphone.granted = false;
         stage.model->dictation().refreshStatus();
         stage.provider.trusted = false;
         stage.model->refreshAccessibilityTrust();
         LogCapture::instance().expect("Shortcut for toggle unavailable: 10");
         stage.desk.keyboard.othersHave.push_back(taken);
         stage.model->dictation().setShortcut(HotkeyMonitor::Role::toggle, taken);
         stage.model->dictation().preferences.microphone.set(AudioInput{"gone", "Studio microphone"});
         stage.model->dictation().preferences.recognizer.set(RecognizerChoice::cloud);
         stage.open("settings");
       })},
      {"settings-recording", "Settings", pill([](Stage& stage) {
         stage.open("settings");
         QMetaObject::invokeMethod(stage.dictationView(), "record", Q_ARG(QString, "toggle"));
       })},
      {"settings-language", "Settings", pill([](Stage& stage) {
         stage.model->dictation().preferences.recognizer.set(RecognizerChoice::device);
         stage.model->dictation().preferences.deviceEngine.set("tcp://studio:10300");
         stage.open("settings");
         QMetaObject::invokeMethod(stage.control("DictationSettings", "Language"), "toggleList");
       })},
  };
}

void refused(Stage& stage) {
  stage.service.set(Stage::kRegister, FakeService::error(403, "device_revoked"));
}
void untrusted(Stage& stage) {
  stage.provider.trusted = false;
}

std::vector<Scene> popoverScenes() {
  return {
      {"popover-ready", "Popover", popover(nothing)},
      {"popover-update", "Popover",
       popover([](Stage& stage) { stage.updates = std::make_unique<FakeUpdateController>(); })},
      {"popover-no-field", "Popover", popover([](Stage& stage) { stage.provider.focus.clear(); })},
      {"popover-locked", "Popover", popover([](Stage& stage) { stage.provider.locked = true; })},
      {"popover-no-accessibility", "Popover", popover(untrusted)},
      {"popover-asleep", "Popover", popover(nothing, [](Stage& stage) { stage.systemEvents.sleep(); })},
      {"popover-reconnecting", "Popover", offline([](Stage& stage) { stage.service.hold(Stage::kRegister); })},
      {"popover-offline", "Popover",
       offline([](Stage& stage) { stage.service.set(Stage::kRegister, FakeService::error(503, "busy")); })},
      {"popover-revoked", "Popover", offline(refused)},
      {"popover-keyring-locked", "Popover", offline([](Stage& stage) {
         LogCapture::instance().expect("Could not load the device identity from Keychain");
         stage.secrets.locked = true;
       })},
      {"popover-first-run", "Popover",
       [](Stage& stage) {
         stage.begin(false, false);
         stage.await([&] { return stage.isConnected(); });
         stage.popover();
         stage.rest();
       }},
  };
}

std::vector<Scene> setUpScenes() {
  return {
      {"onboarding-welcome", "Onboarding", setUp("welcome", true)},
      {"onboarding-pair", "Onboarding", setUp("pair", true, [](Stage& stage) { stage.awaitPairing("invitation"); })},
      {"onboarding-accessibility", "Onboarding", setUp("accessibility", false)},
      {"onboarding-accessibility-waiting", "Onboarding", setUp("accessibility", false, askForAccess)},
      {"onboarding-accessibility-still-off", "Onboarding",
       setUp("accessibility", false,
             [](Stage& stage) {
               askForAccess(stage);
               comeBack(stage);
             })},
      {"onboarding-accessibility-restart", "Onboarding",
       setUp("accessibility", false,
             [](Stage& stage) {
               stage.grantStale = true;
               stage.provider.trusted = true;
               stage.pass(2s);
             })},
      {"onboarding-ready", "Onboarding", setUp("ready", true)},
  };
}

std::vector<Scene> pairingScenes() {
  return {
      {"pair-preparing", "Pair",
       [](Stage& stage) {
         connected(stage);
         stage.service.hold(kSessions);
         stage.open("pair");
       }},
      {"pair-invitation", "Pair", pairing(nothing)},
      {"pair-code", "Pair", pairing([](Stage& stage) { stage.press("PairingPane", "Enter code instead"); })},
      {"pair-network-trouble", "Pair", pairing([](Stage& stage) {
         stage.service.set(kSession, {200, "not JSON"});
         stage.pass(105s);
       })},
      {"pair-verify", "Pair", pairing(claim)},
      {"pair-confirming", "Pair", pairing(confirm)},
      {"pair-paired", "Pair", pairing([](Stage& stage) {
         confirm(stage);
         stage.pairingIs(State::paired);
         stage.pass(1s);
         stage.awaitPairing("paired");
       })},
      {"pair-offline", "Pair", pairingMeets({200, "not JSON"})},
      {"pair-unavailable", "Pair",
       pairingMeets({503, R"({"error":{"code":"busy","message":"Try later.","retryable":true}})"})},
      {"pair-expired", "Pair", pairingEnds(State::expired)},
      {"pair-cancelled-by-phone", "Pair", pairingEnds(State::cancelled)},
      {"pair-cancelled", "Pair", pairing([](Stage& stage) {
         claim(stage);
         stage.press("PairingPane", "Cancel pairing");
       })},
      {"pair-unverified", "Pair", pairing([](Stage& stage) {
         stage.pairingIs(State::paired);
         stage.pass(1s);
         stage.awaitPairing("failed");
       })},
  };
}

std::vector<Scene> otherScenes() {
  return {
      {"connection-test-good", "TestConnection", check(nothing)},
      {"connection-test-checking", "TestConnection", check([](Stage& stage) { stage.service.hold(Stage::kHealth); })},
      {"connection-test-warnings", "TestConnection", check(untrusted, false)},
      {"connection-test-bad", "TestConnection", check([](Stage& stage) {
         stage.service.set(Stage::kHealth, {503, "{}"});
         stage.service.set(Stage::kRegister, FakeService::error(503, "busy"));
       })},
      {"connection-test-received", "TestConnection",
       [](Stage& stage) {
         check(nothing)(stage);
         stage.provider.activateOwnApplication();
         stage.model->localTest().setFocused(true);
         stage.model->localTest().receive("It arrives.");
         stage.rest();
       }},
      {"statistics-none", "Statistics", statistics({0}, false)},
      {"statistics-one-word", "Statistics", statistics({1}, false)},
      {"statistics-pages", "Statistics", statistics({300, 0, 160, 0, 400}, true)},
      {"statistics-book", "Statistics",
       [](Stage& stage) {
         countElsewhere(stage);
         statistics({6'412, 1'510, 2'204, 871, 1'630, 2'950, 1'260, 1'842}, true)(stage);
       }},
      {"statistics-last-book", "Statistics", statistics({590'000, 12}, true)},
      {"settings-phones", "Settings", settings()},
      {"settings-nothing-yet", "Settings",
       [](Stage& stage) {
         untrusted(stage);
         stage.begin(false);
         stage.open("settings");
       }},
      {"settings-revoked", "Settings",
       [](Stage& stage) {
         refused(stage);
         stage.begin();
         stage.open("settings");
       }},
      {"settings-revoke", "Settings", settings([](Stage& stage) { stage.press("SettingsWindow", "Revoke"); })},
      {"settings-revoked-phone", "Settings", settings([](Stage& stage) {
         const auto last = stage.model->peerStore().peers().get().back().identity.deviceId;
         stage.service.set("DELETE /v1/pairs/" + last, FakeService::error(503, "busy"));
         stage.press("SettingsWindow", "Revoke");
         stage.press("SettingsWindow", "Revoke");  // the question's
         stage.await([&] { return stage.service.count("DELETE /v1/pairs/" + last) > 0; });
       })},
      {"settings-delete", "Settings",
       settings([](Stage& stage) { stage.press("SettingsWindow", "Delete my cloud data…"); })},
      {"settings-not-deleted", "Settings", settings([](Stage& stage) {
         stage.service.set(Stage::kDelete, FakeService::error(503, "busy"));
         stage.press("SettingsWindow", "Delete my cloud data…");
         stage.press("SettingsWindow", "Delete");
         stage.await([&] { return stage.service.count(Stage::kDelete) > 0; });
       })},
      {"settings-bad-address", "Settings", settings([](Stage& stage) { fill(stage, "Works well.", "nobody"); })},
      {"settings-too-long", "Settings", settings([](Stage& stage) { fill(stage, QString(5001, 'a'), ""); })},
      {"settings-sent", "Settings", feedback({200, R"({"ok":true})"})},
      {"settings-not-sent", "Settings", feedback(FakeService::error(429, "rate_limited"))},
      {"settings-updates", "Settings",
       [](Stage& stage) {
         stage.updates = std::make_unique<FakeUpdateController>();
         settings()(stage);
       }},
      {"badge", "Badge",
       [](Stage& stage) {
         connected(stage);
         stage.model->insertionSucceeded("Ada's phone");
         stage.rest();
       }},
  };
}

}  // namespace

const std::vector<Scene>& scenes() {
  static const auto all = [] {
    std::vector<Scene> found;
    for (const auto& part : {popoverScenes(), setUpScenes(), pairingScenes(), otherScenes(), dictationScenes()}) {
      found.insert(found.end(), part.begin(), part.end());
    }
    return found;
  }();
  return all;
}

}  // namespace quillet::pictures
