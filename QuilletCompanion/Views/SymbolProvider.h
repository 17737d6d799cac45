// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QQuickImageProvider>

namespace quillet {

/// Draws a symbol of our set in one colour. The set is one SVG file a name, drawn in "currentColor".
QImage drawSymbol(const QString& name, const QColor& color, QSize pixels);

/// "image://symbol/NAME/RRGGBB" or ".../AARRGGBB". An unknown name gives an empty picture and a warning.
class SymbolProvider final : public QQuickImageProvider {
 public:
  SymbolProvider() : QQuickImageProvider(Image) {}
  QImage requestImage(const QString& id, QSize* size, const QSize& requested) override;
};

}  // namespace quillet
