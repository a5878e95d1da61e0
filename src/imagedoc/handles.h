// What the mouse can take hold of in a picture: a mark, what alters its shape, and the region of interest.
// Positions are in the image's parent frame.
#pragma once

#include <memory>
#include <vector>

#include "base/geometry.h"
#include "measure/dim.h"

namespace tarnvisor {

class ZBasicDoc;

// A place and how far from it something may be that is meant.
struct Aim {
  double x = 0, y = 0, reach = 0;
  double pixel = 1;  // of the screen
};

struct Handle {
  enum class Of {
    Nothing,
    Mark,      // all of it
    Point,     // one of its points; of a circle anywhere on the rim
    MarksBox,  // a corner or the middle of a side of a rectangle
    Roi,       // all of it, by its border
    RoisBox    // one of its corners or the middle of a side; of a circle its ends alone
  };
  Of of = Of::Nothing;
  int32_t mark = -1;  // in the current list
  int32_t part = -1;  // of its points, or of the box clockwise from the top left corner
  Point at;           // where a part lies
  friend bool operator==(const Handle&, const Handle&) = default;
  explicit operator bool() const { return of != Of::Nothing; }
  bool isOfMark() const { return of == Of::Mark || of == Of::Point || of == Of::MarksBox; }
  bool isOfRoi() const { return of == Of::Roi || of == Of::RoisBox; }
  bool isPart() const { return of == Of::Point || of == Of::MarksBox || of == Of::RoisBox; }
};

// The nearest, a selected mark before all else. Only a mark that is selected alone can be altered.
Handle handleUnder(const ZBasicDoc& document, int32_t selected, const Aim& aim);
// All parts that a selected mark, or the region, can be taken by; of a circle none, since its whole rim is.
std::vector<Handle> partsOfMark(const ZBasicDoc& document, int32_t mark);
std::vector<Handle> partsOfRoi(const ZBasicDoc& document);

// The mark as it is once its part lies there. Null where it is not there any more.
std::unique_ptr<CDim> reshapedMark(const ZBasicDoc& document, const Handle& part, Point to);
// The region likewise; one that is a circle stays one.
Rect reshapedRoi(const ZBasicDoc& document, const Handle& part, Point to);

// Which sides of its box a part moves, -1, 0 or 1 on each axis.
Point sidesOf(const Handle& part);

}  // namespace tarnvisor
