#include "desktop/qttext.h"

#include <QStringDecoder>

namespace tarnvisor {

QString toQt(const std::string& text) {
  QStringDecoder decoder(QStringDecoder::Utf8);
  const QString decoded = decoder(QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
  return decoder.hasError() ? QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())) : decoded;
}

std::string fromQt(const QString& text) {
  const QByteArray bytes = text.toUtf8();
  return {bytes.constData(), static_cast<size_t>(bytes.size())};
}

QColor toQt(Colour colour) {
  return {static_cast<int>(colour & 0xff), static_cast<int>(colour >> 8 & 0xff),
          static_cast<int>(colour >> 16 & 0xff)};
}

Colour fromQt(const QColor& colour) {
  return static_cast<Colour>(colour.red() | colour.green() << 8 | colour.blue() << 16);
}

}  // namespace tarnvisor
