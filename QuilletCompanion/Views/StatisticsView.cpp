// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/StatisticsView.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QVariantMap>
#include <algorithm>
#include <utility>

#include "QuilletCompanion/App/WordMilestone.h"

namespace quillet {
namespace {

/// A chart's height stands for so many words at least.
constexpr std::int64_t leastOfChart = 100;
constexpr std::int64_t leastStreak = 2;

QString number(std::int64_t value) {
  return QLocale().toString(qlonglong{value});
}

QDate dateOf(std::int64_t milliseconds) {
  return QDateTime::fromMSecsSinceEpoch(milliseconds).date();
}

QString symbolOf(const WordStatsSummary::Device& device) {
  const auto symbol = toQt(device.symbol);
  return QFile::exists(":/quillet/symbols/" + symbol + ".svg") ? symbol : "desktopcomputer";
}

QString duration(std::int64_t minutes) {
  const auto hours = minutes / 60;
  const auto rest = minutes % 60;
  const auto hoursText = inWords("%1 hr").arg(number(hours));
  auto minutesText = inWords("%1 min").arg(rest);
  if (hours == 0) return minutesText;
  return rest == 0 ? hoursText : hoursText + ' ' + minutesText;
}

}  // namespace

StatisticsView::StatisticsView(WordStatsStore& store, Executor mainThread)
    : ViewObject(std::move(mainThread)), store_(store), summary_(store.summary()) {
  keep(store_.ledgers().observe([this](const auto&) {
    summary_ = store_.summary();
    Q_EMIT changed();
  }));
  follow(store_.isSynchronised());
}

void StatisticsView::reload() {
  store_.reload();
  summary_ = store_.summary();  // a day may have begun since
  Q_EMIT changed();
}

QString StatisticsView::today() const {
  return number(summary_.today);
}

QString StatisticsView::week() const {
  return number(summary_.week);
}

QString StatisticsView::month() const {
  return number(summary_.month);
}

QString StatisticsView::total() const {
  return number(summary_.total);
}

QString StatisticsView::totalText() const {
  return inWords("%1 words in total", summary_.total).arg(total());
}

QString StatisticsView::headline() const {
  const auto milestone = WordMilestone::of(summary_.total);
  auto words = milestone.subjectIsTitle || milestone.subject.empty()
                   ? inWords(milestone.headline)
                   : inWords(milestone.headline, toQt(milestone.subject).toLongLong());
  if (milestone.subject.empty()) return words;
  return words.arg(milestone.subjectIsTitle ? inWords(milestone.subject) : toQt(milestone.subject));
}

QString StatisticsView::nextText() const {
  const auto next = WordMilestone::of(summary_.total).next;
  if (!next) return {};
  const auto percent = inWords("%1%").arg(QLocale().toString(next->progress * 100, 'f', 0));
  return inWords("%1 of the way to %2").arg(percent, inWords(next->title));
}

double StatisticsView::progress() const {
  const auto next = WordMilestone::of(summary_.total).next;
  return next ? next->progress : 0;
}

QString StatisticsView::streakText() const {
  return summary_.streak < leastStreak ? QString()
                                       : inWords("%1 days in a row", summary_.streak).arg(number(summary_.streak));
}

QVariantList StatisticsView::lastWeek() const {
  std::int64_t most = leastOfChart;
  for (const auto& day : summary_.lastWeek) most = std::max(most, day.words);
  QVariantList found;
  for (const auto& day : summary_.lastWeek) {
    const int weekday = dateOf(day.date).dayOfWeek();
    found.append(QVariantMap{{"name", QLocale().dayName(weekday)},
                             {"letter", QLocale().dayName(weekday, QLocale::ShortFormat)},
                             {"words", number(day.words)},
                             {"share", static_cast<double>(day.words) / static_cast<double>(most)}});
  }
  return found;
}

QString StatisticsView::bestDay() const {
  if (!summary_.bestDay) return {};
  const auto date = QLocale().toString(dateOf(summary_.bestDay->date), inWords("MMM d"));
  const auto words = summary_.bestDay->words;
  return inWords("Best day: %1, %2 words", words).arg(date, number(words));
}

QString StatisticsView::timeSaved() const {
  const auto minutes = minutesOfTypingSaved(summary_.total);
  return minutes ? inWords("About %1 of typing saved").arg(duration(*minutes)) : QString();
}

QVariantList StatisticsView::devices() const {
  QVariantList found;
  for (const auto& device : summary_.devices) {
    found.append(QVariantMap{{"name", toQt(device.name)},
                             {"symbol", symbolOf(device)},
                             {"total", number(device.total)},
                             {"isThisDevice", device.isThisDevice}});
  }
  return found;
}

}  // namespace quillet
