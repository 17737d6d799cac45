// SPDX-License-Identifier: MIT
#pragma once

#include <QQuickItem>
#include <QQuickWindow>
#include <QTranslator>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "QuilletCompanion/Views/TrayFrontEnd.h"
#include "QuilletKit/Protocol/WireCoding.h"
#include "Tests/App/AppModelHarness.h"
#include "Tests/Doubles/FakeStores.h"

namespace quillet::pictures {

/// The real windows over the real model, between a fake desktop and a scripted service. The model's clocks stand still
/// but on command. Needs a QApplication and a display.
class Stage final : public test::AppModelTest {
 public:
  explicit Stage(Look& look);

  using AppModelTest::connect;
  using AppModelTest::defaults, AppModelTest::desk, AppModelTest::lockMonitor, AppModelTest::model,
      AppModelTest::provider, AppModelTest::secrets, AppModelTest::service, AppModelTest::systemEvents,
      AppModelTest::time;
  using AppModelTest::grantStale;
  using AppModelTest::Step, AppModelTest::kDelete, AppModelTest::kHealth, AppModelTest::kRegister,
      AppModelTest::isConnected;

  /// Starts the model as the service and the desktop are by now, with two phones or without; the first one's set-up is
  /// over unless told otherwise.
  void begin(bool paired = true, bool setUp = true);
  void open(const QString& id);
  /// The window that "<name>Window.qml" describes, or null.
  static QQuickWindow* window(const QString& name);
  QQuickWindow* popover();
  /// What is open says so, and is so large.
  static QString shown();
  DictationView* dictationView();
  /// Presses the button or switches the toggle that is called so in the user's language.
  void press(const char* context, const char* label);
  /// The uppermost of what has that label in the user's language.
  QQuickItem* control(const char* context, const char* label);

  /// Lets sockets, the model and the windows work until it has happened.
  void await(const std::function<bool()>& happened);
  /// "invitation" and so on.
  void awaitPairing(const QString& phase);
  /// Lets everything that is under way come to rest.
  void rest();
  /// The clocks go on, and what hangs on them is done.
  void pass(Duration duration);

  /// From now on the service gives a code, which nobody has taken, or for which a phone has done so much.
  void offerPairing();
  void pairingIs(PairingState state);
  void countWords(const std::vector<std::int64_t>& daysUntilToday);
  test::FakeLedgerStorage sharedFolder;
  std::unique_ptr<UpdateController> updates;  ///< For `begin`.

 protected:
  void TestBody() override {}

 private:
  DeskView& deskView();
  bool isFront(const QString& id) const;
  static QString pairingPhase();
  PairSummary pairWith(const DeviceIdentity& phone) const;
  std::int64_t expiry();

  Look& look_;
  DeviceIdentity phone_ = DeviceIdentity::generate();
  Crypto::Key phoneKey_ = Crypto::generatePrivateKey();
  std::unique_ptr<TrayFrontEnd> tray_;
};

/// A window in a state that a user can meet.
struct Scene {
  std::string name;  ///< "settings-revoke", for example; begins with the window's id.
  QString window;    ///< As Stage::window takes it.
  std::function<void(Stage&)> arrange;
};
const std::vector<Scene>& scenes();
/// Sets the scene on the stage, and gives its window. Throws if it can't be reached.
QQuickWindow& play(const Scene& scene, Stage& stage);

/// From now on everything is in that language: "en", "nl", "fr" or "de". What its catalogue lacks is asked of
/// `otherwise`, which the application takes over.
void speak(const QString& language, QTranslator* otherwise = nullptr);

/// Each item of the window that is seen at least in part, its parents first.
std::vector<QQuickItem*> visibleItems(const QQuickWindow& window);

}  // namespace quillet::pictures
