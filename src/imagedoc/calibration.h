// The size of a pixel as a user tells it: by a line along something of known length, by a line for each axis,
// or outright.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

class Calibration {
 public:
  // By the lines of the document's current list. Borrows the document for its life.
  explicit Calibration(const ZBasicDoc& document);
  // False for Cancel.
  bool ask();
  // Why what was told gives no size; empty where it does.
  std::string problem() const { return measure().problem; }
  // In units of the document. An axis of which nothing was told keeps its size, or has that of the other.
  Scale pixelSize() const;
  // Their places in the list; none where the size was told outright.
  std::vector<int32_t> measuredLines() const;

  std::string name;
  int32_t asDefault = 0;

 private:
  // A line along which an axis is measured, and how long it truly is.
  struct Axis {
    int32_t line = 0;    // its number from 1
    double length = 0;   // true, as told
    double offered = 0;  // before the user told anything
  };
  struct Measured {
    Axis x, y;
    double pixelsX = 0, pixelsY = 0;  // 0 where nothing was measured
    double size = 0;                  // told outright; 0 for not
    std::string problem = {};
  };
  bool hasLine(int32_t number) const;
  Measured measure() const;
  // Along each axis' own line, or both axes' parts of one, with pixels of these sizes.
  std::pair<double, double> lengths(double sizeX, double sizeY) const;
  bool takesOneLine() const { return bothAxes && knownLength > 0; }
  double inUnits(double length) const;
  std::string presentLength() const;

  const ZBasicDoc& doc;
  const CDimList& dims;
  std::vector<int32_t> lines;  // their numbers, those that calibrated the list before first
  Axis x, y;
  int32_t offeredX = 0, offeredY = 0;  // the lines that they had before the user told anything
  int32_t line = 0, bothAxes = 1;
  double knownLength = 0, toldSize = 0;  // 0: not told
  std::string unit;
};

}  // namespace tarnvisor
