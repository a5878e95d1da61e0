// A marked shape on an image, held in integer image pixels and measured with a scale per axis (sx, sy: user
// units a pixel) that each measure is given. CDim is the root and a plain row of points by itself.
//
// Coordinates may be anything a file says: arithmetic saturates and never overflows. A shape may have no
// points at all; it then measures 0.0, is hit by nothing and stays where it is. Indices count from 0.
// rect arguments are half-open; with circle the circle in the rectangle is meant (see each).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "archive/archive.h"
#include "base/geometry.h"
#include "host/canvas.h"
#include "measure/outlineclip.h"

namespace tarnvisor {

class CDimLine;

class CDim : public ArchiveObject {
 public:
  static constexpr Colour kDefaultColour = 255;
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  // Writes version 3, reads all; then Close and Update run. docs/formats/dimension.md.
  void serialize(Archive& archive) override;

  // False, with out unchanged, past the end.
  virtual bool GetPoint(int32_t index, Point& out) const;
  // The new point's index, -1 without memory.
  virtual int32_t AddPoint(Point point);
  virtual double Length(double sx, double sy) const;
  // Sums of the absolute differences along the points.
  virtual double LengthX(double sx) const;
  virtual double LengthY(double sy) const;
  // What of the points' segments lies in the rectangle, or in its inscribed circle.
  virtual double LengthIn(const Rect& rect, bool circle, double sx, double sy) const;
  // From point i to point j along the points; 0.0 unless i < j. j may be past the end.
  virtual double PathLength(int32_t i, int32_t j, double sx, double sy) const;
  // Straight; 0.0 if an index is past the end.
  virtual double Distance(int32_t i, int32_t j, double sx, double sy) const;
  // Radians from the x axis towards y (downward); 0.0 if an index is past the end.
  virtual double Direction(int32_t i, int32_t j, double sx, double sy) const;
  virtual double Area(double sx, double sy) const;
  // All or nothing: the whole area of a shape that Overlaps.
  virtual double AreaIn(const Rect& rect, bool circle, double sx, double sy) const;
  // The number and the label beside the first point, then Paint, dashed if selected here or by the user. The
  // canvas takes image pixels: one that zooms does so by itself.
  virtual void Draw(Canvas& canvas, bool isSelected, const std::string& number) const;
  // Draw without number and label.
  void DrawBare(Canvas& canvas, bool isSelected) const;
  virtual void DrawCross(Canvas& canvas, int32_t index) const;  // of half size 3
  // How many points remain. An index past the end removes nothing.
  virtual int32_t RemovePoint(int32_t index);
  virtual void RemoveAllPoints();
  // On the straight line from the first point to the last, though the distance is a part of Length(1.0, 1.0).
  virtual void PointAtDistance(double length, Point& out) const;
  virtual void PointAtFraction(double fraction, Point& out) const;
  // How far a place is from what is drawn: from a point on the farther axis, as from its cross. Infinite
  // without points.
  virtual double DistanceTo(double x, double y) const;
  // One point: that it is inside (PointIn). More: that some segment is cut to something (clipSegment).
  virtual bool Overlaps(const Rect& rect, bool circle) const;
  virtual bool AllInside(const Rect& rect) const;
  virtual void MoveTo(Point point);  // the first point lands there
  // One of its points goes there, which alters the shape; nothing for an index past the end.
  virtual void MovePoint(int32_t index, Point to);
  // Radians, from y towards x (anticlockwise on the screen); truncating.
  virtual void Rotate(double angle, double cx, double cy);
  // Rebuilds what is derived from the points.
  virtual void Update() {}
  // The same kind with colour, width, label and points; not selected.
  virtual std::unique_ptr<CDim> Clone() const;
  // The middle that rotation takes: here the first point.
  virtual void Centre(Point& out, double& x, double& y) const;
  // The point that stands for the shape: here that of Centre.
  virtual void Anchor(Point& out) const;
  // At right angles through the middle of first and last point, of that length in pixels, or below 1 as long
  // as they are apart. Null when they aren't. With this shape's colour and width.
  virtual std::unique_ptr<CDimLine> Perpendicular(double length) const;
  // From the first point to either side, as long as the chord; both null when first and last are one.
  virtual void PerpendicularsAtStart(std::unique_ptr<CDimLine>& one, std::unique_ptr<CDimLine>& other) const;
  virtual double Tortuosity0() const { return 0.0; }
  virtual double Tortuosity1(double sx, double sy, int32_t& curves);
  // Each coordinate * numerator / denominator, truncated; a denominator of 0 changes nothing.
  virtual void Scale(int32_t numerator, int32_t denominator);
  // Keeps the part inside, with new points where segments are cut. False when nothing remains; what then is
  // left in points is unspecified.
  virtual bool Clip(const Rect& rect, bool circle);
  // What lies inside, as a shape of its own; null when nothing does. An area that is cut becomes the polygon
  // of what is left of it, which may be another kind than it was.
  virtual std::unique_ptr<CDim> Clipped(const Rect& rect, bool circle) const;
  virtual bool AnyPointIn(const Rect& rect, bool circle) const;
  // In the rectangle; with circle also at most height / 2 from its centre.
  virtual bool PointIn(int32_t index, const Rect& rect, bool circle) const;
  virtual void Close() {}
  virtual void Paint(Canvas& canvas, bool isSelected) const;

  // Whether the two are stored alike.
  bool isSame(const CDim& other) const;
  int32_t pointCount() const { return static_cast<int32_t>(points.size()); }

  Colour colour = kDefaultColour;
  std::string label;
  bool selected = false;  // by the user; not stored
  std::vector<Point> points;
  int32_t width = 1;  // pixels

 protected:
  // The rule for a point of a region: the circle is the one in the rectangle.
  static bool isWithin(double x, double y, const Rect& rect, bool circle);
  bool hasPoint(int32_t index) const { return index >= 0 && index < pointCount(); }
  // Into a new object of the same kind.
  void copyTo(CDim& copy) const;
  void paintCrosses(Canvas& canvas) const;
  // The closed polygon of what of an outline lies inside, with this shape's colour, width and label.
  std::unique_ptr<CDim> clippedArea(Outline outline, const Rect& rect, bool circle) const;
  // The chord from first to last point; false when there is none.
  bool chord(double& dx, double& dy) const;
};

// Registers CDim, its kinds and CDimList with the archive; any number of times.
void registerDimensionClasses();

}  // namespace tarnvisor
