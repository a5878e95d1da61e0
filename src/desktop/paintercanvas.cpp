#include "desktop/paintercanvas.h"

#include <algorithm>
#include <cmath>

#include "desktop/qttext.h"

namespace tarnvisor {

namespace {

// Marks of a damaged document may lie anywhere. A dashed line to there would be cut into dashes without end.
constexpr int32_t kFarthest = 1 << 20;
double bounded(int32_t v) { return std::clamp(v, -kFarthest, kFarthest); }

QRect asQt(const Rect& r) { return {r.left, r.top, r.width(), r.height()}; }

bool isLight(Colour c) { return 3 * (c & 0xff) + 6 * (c >> 8 & 0xff) + (c >> 16 & 0xff) > 1275; }

constexpr int kShadowAlpha = 110;

// --- on a dark desktop

constexpr double kReadable = 0.24;  // of the luminance: 4.5 to 1 on the darkest ground

double luminance(const QColor& c) {
  const auto linear = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
  return 0.2126 * linear(c.redF()) + 0.7152 * linear(c.greenF()) + 0.0722 * linear(c.blueF());
}

bool isGreyish(const QColor& c) {
  constexpr int kColoured = 64;
  const auto [least, most] = std::minmax({c.red(), c.green(), c.blue()});
  return most - least < kColoured;
}

QColor inverted(const QColor& c) {
  constexpr double kDarkest = 0.12, kLightest = 0.92;
  const double lightness = kDarkest + (1 - c.lightnessF()) * (kLightest - kDarkest);
  return QColor::fromHslF(c.hslHueF(), c.hslSaturationF(), static_cast<float>(lightness));
}

QColor darkInk(const QColor& given) {
  constexpr double kStep = 0.02;
  QColor ink = isGreyish(given) ? inverted(given) : given;
  for (double l = ink.lightnessF(); luminance(ink) < kReadable && l < 1; l += kStep)
    ink = QColor::fromHslF(ink.hslHueF(), ink.hslSaturationF(), static_cast<float>(l));
  return ink;
}

// What is filled is a ground, or a spot of ink.
QColor darkGround(const QColor& given) {
  constexpr double kLight = 0.75;
  return given.lightnessF() > kLight || isGreyish(given) ? inverted(given) : darkInk(given);
}

}  // namespace

const QStaticText* LaidOutTexts::find(const std::string& words) {
  if (const auto known = texts.find(words); known != texts.end()) return &known->second;
  if (std::ranges::any_of(words, [](char c) { return c < ' ' || c > '~'; })) return nullptr;
  if (texts.size() >= kMost) texts.clear();
  QStaticText laidOut(toQt(words));
  laidOut.setTextFormat(Qt::PlainText);
  laidOut.setPerformanceHint(QStaticText::AggressiveCaching);
  return &(texts[words] = laidOut);
}

PainterCanvas::PainterCanvas(QPainter& borrowed, bool forPrinter, LaidOutTexts* laidOut)
    : painter(borrowed),
      ratio(forPrinter ? 1.0 : borrowed.device()->devicePixelRatioF()),
      printer(forPrinter),
      ownFamily(borrowed.font().family()),
      texts(laidOut),
      shift(ratio > 1.0 ? 0.5 : 0.0),
      metrics(borrowed.font(), borrowed.device()) {
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform, false);
  painter.setRenderHint(QPainter::TextAntialiasing, true);
  painter.setBrush(Qt::NoBrush);
  setPen({});
}

QColor PainterCanvas::asInk(Colour colour) const { return isDark ? darkInk(toQt(colour)) : toQt(colour); }
QColor PainterCanvas::asGround(Colour colour) const {
  return isDark ? darkGround(toQt(colour)) : toQt(colour);
}

void PainterCanvas::setPen(const Pen& pen) {
  const int32_t width = std::max(1, pen.width);
  QPen own(asInk(pen.colour));
  own.setWidth(width);
  own.setCosmetic(ratio == 1.0 && width == 1);
  own.setCapStyle(width > 1 ? Qt::RoundCap : Qt::SquareCap);
  own.setJoinStyle(width > 1 ? Qt::RoundJoin : Qt::MiterJoin);
  if (pen.dashed) {
    own.setDashPattern({4, 4});
    own.setCapStyle(Qt::FlatCap);
  }
  painter.setPen(own);
}

QPointF PainterCanvas::middleOf(Point at) const { return {bounded(at.x) + shift, bounded(at.y) + shift}; }

const QPolygonF& PainterCanvas::outlineOf(std::span<const Point> points) {
  outline.clear();
  for (const Point& p : points) outline.append(middleOf(p));
  return outline;
}

