// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantList>

#include "QuilletCompanion/Views/ViewObject.h"
#include "QuilletKit/Words/WordStatsStore.h"

namespace quillet {

/// The counted words as people read them, with the numbers of their language.
class StatisticsView final : public ViewObject {
  Q_OBJECT
  Q_PROPERTY(QString today READ today NOTIFY changed)
  Q_PROPERTY(QString week READ week NOTIFY changed)
  Q_PROPERTY(QString month READ month NOTIFY changed)
  Q_PROPERTY(QString total READ total NOTIFY changed)
  Q_PROPERTY(QString totalText READ totalText NOTIFY changed)
  Q_PROPERTY(QString headline READ headline NOTIFY changed)
  Q_PROPERTY(QString nextText READ nextText NOTIFY changed)
  Q_PROPERTY(double progress READ progress NOTIFY changed)
  Q_PROPERTY(QString streakText READ streakText NOTIFY changed)
  Q_PROPERTY(QVariantList lastWeek READ lastWeek NOTIFY changed)
  Q_PROPERTY(QString bestDay READ bestDay NOTIFY changed)
  Q_PROPERTY(QString timeSaved READ timeSaved NOTIFY changed)
  Q_PROPERTY(QVariantList devices READ devices NOTIFY changed)
  Q_PROPERTY(bool isShared READ isShared NOTIFY changed)

 public:
  StatisticsView(WordStatsStore& store, Executor mainThread);

  QString today() const;
  QString week() const;
  QString month() const;
  QString total() const;
  /// The figure as a part of a sentence.
  QString totalText() const;
  QString headline() const;
  /// Empty where nothing follows.
  QString nextText() const;
  double progress() const;
  /// Empty below two days.
  QString streakText() const;
  /// Seven, each with "name", "letter", "words", and "share" of the chart's height, 0 to 1.
  QVariantList lastWeek() const;
  /// Empty without words.
  QString bestDay() const;
  /// Empty below a minute.
  QString timeSaved() const;
  /// Each with "name", "symbol", "total" and "isThisDevice".
  QVariantList devices() const;
  bool isShared() const { return store_.isSynchronised().get(); }

  /// Takes in what other devices have counted.
  Q_INVOKABLE void reload();

 private:
  WordStatsStore& store_;
  WordStatsSummary summary_;
};

}  // namespace quillet
