// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/QRCodeProvider.h"

#include <qrencode.h>

#include <QUrl>
#include <memory>

namespace quillet {
namespace {

constexpr int pixelsOfModule = 12;

}  // namespace

QImage QRCodeProvider::requestImage(const QString& id, QSize* size, const QSize&) {
  const QByteArray content = QUrl::fromPercentEncoding(id.toUtf8()).toUtf8();
  const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
      QRcode_encodeString(content.constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1), &QRcode_free);
  const int side = code == nullptr ? 1 : code->width;
  QImage modules(side, side, QImage::Format_RGB32);
  modules.fill(Qt::white);
  for (int i = 0; code != nullptr && i < side * side; ++i) {
    if ((code->data[i] & 1) != 0) modules.setPixel(i % side, i / side, qRgb(0, 0, 0));
  }
  auto image = modules.scaled(side * pixelsOfModule, side * pixelsOfModule);
  if (size != nullptr) *size = image.size();
  return image;
}

}  // namespace quillet