// The right and bottom edges belong to the neighbours.
QRectF PainterCanvas::outlineOf(const Rect& bounds) const {
  return {middleOf({bounds.left, bounds.top}),
          middleOf({wrapSub(bounds.right, 1), wrapSub(bounds.bottom, 1)})};
}

void PainterCanvas::polyline(std::span<const Point> points) {
  if (points.size() == 1) return point(points[0]);
  if (!points.empty()) painter.drawPolyline(outlineOf(points));
}

void PainterCanvas::polygon(std::span<const Point> points) {
  if (points.size() < 3) return polyline(points);
  painter.drawPolygon(outlineOf(points));
}

void PainterCanvas::rectangle(const Rect& bounds) {
  if (!bounds.isEmpty()) painter.drawRect(outlineOf(bounds));
}

void PainterCanvas::ellipse(const Rect& bounds) {
  if (!bounds.isEmpty()) painter.drawEllipse(outlineOf(bounds));
}

void PainterCanvas::point(Point at) {
  const int width = std::max(1, painter.pen().width());
  const int before = width / 2;
  painter.fillRect(QRectF(bounded(at.x) - before, bounded(at.y) - before, width, width),
                   painter.pen().color());
}

// A faint shadow keeps labels readable on light and dark pixels; on paper of the ink's opposite it vanishes.
void PainterCanvas::text(Point at, const std::string& words, Colour colour) {
  const QPointF corner(bounded(at.x), bounded(at.y));
  const QStaticText* known = texts ? texts->find(words) : nullptr;
  const QString line = known ? QString() : toQt(words);
  const auto draw = [&](const QColor& ink, QPointF by) {
    painter.setPen(ink);
    if (known)
      painter.drawStaticText(corner + by, *known);
    else
      painter.drawText(corner + by + QPointF(0, metrics.ascent()), line);
  };
  const QPen kept = painter.pen();
  if (!printer && !isDark) {
    QColor shadow(isLight(colour) ? Qt::black : Qt::white);
    shadow.setAlpha(kShadowAlpha);
    draw(shadow, {1, 1});
  }
  draw(asInk(colour), {0, 0});
  painter.setPen(kept);
}

void PainterCanvas::fill(const Rect& bounds, Colour colour) {
  if (!bounds.isEmpty()) painter.fillRect(asQt(bounds), asGround(colour));
}

void PainterCanvas::fillPolygon(std::span<const Point> points, Colour colour) {
  if (points.size() < 3) return;
  const QPen kept = painter.pen();
  painter.setPen(Qt::NoPen);
  painter.setBrush(asGround(colour));
  painter.drawPolygon(outlineOf(points));
  painter.setBrush(Qt::NoBrush);
  painter.setPen(kept);
}

void PainterCanvas::pixels(const PixelBlock& block, const Rect& target) {
  if (!block.first || block.width <= 0 || block.height <= 0 || target.isEmpty()) return;
  const QImage borrowed(reinterpret_cast<const uchar*>(block.first), block.width, block.height,
                        static_cast<qsizetype>(block.stride) * 4, QImage::Format_RGB32);
  // A printer's pages are drawn again after the block has gone.
  painter.drawImage(asQt(target), printer ? borrowed.copy() : borrowed);
}

void PainterCanvas::setFont(const std::string& family, int32_t tenthsOfPoint) {
  QFont font = painter.font();
  font.setFamily(family.empty() ? ownFamily : toQt(family));
  if (tenthsOfPoint > 0) font.setPointSizeF(tenthsOfPoint / 10.0);
  painter.setFont(font);
  metrics = QFontMetrics(font, painter.device());
}

Size PainterCanvas::textSize(const std::string& words) const {
  return {metrics.horizontalAdvance(toQt(words)), metrics.height()};
}

void PainterCanvas::setClip(const Rect& bounds) {
  if (bounds.isEmpty())
    painter.setClipping(false);
  else
    painter.setClipRect(asQt(bounds));
}

QImage renderView(CView& view, Size size, double ratio) {
  const Size window{std::max(1, size.width), std::max(1, size.height)};
  QImage picture(static_cast<int>(std::lround(window.width * ratio)),
                 static_cast<int>(std::lround(window.height * ratio)), QImage::Format_RGB32);
  if (picture.isNull()) return picture;
  picture.setDevicePixelRatio(ratio);
  picture.fill(Qt::white);
  view.setWindowSize(window);
  QPainter painter(&picture);
  PainterCanvas canvas(painter);
  view.draw(canvas);
  return picture;
}

}  // namespace tarnvisor
