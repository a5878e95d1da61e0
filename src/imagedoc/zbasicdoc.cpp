#include "imagedoc/zbasicdoc.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "app/processstate.h"
#include "archive/archive.h"
#include "base/files.h"
#include "base/numbers.h"
#include "base/text.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "imagedoc/magnification.h"
#include "imagedoc/texts.h"
#include "measure/dimline.h"
#include "settings/settings.h"

namespace tarnvisor {

void ZBasicDoc::report(const std::string& words) {
  if (!silent) CDocument::report(words);
}

// --- dimensions

int32_t ZBasicDoc::addDimension(Point point, int32_t type) {
  setModified();
  return currentDims().add(point, type);
}

int32_t ZBasicDoc::insertDimension(const CDim& dimension) {
  setModified();
  return currentDims().insert(dimension);
}

int32_t ZBasicDoc::addPointToDimension(int32_t index, Point point) {
  auto& items = currentDims().items;
  if (index < 0 || static_cast<size_t>(index) >= items.size()) return -1;
  CDim& dimension = *items[static_cast<size_t>(index)];
  if (dimension.points.size() == 1) point = placeOfSecond(dimension.points.front(), point);
  setModified();
  return dimension.AddPoint(point);
}

Point ZBasicDoc::placeOfSecond(Point first, Point wanted) const {
  if (currentlist != kAmcList) return wanted;
  // An area for movement correction is never smaller than what the coarsest scale needs.
  constexpr int32_t kSmallest = 64;
  const auto push = [](int32_t from, int32_t to) {
    if (std::abs(static_cast<int64_t>(to) - from) >= kSmallest) return to;
    return to < from ? wrapSub(from, kSmallest) : wrapAdd(from, kSmallest);
  };
  return {push(first.x, wanted.x), push(first.y, wanted.y)};
}

bool ZBasicDoc::deleteDimension(int32_t index) {
  if (index < 0 || static_cast<size_t>(index) >= currentDims().items.size()) return false;
  currentDims().remove(index);
  setModified();
  updateAllViews(CView::Change::Marks);
  return true;
}

int32_t ZBasicDoc::nextDimensionIndex(int32_t i) const {
  const auto count = static_cast<int32_t>(currentDims().items.size());
  if (count == 0) return -1;
  return i < 0 ? count - 1 : i >= count ? 0 : i;
}

void ZBasicDoc::setCurrentList(int32_t index) {
  currentlist = index;
  hideLists();
}

void ZBasicDoc::move(int32_t dx, int32_t dy) {
  dropStaleResult();
  for (CDimList& list : dimlists) list.offset(dx, dy);
  roi = roi.offsetBy(dx, dy);
  target = target + Point{dx, dy};
  imageoffset = imageoffset + Point{dx, dy};
  if (countedList >= 0) countedFrom = countingBasis(countedList);
}

bool ZBasicDoc::importDimensions(const std::string& path) {
  std::ifstream file(path);
  int64_t count = 0;
  if (!(file >> count) || count < 0) {
    report(path + " can't be imported: it does not begin with a count.");
    return false;
  }
  for (int64_t i = 1; i <= count; ++i) {
    double x = 0;
    double y = 0;
    if (!(file >> x >> y)) {
      report(format("%s ends after %lld of %lld points.", path.c_str(), static_cast<long long>(i - 1),
                    static_cast<long long>(count)));
      updateAllViews(CView::Change::Marks);
      return false;
    }
    const int32_t index = addDimension({truncated(x), truncated(y)}, 0);
    currentDims().items[static_cast<size_t>(index)]->label = format("%lli", static_cast<long long>(i));
  }
  updateAllViews(CView::Change::Marks);
  return true;
}

// --- copies

bool ZBasicDoc::copyFrom(ZBasicDoc& other) {
  MemoryStream memory;
  try {
    Archive store(memory, Archive::Direction::Storing);
    other.serialize(store);
    store.close();
    memory.rewind();
    deleteContents();
    Archive load(memory, Archive::Direction::Loading);
    serialize(load);
  } catch (const std::exception& problem) {  // damaged or without memory: nothing half copied stays
    deleteContents();
    report(format("%s can't be copied: %s.", other.title().c_str(), problem.what()));
    return false;
  }
  if (other.theImage()) {
    image = std::make_unique<CZZimage>();
    if (!image->copyImage(*other.theImage())) {
      image.reset();
      report(other.title() + " can't be copied: there is not enough memory.");
      return false;
    }
    image->blackZero = zeroasblack;
  }
  recogniseResult();
  imagedirty = 1;
  imagefile.clear();
  ownsImageFile = false;
  appendNotes(format(text::kCopyOf, other.title().c_str()));
  setModified();
  return true;
}

ZBasicDoc* ZBasicDoc::duplicate(const std::string& titleSuffix) {
  DocumentType* images = process.imageTemplate;
  auto* copy = images ? dynamic_cast<ZBasicDoc*>(images->newDocument()) : nullptr;
  if (!copy) {
    report("There is no window for a new image.");
    return nullptr;
  }
  if (!copy->copyFrom(*this)) {
    images->discard(*copy);
    return nullptr;
  }
  copy->setTitle(title() + titleSuffix);
  return copy;
}

void ZBasicDoc::setColourset(int32_t value) {
  colourset = value;
  if (!theImage()) return;
  theImage()->setPalette(value);
  colourset = theImage()->paletteIndex;
  updateAllViews();
}

// --- scale and region

bool ZBasicDoc::setScale(double x, double y, const std::string& name, int64_t date, bool asDefault,
                         bool addToTable) {
  if (!isScale(x) || !isScale(y)) {
    report(format("%g by %g is no scale: a pixel has a size above 0.", x, y));
    return false;
  }
  const double standard = standardPixels();
  const MagnificationEntry entry{x * standard, y * standard, name, date};
  if (asDefault) writeDefaultMagnification(entry);
  magx = x;
  magy = y;
  magname = name;
  // This slot has always taken the date; what reads it must not expect a place in the table.
  magindex = static_cast<int32_t>(date);
  if (addToTable) addMagnification(entry);
  calibrated = 1;
  settings.setInt("settings", "calibrated", 1);
  setModified();
  return true;
}

PixelSize ZBasicDoc::pixelSize() const {
  const double unit = calibrated ? micrometresOf(userunits) : 0;
  return {magx * unit, magy * unit};
}

void ZBasicDoc::takeScale(const ZBasicDoc& of) {
  magx = of.magx;
  magy = of.magy;
  magname = of.magname;
  magindex = of.magindex;
  calibrated = of.calibrated;
  userunits = of.userunits;
}

Rect ZBasicDoc::roiOrWhole() const {
  const CZZimage* shown = theImage();
  if (!shown || hasCircularRoi()) return roi;
  return roi.isEmpty() ? shown->frameRect() : roi.intersected(shown->frameRect());
}

int32_t ZBasicDoc::frameRow(int32_t row) const {
  return theImage() && theImage()->isField() ? wrapAdd(row, row) : row;
}

void ZBasicDoc::makeRoiCircular() {
  if (!canBeCircular()) return;
  setModified();
  if (hasCircularRoi()) {
    roicircle = {};
    return;
  }
  roicircle = {0, 0, 1, 1};
  const Point centre = roi.topLeft() + Point{roi.width() / 2, roi.height() / 2};
  const int32_t half = std::min(roi.width(), roi.height()) / 2;
  roi = Rect{centre.x, centre.y, centre.x, centre.y}.inflatedBy(half);
}

double ZBasicDoc::roiArea() const {
  const Rect area = roiOrWhole();
  const Scale s = scale();
  const double rectangle = area.width() * s.x * (area.height() * s.y);
  if (!hasCircularRoi()) return rectangle;
  const CZZimage* shown = theImage();
  if (!shown || area.intersected(shown->frameRect()) == area) return rectangle * 0.7853981633974483;
  const Outline circle =
      circleOutline((area.left + area.right) * 0.5, (area.top + area.bottom) * 0.5, area.width() * 0.5);
  return outlineArea(clippedOutline(circle, shown->frameRect(), false)) * s.x * s.y;
}

bool ZBasicDoc::isInRoi(Point at) const {
  if (roi.isEmpty()) return false;
  CDimLine point;
  point.points = {at};
  return point.PointIn(0, roi, hasCircularRoi());
}

std::string ZBasicDoc::roiText() const {
  const std::string region =
      roi.isEmpty() ? "" : format(text::kRoi, roi.left, roi.top, roi.right, roi.bottom);
  return region + text::kLineEnd;
}

// --- processing steps

std::unique_ptr<CZZchildimage> ZBasicDoc::roiChild() { return theImage()->makeChild(roi); }

void ZBasicDoc::finishStep(const std::string& stepText, StepArea area) {
  appendNotes(stepText + (area == StepArea::Roi ? roiText() : std::string(text::kLineEnd)));
  imagedirty = 1;
  setModified();
  updateAllViews();
}

}  // namespace tarnvisor
