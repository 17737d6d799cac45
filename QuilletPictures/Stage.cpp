// SPDX-License-Identifier: MIT
#include "QuilletPictures/Stage.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLocale>
#include <QQmlContext>
#include <QQmlEngine>

#include "QuilletCompanion/Views/PairingView.h"
#include "QuilletCompanion/Views/Translations.h"
#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/PairingCrypto.h"
#include "QuilletKit/Protocol/ServiceCoding.h"

namespace quillet::pictures {
namespace {

using test::FakeService;

constexpr auto day = std::chrono::hours(24);

void collect(QQuickItem& item, std::vector<QQuickItem*>& found) {
  if (!item.isVisible()) return;
  found.push_back(&item);
  for (auto* const child : item.childItems()) collect(*child, found);
}

}  // namespace

Stage::Stage(Look& look) : look_(look) {
  defaults.set("macName", boost::json::string("Work laptop"));
  wordLedgers = &sharedFolder;
}

PairSummary Stage::pairWith(const DeviceIdentity& phone) const {
  return {.peerDeviceId = phone.deviceId(), .peerName = "P", .pairedAt = time.wall, .peerLastSeenAt = time.wall};
}

void Stage::begin(bool paired, bool setUp) {
  if (setUp) defaults.set("onboardingCompleted", true);
  if (paired) {
    havePeer(phone_, time.wall, "Ada's phone");
    const auto other = DeviceIdentity::generate();
    havePeer(other, time.wall, "Pocket phone");
    service.set("GET /v1/pairs", {200, JSONCoding::encode(PairsResponse{{pairWith(phone_), pairWith(other)}})});
  }
  start();
  tray_ = std::make_unique<TrayFrontEnd>(*model, time.executor(), look_,
                                         TrayFrontEnd::Surroundings{.now = time.source().now,
                                                                    .quit = [] {},
                                                                    .openEditor = [] {},
                                                                    .openSoundSettings = [] {},
                                                                    .accompany = [](QWindow&) {},
                                                                    .updates = std::move(updates),
                                                                    .trayMayTake = std::chrono::hours(1)});
  tray_->start();
}

QQuickWindow* Stage::window(const QString& name) {
  for (auto* const candidate : QGuiApplication::allWindows()) {
    auto* const found = qobject_cast<QQuickWindow*>(candidate);
    const auto* context = found == nullptr ? nullptr : qmlContext(found);
    if (context != nullptr && found->isVisible() && context->baseUrl().path().endsWith("/" + name + "Window.qml")) {
      return found;
    }
  }
  return nullptr;
}

QQuickWindow* Stage::popover() {
  if (window("Popover") == nullptr) tray_->activate();
  return window("Popover");
}

bool Stage::isFront(const QString& id) const {
  const auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
  if (window == nullptr || !window->isExposed()) return false;
  const auto file = qmlContext(window)->baseUrl().fileName().toLower();
  return file == QString(id).remove('-') + "window.qml" || (id == "connection-test" && file.startsWith("test"));
}

DictationView* Stage::dictationView() {
  auto* const pill = window("Pill");
  return qmlContext(pill != nullptr ? pill : popover())->contextProperty("dictation").value<DictationView*>();
}

DeskView& Stage::deskView() {
  return *qmlContext(popover())->contextProperty("desk").value<DeskView*>();
}

void Stage::open(const QString& id) {
  auto& view = deskView();
  view.openWindow(id);
  view.dismissPopover();  // or it might get the keyboard after the window
  await([&] { return isFront(id); });
  rest();
}

QQuickItem* Stage::control(const char* context, const char* label) {
  const auto wanted = QCoreApplication::translate(context, label);
  QQuickItem* last = nullptr;
  for (auto* const candidate : QGuiApplication::allWindows()) {
    auto* const found = qobject_cast<QQuickWindow*>(candidate);
    if (found == nullptr || !found->isVisible()) continue;
    for (auto* const item : visibleItems(*found)) {
      if (item->property("label").toString() == wanted) last = item;
    }
  }
  if (last != nullptr) return last;
  throw std::logic_error(std::string("nothing is called \"") + label + '"');
}

void Stage::press(const char* context, const char* label) {
  auto* const found = control(context, label);
  const bool isToggle = found->metaObject()->indexOfMethod("toggle()") >= 0;
  QMetaObject::invokeMethod(found, isToggle ? "toggle" : "press");
  rest();
}

void Stage::await(const std::function<bool()>& happened) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!happened()) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("what was awaited didn't happen");
    time.context.restart();
    time.context.run_one_for(std::chrono::milliseconds(2));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
  }
}

