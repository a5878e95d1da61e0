// What scripts ask of an image.
#include <algorithm>

#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "dicom/dicomwriter.h"
#include "imagedoc/otherpictures.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {

std::string printable(const std::string& notes) {
  std::string text;
  for (const char c : notes)
    if (c != '\r') text += c;
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text;
}

std::string dimensionLines(const ZBasicDoc& document) {
  std::string text = "number,kind,length,area,points\n";
  const Scale s = document.scale();
  const auto& items = document.currentDims().items;
  for (size_t i = 0; i < items.size(); ++i) {
    const CDim& d = *items[i];
    text += format("%zu,%s,%.3f,%.3f,", i + 1, kindOf(d), d.Length(s.x, s.y), d.Area(s.x, s.y));
    for (size_t p = 0; p < d.points.size(); ++p)
      text += format(p ? " %i %i" : "%i %i", d.points[p].x, d.points[p].y);
    text += '\n';
  }
  return text;
}

}  // namespace

const char* listName(int32_t list) {
  static constexpr const char* kNames[kListCount] = {"",        "amber", "fcd", "Nailfold", "NN",
                                                     "Voronoi", "Krogh", "amc", "Dustmask"};
  return kNames[list];
}

const char* kindOf(const CDim& dimension) {
  const std::string name = dimension.classRecord().name;
  if (name == "CDimCircle") return "circle";
  if (name == "CDimPolygon") return "polygon";
  if (name == "CDimRect") return "rect";
  return dimension.points.size() == 1 ? "point" : dimension.points.size() == 2 ? "line" : "polyline";
}

std::vector<std::pair<std::string, std::string>> ZBasicDoc::facts() const {
  if (!hasImage()) return {};
  return {{"width", format("%i", theImage()->width)}, {"height", format("%i", theImage()->height)}};
}

std::string ZBasicDoc::statusText() const {
  const Rect area = roiOrWhole();
  const Scale s = scale();
  return format(
      "title %s\nsize %i x %i\nroi %i,%i,%i,%i%s\nlist %i: %zu dimensions\nscale %g x %g %s/pixel\n"
      "changed %s\n",
      title().c_str(), theImage() ? theImage()->width : 0, theImage() ? theImage()->frameHeight() : 0,
      area.left, area.top, area.right, area.bottom, hasCircularRoi() ? " circle" : "", currentlist,
      currentDims().items.size(), s.x, s.y, unitName().c_str(), isModified() ? "yes" : "no");
}

StepResult ZBasicDoc::tell(const std::string& what) {
  if (what == "notes") return {true, {}, {}, printable(notes)};
  if (what == "dims") return {true, {}, {}, dimensionLines(*this)};
  if (what == "status") return {true, {}, {}, statusText()};
  dropStaleResult();
  StepResult told = CdbDocument::tell(what);
  if (const std::string counted = countedWords(); told.known && !counted.empty()) {
    told.values.emplace_back("counted", counted);
    told.text += counted + "\n";
  }
  return told;
}

StepResult ZBasicDoc::exportTo(const std::string& path) {
  if (!hasImage() || equalIgnoringCase(extensionOf(path), "csv")) return StepResult::nothing();
  if (equalIgnoringCase(extensionOf(path), "dcm")) {
    if (const Outcome may = theApp().documents.mayOutputTo(path); !may) return StepResult::failure(may.why());
    const Outcome done = exportDicom(*theImage(), dicomFactsOf(*this), path);
    return done ? StepResult{true, {}, {{"path", path}}, "exported " + path}
                : StepResult::failure(done.why());
  }
  if (!exportImage(path)) return StepResult::failure({});
  return {true, {}, {{"path", path}}, "exported " + path};
}

StepResult ZBasicDoc::setRegion(Region kind, const Rect& wanted) {
  if (kind == Region::None) {
    setRoi({});
  } else if (kind == Region::Circle) {
    if (roi.isEmpty()) return StepResult::failure("there is no ROI to make circular");
    if (!canBeCircular()) return StepResult::failure("no circle fits into the ROI");
    if (!hasCircularRoi()) makeRoiCircular();
  } else {
    Rect area = wanted.normalised();
    if (const CZZimage* shown = theImage())
      area = area.intersected({shown->xOrigin, shown->yOrigin * (shown->isField() ? 2 : 1),
                               shown->xOrigin + shown->width,
                               shown->yOrigin * (shown->isField() ? 2 : 1) + shown->frameHeight()});
    if (area.isEmpty()) return StepResult::failure("the ROI is empty or lies outside the image");
    setRoi(area);
  }
  setModified();
  updateAllViews();
  return {};
}

StepResult ZBasicDoc::chooseList(int32_t list) {
  setCurrentList(list);
  return {};
}

StepResult ZBasicDoc::drawDimension(const std::string& kind, std::span<const Point> points) {
  static constexpr const char* kKinds[] = {"point",  "line",    "polyline", "freehand",
                                           "circle", "polygon", "rect"};
  const auto type = static_cast<int32_t>(std::ranges::find(kKinds, kind) - std::begin(kKinds));
  int32_t index = -1;
  for (Point point : points) {
    if (currentlist == kAmcList) point = snappedToBlocks(point);
    if (index < 0) {
      index = addDimension(point, type);
    } else if (addPointToDimension(index, point) < 0) {
      deleteDimension(index);
      return StepResult::failure("the point can't be added");
    }
  }
  CDim& drawn = currentDims().at(index);
  if (kind == "polygon") drawn.Close();
  tellByHand(drawn);
  updateAllViews();
  return {true, {}, {{"dimension", format("%i", index + 1)}}, {}};
}

}  // namespace tarnvisor
