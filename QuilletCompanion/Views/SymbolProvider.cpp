// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/SymbolProvider.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace quillet {
namespace {

constexpr int kDefaultSide = 24;

}  // namespace

QImage drawSymbol(const QString& name, const QColor& color, QSize pixels) {
  QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QFile file(QStringLiteral(":/quillet/symbols/") + name + QStringLiteral(".svg"));
  if (!file.open(QIODevice::ReadOnly)) {
    qWarning("There is no symbol \"%s\"", qUtf8Printable(name));
    return image;
  }
  QByteArray svg = file.readAll();
  svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
  QSvgRenderer renderer(svg);
  QPainter painter(&image);
  painter.setOpacity(color.alphaF());
  renderer.render(&painter);
  return image;
}

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requested) {
  const auto slash = id.lastIndexOf(u'/');
  const QColor color(u'#' + id.mid(slash + 1));
  const QSize pixels = requested.isEmpty() ? QSize(kDefaultSide, kDefaultSide) : requested;
  if (size != nullptr) *size = pixels;
  return drawSymbol(id.left(slash), color, pixels);
}

}  // namespace quillet