void Stage::rest() {
  constexpr int enough = 8;
  int quiet = 0;
  QString before;
  await([&] {
    const auto now = shown();
    quiet = now == before ? quiet + 1 : 0;
    before = now;
    return quiet > enough;
  });
}

/// All that the open windows say, and how large they are.
QString Stage::shown() {
  QString found;
  for (auto* const candidate : QGuiApplication::allWindows()) {
    const auto* const window = qobject_cast<QQuickWindow*>(candidate);
    if (window == nullptr || !window->isVisible()) continue;
    found +=
        QString::number(window->width()) + 'x' + QString::number(window->height()) + (window->isExposed() ? '+' : '-');
    for (const auto* item : visibleItems(*window)) found += item->property("text").toString() + '\n';
  }
  return found;
}

QString Stage::pairingPhase() {
  for (const char* name : {"Pair", "Onboarding"}) {
    if (const auto* const open = window(name))
      return qmlContext(open)->contextProperty("thePairing").value<PairingView*>()->phase();
  }
  return {};
}

void Stage::awaitPairing(const QString& phase) {
  await([&] { return pairingPhase() == phase; });
  rest();
}

void Stage::pass(Duration duration) {
  time.advance(duration);
  rest();
}

void Stage::offerPairing() {
  service.set("POST /v1/pairing/sessions",
              {200, R"({"sessionId":"s1","code":"ABCD1234","expiresAt":)" + std::to_string(expiry()) + "}"});
  pairingIs(PairingState::open);
}

void Stage::pairingIs(PairingState state) {
  PairingStatus status{.sessionId = "s1", .state = state, .expiresAt = expiry(), .macName = "Work laptop"};
  if (state == PairingState::claimed || state == PairingState::paired) {
    status.phoneName = "Ada's phone";
    status.phoneDeviceId = phone_.deviceId();
    status.phoneEphemeralPublicKey = Base64URL::encode(Crypto::x25519PublicKey(phoneKey_));
  }
  if (state == PairingState::paired) {
    const auto request = JSONCoding::decode<CreatePairingRequest>(service.bodies("POST /v1/pairing/sessions").back());
    const PairingCrypto crypto("s1", Crypto::keyFrom(Base64URL::decode(request.macEphemeralPublicKey).value()),
                               Crypto::x25519PublicKey(phoneKey_), model->deviceId().get().value(), phone_.deviceId(),
                               phoneKey_);
    status.peerSealedIdentity = crypto.sealIdentity(phone_.peerIdentity("Ada's phone", DevicePlatform::ios));
  }
  const FakeService::Reply reply{200, JSONCoding::encode(status)};
  service.set("GET /v1/pairing/sessions/s1", reply);
  service.set("POST /v1/pairing/sessions/s1/confirm", reply);
}

std::int64_t Stage::expiry() {
  constexpr std::int64_t lifetime = 120'000;
  return time.source().now() + lifetime;
}

void Stage::countWords(const std::vector<std::int64_t>& daysUntilToday) {
  const auto today = time.wall;
  time.wall -= static_cast<std::int64_t>(daysUntilToday.size() - 1) * std::chrono::milliseconds(day).count();
  for (const auto words : daysUntilToday) {
    model->wordStats().record(words);
    time.wall += std::chrono::milliseconds(day).count();
  }
  time.wall = today;
}

QQuickWindow& play(const Scene& scene, Stage& stage) {
  scene.arrange(stage);
  auto* const window = Stage::window(scene.window);
  if (window == nullptr) throw std::runtime_error("its window didn't open");
  // One that has yet to appear may not have its size either.
  stage.await([&] { return window->isExposed(); });
  stage.rest();
  return *window;
}

void speak(const QString& language, QTranslator* otherwise) {
  auto& application = *QCoreApplication::instance();
  for (auto* const old : application.findChildren<QTranslator*>(Qt::FindDirectChildrenOnly)) delete old;
  QLocale::setDefault(language == "en" ? QLocale("en_US") : QLocale(language + '_' + language.toUpper()));
  if (otherwise != nullptr) {
    otherwise->setParent(&application);
    QCoreApplication::installTranslator(otherwise);
  }
  loadTranslations(application);
}

std::vector<QQuickItem*> visibleItems(const QQuickWindow& window) {
  std::vector<QQuickItem*> found;
  collect(*window.contentItem(), found);
  return found;
}

}  // namespace quillet::pictures
