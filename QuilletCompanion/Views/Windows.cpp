// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/Windows.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QScreen>
#include <QUrl>
#include <chrono>
#include <utility>

#include "QuilletCompanion/Views/TrayPlacement.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;

/// A window that is closed and opened again soon must not cost an engine.
constexpr auto engineStays = 5s;

/// "connection-test" lies in TestConnectionWindow.qml; the others are called like their ids.
QUrl fileOf(const QString& id) {
  static const QHash<QString, QString> names{
      {"connection-test", "TestConnection"}, {"onboarding", "Onboarding"}, {"pair", "Pair"},   {"settings", "Settings"},
      {"statistics", "Statistics"},          {"popover", "Popover"},       {"badge", "Badge"}, {"pill", "Pill"}};
  const auto name = names.value(id);
  return name.isEmpty() ? QUrl() : QUrl("qrc:/quillet/qml/Quillet/" + name + "Window.qml");
}

/// Of the screen on which the user is.
void toMiddle(QQuickWindow& window) {
  const auto* screen = QGuiApplication::screenAt(QCursor::pos());
  if (screen == nullptr) screen = window.screen();
  QRect place(QPoint(), window.size());
  place.moveCenter(screen->availableGeometry().center());
  window.setPosition(placeWithin(screen->availableGeometry(), place));
}

}  // namespace

Windows::Windows(Furnish furnish, std::function<void()> onRest)
    : furnish_(std::move(furnish)), onRest_(std::move(onRest)) {
  farewell_.setSingleShot(true);
  farewell_.setInterval(engineStays);
  connect(&farewell_, &QTimer::timeout, this, [this] {
    if (windows_.isEmpty()) engine_.reset();
    if (onRest_) onRest_();
  });
  farewell_.start();
}

Windows::~Windows() {
  const auto open = std::exchange(windows_, {});
  for (const auto& window : open) delete window.data();
}

QQuickWindow* Windows::open(const QString& id, const std::function<void(QQuickWindow&)>& arrange) {
  auto* window = find(id);
  if (window == nullptr) window = create(id);
  if (window == nullptr) return nullptr;
  if (!window->isVisible()) arrange ? arrange(*window) : toMiddle(*window);
  window->show();
  if ((window->flags() & Qt::WindowDoesNotAcceptFocus) == 0) {
    window->raise();
    window->requestActivate();
  }
  return window;
}

void Windows::close(const QString& id) {
  if (auto* const window = find(id)) window->close();
}

QQuickWindow* Windows::create(const QString& id) {
  const auto file = fileOf(id);
  if (file.isEmpty()) return nullptr;
  farewell_.start();
  if (engine_ == nullptr) engine_ = makeViewEngine();
  QQmlComponent component(engine_.get(), file);
  auto context = std::make_unique<QQmlContext>(engine_.get());
  furnish_(id, *context);
  auto* const made = component.create(context.get());
  auto* const window = qobject_cast<QQuickWindow*>(made);
  if (window == nullptr) {
    for (const auto& error : component.errors()) qWarning("%s", qUtf8Printable(error.toString()));
    delete made;
    return nullptr;
  }
  context.release()->setParent(window);
  windows_.insert(id, window);
  // Queued: what closes it may be its own button.
  connect(
      window, &QQuickWindow::visibleChanged, this,
      [this, id](bool visible) {
        if (!visible) closed(id);
      },
      Qt::QueuedConnection);
  return window;
}

void Windows::closed(const QString& id) {
  auto* const window = find(id);
  if (window == nullptr || window->isVisible()) return;  // opened again meanwhile
  windows_.remove(id);
  window->deleteLater();
  farewell_.start();
}

void Windows::keepOnScreens() {
  for (const auto& window : windows_) {
    if (window == nullptr || !window->isVisible()) continue;
    const QRect frame = window->frameGeometry();
    const QPoint place = placeWithin(window->screen()->availableGeometry(), frame);
    if (place != frame.topLeft()) window->setFramePosition(place);
  }
}

}  // namespace quillet
