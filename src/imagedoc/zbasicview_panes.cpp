// The status texts of the image view.
#include "analysis/autofocus.h"
#include "analysis/profile.h"
#include "base/text.h"
#include "imagedoc/focusfigure.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

namespace {

std::string positionText(const ZBasicDoc& doc, Point at) {
  if (!doc.calibrated) return format("pos=%5i,%5i", at.x, at.y);
  const Scale s = doc.scale();
  return format("pos=%5.1f,%5.1f", (static_cast<double>(at.x) - doc.imageoffset.x) * s.x,
                (static_cast<double>(at.y) - doc.imageoffset.y) * s.y);
}

std::string pixelText(const ZBasicDoc& doc, Point at) {
  const CZZimage* image = doc.theImage();
  if (!doc.hasImage() || !image->frameRect().contains(at)) return {};
  const Point own = at - image->frameOrigin();
  return format("pixel=%3li", static_cast<long>(greyLevelAt(*image, own)));
}

std::string dimensionText(const ZBasicDoc& doc, int32_t index) {
  if (!doc.currentDims().isValid(index)) return {};
  const Scale s = doc.scale();
  const CDim& dimension = doc.currentDims().at(index);
  const double area = dimension.Area(s.x, s.y);
  const char* name = listName(doc.currentlist);
  const std::string list = *name ? std::string(name) + " " : std::string();
  if (area != 0.0) return list + format("%s%i area=%5.1f", kindOf(dimension), index + 1, area);
  return list + format("line%i=%5.1f", index + 1, dimension.Length(s.x, s.y));
}

}  // namespace

std::string ZBasicView::focusText() const {
  if (!hasImage()) return {};
  if (!focusShown) focusShown = focusControl.measureFocus(*doc.theImage());
  return format("focus=%5.1f", *focusShown);
}

std::vector<StatusPane> ZBasicView::panes() const {
  const Scale s = doc.scale();
  std::string roi;
  if (tool == kToolRoi) {
    const Rect area = grip == Grip::DrawRoi ? banded() : doc.roi;
    roi = format("size=%5.1fx%5.1f", area.width() * s.x, area.height() * s.y);
  }
  std::vector<StatusPane> all{{"position", positionText(doc, position)},
                              {"pixel", pixelText(doc, position)},
                              {"dimension", dimensionText(doc, selected)},
                              {"list", format("dimlist%i %s", doc.currentlist, listName(doc.currentlist))},
                              {"roi", roi}};
  if (countKept >= 0 && doc.currentlist == measuresHere)
    all.push_back({"apart", format("measures go here: list %i is counted", countKept)});
  if (std::string loops = doc.loopDensityText(); !loops.empty()) all.push_back({"loops", std::move(loops)});
  if (showsFocus) all.push_back({"focus", focusText()});
  all.push_back({"magnification", format("mag=%5.3f, %5.3f", s.x, s.y)});
  all.push_back({"zoom", format("zoom=%4.0f%%", 100.0 * zoomnum / zoomden)});
  return all;
}

}  // namespace tarnvisor
