// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/Translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

namespace quillet {

void loadTranslations(QCoreApplication& application) {
  const QString folder = QStringLiteral(":/quillet/translations");
  for (const auto& locale : {QLocale(), QLocale(QLocale::English)}) {
    auto* const translator = new QTranslator(&application);
    if (translator->load(locale, QStringLiteral("quillet"), QStringLiteral("_"), folder)) {
      QCoreApplication::installTranslator(translator);
      return;
    }
    delete translator;
  }
}

}  // namespace quillet
