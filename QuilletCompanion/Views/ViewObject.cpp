// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/ViewObject.h"

#include <QCoreApplication>
#include <algorithm>
#include <limits>
#include <string>

namespace quillet {

QString inWords(std::string_view text) {
  return QCoreApplication::translate("Quillet", std::string(text).c_str());
}

QString inWords(std::string_view text, std::int64_t count) {
  const auto most = std::int64_t{std::numeric_limits<int>::max()};
  return QCoreApplication::translate("Quillet", std::string(text).c_str(), nullptr,
                                     static_cast<int>(std::min(count, most)));
}

QString toQt(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

}  // namespace quillet
