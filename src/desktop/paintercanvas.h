// The canvas over a QPainter: a widget, a picture in memory or a printer's page.
#pragma once

#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QStaticText>
#include <unordered_map>

#include "framework/view.h"
#include "host/canvas.h"

namespace tarnvisor {

// Texts laid out before, for canvases that follow each other on the same window: laying out takes longer than
// drawing, and a view's labels hardly change.
class LaidOutTexts {
 public:
  // Null for one that must be laid out where it is drawn: tabs, and letters that another font may have to
  // lend.
  const QStaticText* find(const std::string& words);

 private:
  static constexpr size_t kMost = 4096;
  std::unordered_map<std::string, QStaticText> texts;
};

class PainterCanvas final : public Canvas {
 public:
  // Borrows a painter that has begun; its coordinates are the canvas's. For a printer, pictures are kept with
  // the page and text has no shadow. Borrows the texts too.
  explicit PainterCanvas(QPainter& borrowed, bool forPrinter = false, LaidOutTexts* laidOut = nullptr);
  // Light grounds become dark, and greys the other way round; inks keep their hue and are lightened until
  // they are readable. Pixels stay.
  void showDark() { isDark = true; }

  void setPen(const Pen& pen) override;
  void polyline(std::span<const Point> points) override;
  void polygon(std::span<const Point> points) override;
  void rectangle(const Rect& bounds) override;
  void ellipse(const Rect& bounds) override;
  void point(Point at) override;
  void text(Point at, const std::string& words, Colour colour) override;
  void fill(const Rect& bounds, Colour colour) override;
  void fillPolygon(std::span<const Point> points, Colour colour) override;
  void pixels(const PixelBlock& block, const Rect& target) override;
  void setFont(const std::string& family, int32_t tenthsOfPoint) override;
  Size textSize(const std::string& words) const override;
  void setClip(const Rect& bounds) override;
  double pixelRatio() const override { return ratio; }
  bool isPrinter() const override { return printer; }

 private:
  QPointF middleOf(Point at) const;
  QRectF outlineOf(const Rect& bounds) const;
  const QPolygonF& outlineOf(std::span<const Point> points);
  QPainter& painter;
  double ratio;
  bool printer;
  QString ownFamily;  // of the device, which a view may leave for another
  bool isDark = false;
  LaidOutTexts* texts;
  QColor asInk(Colour colour) const;
  QColor asGround(Colour colour) const;
  // What moves a line of an odd number of the screen's own pixels onto the pixels that it names.
  double shift = 0;
  QFontMetrics metrics;
  QPolygonF outline;
};

// Gives the view a window of that size and draws it; ratio is the picture's pixels per pixel of the window.
// Needs a QGuiApplication (for fonts) and works without a display.
QImage renderView(CView& view, Size size, double ratio = 1.0);

}  // namespace tarnvisor
