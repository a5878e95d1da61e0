// Nailfold loops as marks of a list of dimensions: a point an apex, the distal row a polyline, its central
// millimetre another. What is counted is always read from the marks, so that it follows each edit.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/loops.h"
#include "host/canvas.h"
#include "measure/dimlist.h"

namespace tarnvisor {

// Micrometres a pixel; 0 where unknown.
struct LoopScale {
  double x = 0, y = 0;
  bool isKnown() const { return x > 0 && y > 0; }
};

struct LoopMark {
  Point apex;
  enum class Kind { Clear, Faint, Giant, Drawn } kind;
  size_t number = 0;  // as picture and list of marks count, the row and the central millimetre among them
};
const char* nameOf(LoopMark::Kind kind);
// Of a mark of the list: "clear", "faint", "giant" or "drawn" for an apex, else empty.
std::string loopKind(const CDim& mark);

inline constexpr const char* kDrawnByHand = "by hand";

struct LoopMarks {
  std::vector<LoopMark> loops;
  std::vector<Point> row;       // the finder's, else the first polyline that a user drew
  std::optional<Point> centre;  // the middle of the central millimetre, wherever it was dragged
  std::string verdict;          // the finder's with its reasons, or kDrawnByHand
  size_t clear() const;         // all that the finder didn't call faint
  size_t giant() const;
};
LoopMarks loopMarksOf(const CDimList& list);

// Nothing without a row or a scale. Its points are in micrometres.
std::optional<LoopCount> countOf(const LoopMarks& marks, LoopScale scale);
// To the nearest other apex, micrometres.
std::vector<double> neighboursOf(const LoopMarks& marks, LoopScale scale);
std::string wordsOf(const LoopMarks& marks, const LoopCount& counted);

// What an earlier run put there goes; points that a user drew stay, and stand for the loops they lie on.
// corner: where the image's first pixel lies among the marks.
// rejected: points where no loop is put.
void putLoopMarks(CDimList& list, const NailfoldLoops& found, double pixelSize, Point corner,
                  const CDimList& rejected = {});
void removeFoundLoops(CDimList& list);

// The central millimetre and the avascular stretches, where they now lie on the row.
void drawLoopStretches(Canvas& canvas, const CDimList& list, LoopScale scale);

}  // namespace tarnvisor
