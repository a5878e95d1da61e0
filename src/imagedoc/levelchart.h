// The windows "Grey level profile" of a line and "Histogram" of the region of interest: live charts that
// follow the image view in front. They have no file. There is one window of each kind, which follows the
// document that it was asked for last; after that document has gone it keeps what it showed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "framework/document.h"
#include "image/zzimage.h"

namespace tarnvisor {

class ZBasicDoc;

// Opens or raises the chart of the dimension with that index in the document's current list.
void showGreyLevelProfile(ZBasicDoc& document, int32_t dimension);
void showHistogram(ZBasicDoc& document);
// Brings open charts of this document up to date. Cheap when there are none.
void refreshLevelCharts(ZBasicDoc& document, int32_t selectedDimension);

// The grey levels along a path through the points, from the first to the last, one for each pixel of its
// length; of colour the weighted grey. The points are the parent frame's, as marks are. What lies outside the
// image is left out.
std::vector<double> levelsAlong(const CZZimage& image, std::span<const Point> path);
// A pixel's level, weighted where it has colours, at a frame row of the image itself. No bounds are checked.
double greyLevelAt(const CZZimage& image, Point at);

struct LevelSummary {
  double mean = 0, minimum = 0, maximum = 0;
};
LevelSummary summaryOf(std::span<const double> levels);  // zeros for none

enum class LevelChart { Profile, Histogram };

class LevelChartDoc final : public CDocument {
 public:
  explicit LevelChartDoc(LevelChart shownKind);
  // The document is looked up among the open ones each time: it may have been closed.
  ZBasicDoc* followed() const;
  void follow(ZBasicDoc& document, int32_t dimensionIndex);
  void refresh(ZBasicDoc& document, int32_t dimensionIndex);

  // It has no file and nothing to save.
  bool saveModified() override { return true; }
  bool onSaveDocument(const std::string& path) override;
  void serialize(Archive&) override {}
  const CommandTableBase* commands() const override { return nullptr; }

  const LevelChart kind;
  std::vector<double> values;
  double perValue = 1.0;  // x units from one value to the next
  std::string unit;
  std::string subject;  // of what
  int32_t dimension = -1;

 private:
  const CDocument* watched = nullptr;
};

class LevelChartView final : public CView {
 public:
  explicit LevelChartView(LevelChartDoc& shown) : CView(shown), chart(shown) {}
  void onUpdate() override;
  void draw(Canvas& canvas) override;
  std::vector<StatusPane> panes() const override;

 private:
  void drawAxes(Canvas& canvas, const Rect& plot, double highest) const;
  LevelChartDoc& chart;
};

// The distance of axis marks: 1, 2 or 5 times a power of ten, so that at most `most` of them fit the range.
double axisStep(double range, int32_t most);

}  // namespace tarnvisor
