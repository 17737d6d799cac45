// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QCoreApplication>
#include <QFile>
#include <QKeyEvent>
#include <QTranslator>
#include <cmath>

#include "QuilletPictures/Gallery.h"
#include "QuilletPictures/Stage.h"
#include "Tests/Doubles/FakeUpdateController.h"

namespace quillet::test {
namespace {

using namespace pictures;

/// Is asked for what the catalogue before it hasn't.
class Missing final : public QTranslator {
 public:
  bool isEmpty() const override { return false; }
  QString translate(const char* context, const char* text, const char*, int) const override {
    const bool hasLetters = std::any_of(text, text + std::strlen(text), [](char c) { return std::isalpha(c) != 0; });
    if (hasLetters && (std::strcmp(context, "Quillet") == 0 || QFile::exists(viewOf(context)))) found.insert(text);
    return {};
  }
  mutable std::set<std::string> found;

 private:
  static QString viewOf(const char* context) {
    return QStringLiteral(":/quillet/qml/Quillet/") + context + QStringLiteral(".qml");
  }
};

QRectF placeOf(const QQuickItem& item) {
  return item.mapRectToScene(QRectF(0, 0, item.width(), item.height()));
}

bool isText(const QQuickItem& item) {
  return item.inherits("QQuickText") && !item.property("text").toString().isEmpty();
}

/// A text that isn't shown whole, or sticks out of what it belongs to.
bool isCut(const QQuickItem& text) {
  constexpr double slack = 1;
  if (text.property("truncated").toBool() || text.property("contentWidth").toDouble() > text.width() + slack)
    return true;
  const QRectF place = placeOf(text);
  bool scrolls = false;
  for (const auto* around = text.parentItem(); around != nullptr; around = around->parentItem()) {
    scrolls = scrolls || around->inherits("QQuickFlickable");
    const QRectF room = placeOf(*around);
    if (room.width() < slack) continue;
    if (place.left() < room.left() - slack || place.right() > room.right() + slack) return true;
  }
  const auto* window = text.window();
  return !scrolls && (place.top() < 0 || place.bottom() > window->height() + slack);
}

double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& a, const QColor& b) {
  const double one = luminance(a), other = luminance(b);
  return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

/// What most of the place is painted in.
QColor groundOf(const QImage& picture, const QRect& place) {
  std::map<QRgb, int> counts;
  for (int y = place.top(); y <= place.bottom(); ++y) {
    for (int x = place.left(); x <= place.right(); ++x) ++counts[picture.pixel(x, y)];
  }
  const auto most =
      std::max_element(counts.begin(), counts.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
  return most == counts.end() ? QColor() : QColor(most->first);
}

/// What can't be used now may be faint.
bool isFaint(const QQuickItem& item) {
  double opacity = 1;
  for (const auto* part = &item; part != nullptr; part = part->parentItem()) opacity *= part->opacity();
  return opacity < 1;
}

QAccessible::Role roleOf(QQuickItem* item) {
  const auto* about = QAccessible::queryAccessibleInterface(item);
  return about == nullptr ? QAccessible::NoRole : about->role();
}

/// All that is seen, or what belongs to the question over the window.
std::vector<QQuickItem*> frontItems(const QQuickWindow& window) {
  auto items = visibleItems(window);
  const auto question =
      std::find_if(items.begin(), items.end(), [](auto* item) { return roleOf(item) == QAccessible::Dialog; });
  if (question != items.end()) {
    std::erase_if(items, [asked = *question](auto* item) { return !asked->isAncestorOf(item); });
  }
  return items;
}

std::string poorTexts(QQuickWindow& window) {
  constexpr double least = 4.5;
  const QImage picture = window.grabWindow();
  std::string found;
  for (const auto* item : frontItems(window)) {
    const QRect place = placeOf(*item).toAlignedRect();
    if (!isText(*item) || isFaint(*item) || !picture.rect().contains(place)) continue;
    const auto ratio = contrast(item->property("color").value<QColor>(), groundOf(picture, place));
    if (ratio < least) found += item->property("text").toString().toStdString() + ": " + std::to_string(ratio) + '\n';
  }
  return found;
}

/// The controls that can be used now.
std::vector<QQuickItem*> controls(const QQuickWindow& window) {
  constexpr std::array roles{QAccessible::Button, QAccessible::CheckBox, QAccessible::ComboBox,
                             QAccessible::EditableText};
  auto items = frontItems(window);
  std::erase_if(items, [&](auto* item) {
    return !item->isEnabled() || std::find(roles.begin(), roles.end(), roleOf(item)) == roles.end();
  });
  return items;
}

bool contains(const std::vector<QQuickItem*>& items, QQuickItem* item) {
  return std::find(items.begin(), items.end(), item) != items.end();
}

/// Where the keyboard goes with that key, until it comes back.
std::vector<QQuickItem*> way(QQuickWindow& window, Qt::Key key) {
  std::vector<QQuickItem*> found;
  const auto press = [&] {
    QKeyEvent event(QEvent::KeyPress, key, key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
  };
  for (press(); !contains(found, window.activeFocusItem()); press()) {
    found.push_back(window.activeFocusItem());
  }
  return found;
}

std::string nameOf(QQuickItem* item) {
  const auto* about = QAccessible::queryAccessibleInterface(item);
  return about == nullptr ? "nothing" : about->text(QAccessible::Name).toStdString();
}

void expectUsable(QQuickWindow& window) {
  constexpr double leastSide = 24;
  const auto usable = controls(window);
  const auto forth = way(window, Qt::Key_Tab), back = way(window, Qt::Key_Backtab);
  for (auto* const item : usable) {
    EXPECT_NE(nameOf(item), "") << item->metaObject()->className();
    EXPECT_GE(std::min(item->width(), item->height()), leastSide) << nameOf(item);
    EXPECT_TRUE(contains(forth, item)) << "Tab misses \"" << nameOf(item) << '"';
    EXPECT_TRUE(contains(back, item)) << "Shift and Tab miss \"" << nameOf(item) << '"';
  }
}

/// Runs through all scenes; one that can't be reached fails by itself.
void forEachScene(const std::function<void(Stage&, QQuickWindow&)>& look) {
  for (const auto& scene : scenes()) {
    SCOPED_TRACE(scene.name);
    Stage stage(Gallery::instance().look());
    try {
      look(stage, play(scene, stage));
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    EXPECT_EQ(Gallery::instance().takeComplaints(), "");
  }
}

class EveryWindow : public testing::TestWithParam<const char*> {};

TEST_P(EveryWindow, IsWholeInItsLanguage) {
  auto* const missing = new Missing;
  speak(GetParam(), missing);
  forEachScene([](Stage&, const QQuickWindow& window) {
    for (const auto* item : visibleItems(window)) {
      EXPECT_FALSE(isText(*item) && isCut(*item)) << item->property("text").toString().toStdString();
    }
  });
  if (std::string_view(GetParam()) != "en") {
    EXPECT_THAT(missing->found, testing::IsEmpty());
  }
}
INSTANTIATE_TEST_SUITE_P(Views, EveryWindow, testing::Values("en", "nl", "fr", "de"),
                         [](const auto& language) { return std::string(language.param); });

TEST(EachWindow, CanBeReadAndUsedByEverybody) {
  speak("en");
  forEachScene([](Stage& stage, QQuickWindow& window) {
    for (const char* look : {"dark", "dark-contrast", "light-contrast", "light"}) {
      Gallery::instance().setLook(look);
      stage.rest();
      EXPECT_EQ(poorTexts(window), "") << look;
    }
    if ((window.flags() & Qt::WindowDoesNotAcceptFocus) != 0) return;
    stage.await([&] { return window.isActive(); });
    expectUsable(window);
  });
}

TEST(Updates, AreOfferedAndChosenWhereThereIsAController) {
  speak("en");
  Stage stage(Gallery::instance().look());
  auto controller = std::make_unique<FakeUpdateController>();
  auto& updates = *controller;
  stage.updates = std::move(controller);
  stage.begin();
  stage.popover();
  stage.rest();
  stage.press("PopoverWindow", "Update to version 1.2.0…");
  EXPECT_EQ(updates.asked, 1);
  EXPECT_EQ(Stage::window("Popover"), nullptr);
  stage.open("settings");
  stage.rest();
  stage.press("SettingsWindow", "Check for updates automatically");
  stage.press("SettingsWindow", "Download and install updates automatically");
  EXPECT_FALSE(updates.checks.get());
  EXPECT_TRUE(updates.installs.get());
}

}  // namespace
}  // namespace quillet::test
