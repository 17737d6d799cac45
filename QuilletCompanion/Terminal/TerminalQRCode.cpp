// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalQRCode.h"

#include <qrencode.h>

#include <memory>

namespace quillet {
namespace {

constexpr int kQuietZone = 4;

bool isDark(const QRcode& code, int row, int column) {
  if (row < 0 || column < 0 || row >= code.width || column >= code.width) return false;
  return (code.data[row * code.width + column] & 1) != 0;
}

std::string_view halfBlock(bool upperDark, bool lowerDark) {
  if (upperDark && lowerDark) return " ";
  if (upperDark) return "▄";
  if (lowerDark) return "▀";
  return "█";
}

}  // namespace

std::string terminalQRCode(std::string_view content) {
  const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
      QRcode_encodeString(std::string(content).c_str(), 0, QR_ECLEVEL_M, QR_MODE_8, 1), &QRcode_free);
  if (!code) return {};
  std::string picture;
  for (int row = -kQuietZone; row < code->width + kQuietZone; row += 2) {
    for (int column = -kQuietZone; column < code->width + kQuietZone; ++column) {
      picture += halfBlock(isDark(*code, row, column), isDark(*code, row + 1, column));
    }
    picture += '\n';
  }
  return picture;
}

}  // namespace quillet
