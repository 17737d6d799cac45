// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/TrayFrontEnd.h"

#include <QClipboard>
#include <QCursor>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <utility>

#include "QuilletCompanion/Views/CheckView.h"
#include "QuilletCompanion/Views/PairingView.h"
#include "QuilletCompanion/Views/SettingsView.h"
#include "QuilletCompanion/Views/SymbolProvider.h"
#include "QuilletCompanion/Views/TrayMenu.h"
#include "QuilletCompanion/Views/TrayPlacement.h"

namespace quillet {
namespace {

constexpr Qt::WindowFlags popoverFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
constexpr Qt::WindowFlags badgeFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                       Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput;
/// A click on the icon takes the focus from the popover, which closes it; it must not open it again.
constexpr std::int64_t clickLasts = 300;
constexpr int iconSide = 48;
const QColor iconGround(0x2a, 0x5b, 0xd7);

/// On a ground of its own, since nobody knows the panel's colour.
QIcon trayIcon(const QString& symbol) {
  QImage image(iconSide, iconSide, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(iconGround);
  painter.drawRoundedRect(image.rect(), iconSide / 4.0, iconSide / 4.0);
  const int side = iconSide * 3 / 4;
  painter.drawImage(iconSide / 8, iconSide / 8, drawSymbol(symbol, Qt::white, {side, side}));
  painter.end();
  return QIcon(QPixmap::fromImage(image));
}

/// The text stays there as long as this program runs.
void copy(const QString& text) {
  QGuiApplication::clipboard()->setText(text);
}

}  // namespace

TrayFrontEnd::TrayFrontEnd(AppModel& model, Executor mainThread, Look& look, Surroundings surroundings)
    : model_(model),
      mainThread_(std::move(mainThread)),
      surroundings_(std::move(surroundings)),
      desk_(model, mainThread_,
            {.openWindow = [this](const QString& id) { windows_.open(id); },
             .closeWindow = [this](const QString& id) { windows_.close(id); },
             .copy = copy,
             .dismissPopover = [this] { windows_.close("popover"); },
             .openEditor = surroundings_.openEditor,
             .quit = surroundings_.quit,
             .openSoundSettings = surroundings_.openSoundSettings}),
      statistics_(model.wordStats(), mainThread_),
      dictation_(model.dictation(), mainThread_, copy),
      updater_(std::move(surroundings_.updates)),
      updates_(updater_, mainThread_),
      windows_([this](const QString& id, QQmlContext& context) { furnish(id, context); }, surroundings_.rest),
      panel_(model.dictation(), windows_, surroundings_.accompany) {
  prepareViews(look);
  QGuiApplication::setWindowIcon(trayIcon("mic.fill"));
  connect(&desk_, &ViewObject::changed, this, [this] {
    updateIcon();
    if (panel_.isShown() && surroundings_.displayAnswers())
      panel_.moveAlong();  // another application may have come to the front, on another screen
  });
  connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
    if (state == Qt::ApplicationActive) model_.becameActive();
  });
  inserted_ = model_.inserted().subscribe([this](const std::string&) { showBadge(); });
}

void TrayFrontEnd::start() {
  const auto* const host = surroundings_.trayHost;
  if (host == nullptr || host->get()) {
    showIcon();
  } else {
    // Queued: it may have come with the event that is being looked at.
    trayWatch_ = host->observe([this](bool) {
      QMetaObject::invokeMethod(
          this, [this] { showIcon(); }, Qt::QueuedConnection);
    });
  }
  panel_.start();
  if (!model_.onboardingCompleted().get()) {
    windows_.open("onboarding");
  } else if (!hasTray()) {
    QTimer::singleShot(surroundings_.trayMayTake, this, [this] { showWithoutTray(); });
  }
}

/// Nobody is left with a program that has no face.
void TrayFrontEnd::showWithoutTray() {
  if (!hasTray()) showPopover(false);
}

void TrayFrontEnd::showIcon() {
  if (icon_) return;
  icon_.emplace();
  menu_ = makeTrayMenu(desk_, [this] { showPopover(true); });
  icon_->setContextMenu(menu_.get());
  connect(&*icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason != QSystemTrayIcon::Context) togglePopover();
  });
  updateIcon();
  icon_->show();
}

void TrayFrontEnd::activate() {
  showPopover(false);
}

void TrayFrontEnd::togglePopover() {
  auto* const window = windows_.find("popover");
  const bool justDismissed = surroundings_.now() - dismissedAt_ < clickLasts;
  if (window != nullptr && window->isVisible()) {
    window->close();
  } else if (!justDismissed) {
    showPopover(true);
  }
}

/// Away from its icon it is a window like others, which stays until it is closed.
void TrayFrontEnd::showPopover(bool atIcon) {
  statistics_.reload();
  windows_.open("popover", [this, atIcon](QQuickWindow& window) {
    window.setFlags(atIcon ? popoverFlags : Qt::WindowFlags(Qt::Dialog));
    if (!atIcon) return;
    surroundings_.accompany(window);
    const QRect icon = icon_ ? icon_->geometry() : QRect();
    const QPoint pointer = icon.isEmpty() ? QCursor::pos() : icon.center();
    const auto* screen = QGuiApplication::screenAt(pointer);
    if (screen == nullptr) screen = QGuiApplication::primaryScreen();
    window.setPosition(popoverPlace(icon, pointer, window.size(), screen->availableGeometry()));
    connect(&window, &QWindow::activeChanged, this, [this, popover = &window] {
      if (popover->isActive() || !popover->isVisible()) return;
      dismissedAt_ = surroundings_.now();
      popover->close();
    });
  });
}

void TrayFrontEnd::showBadge() {
  if (!surroundings_.displayAnswers()) return;
  auto* const window = windows_.open("badge", [this](QQuickWindow& badge) {
    badge.setFlags(badgeFlags);
    surroundings_.accompany(badge);
    if (const auto* screen = QGuiApplication::primaryScreen()) {
      badge.setPosition(badgePlace(badge.size(), screen->availableGeometry()));
    }
  });
  if (window != nullptr) QMetaObject::invokeMethod(window, "appear");
}

void TrayFrontEnd::updateIcon() {
  if (!icon_) return;
  const auto shown =
      menuIcon(model_.connectionStatus().get(), isInProgress(model_.dictation().controller().phase().get()));
  if (std::exchange(iconShown_, shown) == shown) return;
  icon_->setIcon(trayIcon(toQt(shown.symbol)));
  icon_->setToolTip(inWords(shown.label));
}

void TrayFrontEnd::furnish(const QString& id, QQmlContext& context) {
  context.setContextProperty("desk", &desk_);
  context.setContextProperty("statistics", &statistics_);
  context.setContextProperty("dictation", &dictation_);
  context.setContextProperty("panel", &panel_);
  context.setContextProperty("updates", &updates_);
  const auto give = [&context](const char* name, ViewObject* object) {
    object->setParent(&context);
    context.setContextProperty(name, object);
  };
  if (id == "settings") give("settings", new SettingsView(model_, mainThread_));
  if (id == "connection-test") give("check", new CheckView(model_, mainThread_));
  if (id == "statistics") statistics_.reload();
  if (id == "pair" || id == "onboarding") {
    auto* const pairing = new PairingView(model_, mainThread_, surroundings_.now);
    give("thePairing", pairing);
    if (id == "pair") pairing->start();
  }
}

}  // namespace quillet
