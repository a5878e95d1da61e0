// A canvas whose drawing becomes a Windows metafile (.wmf): strokes stay strokes, pictures become pixels of
// 24 bits, and letters that Latin-1 has no place for "?".
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "host/canvas.h"

namespace tarnvisor {

class MetafileCanvas final : public Canvas {
 public:
  // Texts are measured by another canvas, which is borrowed.
  MetafileCanvas(Canvas& measuring, Size size);
  std::vector<uint8_t> file() const;  // preceded by its place, at 96 pixels an inch

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
  Size textSize(const std::string& words) const override { return ruler.textSize(words); }
  void setClip(const Rect& bounds) override;
  // Nothing that only a screen needs.
  bool isPrinter() const override { return true; }

 private:
  using Record = std::vector<uint8_t>;  // a whole one
  void add(const Record& record);
  void select(const Record& creation);
  void outlined();             // with the pen, hollow
  void filled(Colour colour);  // without a pen
  void corners(uint16_t function, const Rect& bounds);
  void chain(uint16_t function, std::span<const Point> points);

  Canvas& ruler;
  Size picture;
  std::vector<uint8_t> records;
  size_t longest = 0;                   // record, in bytes
  std::map<Record, uint16_t> objects;   // by what makes them; none is ever deleted
  std::map<uint16_t, uint16_t> chosen;  // of each kind, by the function that makes it
  Record pen, font;
  Colour penColour = 0;
  int32_t penWidth = 1;
  Colour textColour = 0;
  bool clipped = false;
};

}  // namespace tarnvisor
