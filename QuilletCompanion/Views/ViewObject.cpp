// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/ViewObject.h"

#include <QCoreApplication>
#include <string>

namespace quillet {

QString inWords(std::string_view text) {
  return QCoreApplication::translate("Quillet", std::string(text).c_str());
}

QString toQt(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

}  // namespace quillet
