// SPDX-License-Identifier: MIT
#pragma once

#include <QQuickImageProvider>

namespace quillet {

/// Draws "image://qr/" followed by a text that is encoded as in an address.
class QRCodeProvider final : public QQuickImageProvider {
 public:
  QRCodeProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}
  QImage requestImage(const QString& id, QSize* size, const QSize& requested) override;
};

}  // namespace quillet
