// Between the system's 8-bit texts and colours and Qt's.
#pragma once

#include <QColor>
#include <QString>
#include <string>

#include "base/geometry.h"

namespace tarnvisor {

// Bytes that are not well-formed UTF-8 count as Latin-1, which older documents hold.
QString toQt(const std::string& text);
std::string fromQt(const QString& text);  // UTF-8
QColor toQt(Colour colour);
Colour fromQt(const QColor& colour);

}  // namespace tarnvisor
