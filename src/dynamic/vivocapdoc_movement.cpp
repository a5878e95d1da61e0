// Movement correction: its commands, how a run begins and ends, and what it tells. The search itself is in
// analysis/movement.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "analysis/movement.h"
#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "charts/chartdoc.h"
#include "dynamic/commandids.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "measure/dimrect.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

// A new document around an image that no file holds; null, and nothing told, where there are no images.
ZBasicDoc* newImage(std::unique_ptr<CZZimage> pixels, const std::string& title) {
  auto* made =
      process.imageTemplate ? dynamic_cast<ZBasicDoc*>(process.imageTemplate->newDocument()) : nullptr;
  if (!made) return nullptr;
  made->takeImage(std::move(pixels));
  made->setTitle(title);
  return made;
}

bool halveTimes(CZZimage& image, int32_t times) {
  for (int32_t i = 0; i < times; ++i)
    if (image.width < 2 || image.height < 2 || !image.halveInPlace()) return false;
  return true;
}

// The blocks of a region, as far as the image that it was drawn on shows them.
Rect blocksOf(const Rect& region, Point shownFrom) {
  const Point corner{region.left, region.top};
  const Point last = ZBasicDoc::snappedToBlocks({region.right, region.bottom});
  const Point next = ZBasicDoc::snappedToBlocks({wrapAdd(corner.x, 7), wrapAdd(corner.y, 7)});
  Point first = ZBasicDoc::snappedToBlocks(corner);
  if (first.x < shownFrom.x && shownFrom.x <= corner.x) first.x = next.x;
  if (first.y < shownFrom.y && shownFrom.y <= corner.y) first.y = next.y;
  return {first.x, first.y, last.x, last.y};
}

using MovementTest = bool (*)(const MovementRecord&);
bool hasFailed(const MovementRecord& each) { return !each.aligned; }
bool isDoubtful(const MovementRecord& each) { return each.doubtful; }
bool hangsOnDoubt(const MovementRecord& each) { return each.hangs; }

// Whether somebody drew in a document.
bool hasMarks(const std::string& path) {
  ZBasicDoc there;
  there.silent = 1;
  return fileExists(path) && there.onOpenDocument(path) &&
         std::ranges::any_of(there.dimlists, [](const CDimList& list) { return !list.items.empty(); });
}

// "2.5 % failed: 3, 7 to 12": the images of a run of which that holds; empty for none.
std::string imagesThat(MovementTest holds, const char* words, const std::vector<MovementRecord>& records) {
  std::string told;
  int32_t count = 0;
  for (size_t i = 0; i < records.size(); ++i) {
    if (!holds(records[i])) continue;
    size_t last = i;
    while (last + 1 < records.size() && holds(records[last + 1])) ++last;
    told += format(told.empty() ? "%i" : ", %i", records[i].index);
    if (last > i) told += format(" to %i", records[last].index);
    count += static_cast<int32_t>(last - i) + 1;
    i = last;
  }
  if (count == 0) return "";
  return format(", %.1f %% %s: ", 100.0 * count / static_cast<double>(records.size()), words) + told;
}

// Where most failed: how far the images are apart where they fit best.
std::string adviceOn(const AMCparams& run) {
  std::vector<double> rms;
  for (const MovementRecord& each : run.records)
    if (!each.aligned && std::isfinite(each.rms)) rms.push_back(each.rms);
  if (run.newRgnOld == kOriginal || 2 * rms.size() < run.records.size()) return "";
  const auto middle = rms.begin() + static_cast<std::ptrdiff_t>(rms.size() / 2);
  std::nth_element(rms.begin(), middle, rms.end());
  return format(text::kThresholdTooLow, *middle, run.threshold, std::ceil(1.5 * *middle));
}

}  // namespace

class CVivoCapDoc::MovementJob : public Job {
 public:
  MovementJob(CVivoCapDoc& video, bool eachIsShown) : doc(video), shows(eachIsShown) {}
  std::string title() const override { return text::kCorrectingMovement; }
  Progress progress() const override {
    const AMCparams& run = doc.amc;
    return {format(text::kAligning, run.currentIndex, run.start, run.end, run.baseIndex),
            run.currentIndex - run.start, run.end - run.start};
  }
  bool step() override {
    if (!doc.hasMovie() || !stepAMC(*doc.movie, doc.amc)) return false;
    if (shows) doc.showStep();
    return true;
  }
  void end(bool cancelled) override { doc.finishMovement(cancelled, shows); }

 private:
  CVivoCapDoc& doc;
  bool shows;
};

// --- a run

bool CVivoCapDoc::initAMC() {
  if (amc.running) return false;
  logPrintf("initAMC...");
  amc.running = true;
  if (!hasMovie()) {
    logPrintf(" initAMC done\n");
    return false;
  }
  amc.load();
  takeMovementRegions();
  amc.firstCurrent = currentIndex();
  amc.start = std::max(currentIndex(), selectionFirst);
  amc.end = selectionLast;
  amc.thresholdsq = amc.autothreshold ? -1.0 : amc.threshold * amc.threshold;
  amc.subPixel = true;
  windowFor(amc, *theImage());
  if (amc.newRgnOld != kOriginal) amc.limit = amc.amclimit2;
  if (amc.newRgnOld == kFastWhole) amc.regions = {amc.refRect};
  if (amc.newRgnOld == kFastRegions) showMovementRegions();
  beginAMC(*movie, amc);
  logPrintf(" initAMC done\n");
  return true;
}

// The rectangles of the list, and the images that they were drawn on; without any the whole image is
// compared. The marks stay as they are.
void CVivoCapDoc::takeMovementRegions() {
  amc.regions.clear();
  amc.regionImages.clear();
  if (amc.newRgnOld != kFastRegions) return;
  for (const auto& each : dimlists[kAmcList].items) {
    const auto* drawn = dynamic_cast<const CDimRect*>(each.get());
    if (!drawn || drawn->points.size() < 2) continue;
    const Point a = drawn->points[0], b = drawn->points[1];
    const auto number = static_cast<int32_t>(std::strtol(drawn->label.c_str(), nullptr, 10));
    const FrameRecord& record = movie->recordOf(number);
    const Rect blocks = blocksOf(Rect{a.x, a.y, b.x, b.y}.normalised(), {record.xOrigin, record.yOrigin});
    if (blocks.isEmpty()) continue;
    amc.regions.push_back(blocks);
    amc.regionImages.push_back(number);
  }
  if (amc.regions.empty()) amc.newRgnOld = kFastWhole;
}

void CVivoCapDoc::showMovementRegions() {
  setCurrentList(kAmcList);
  dimlists[kAmcList].hidden = 0;
}

Point CVivoCapDoc::endMovement() {
  const Point moved = endAMC(*movie, amc);
  if (moved == Point{}) return moved;
  move(moved.x, moved.y);
  setModified();
  return moved;
}

void CVivoCapDoc::finishMovement(bool cancelled, bool eachWasShown) {
  const int32_t listBefore = amc.regionsEditing ? int32_t{kAmcList} : int32_t{kPlainList};
  const bool byRegions = amc.newRgnOld == kFastRegions;
  const int32_t first = amc.start, last = amc.currentIndex;
  if (byRegions) keepMovementBase();
  endMovement();
  std::erase_if(amc.records, [last](const MovementRecord& each) { return each.index >= last; });
  refreshImage();
  if (!amc.records.empty()) setModified();  // a run that could not begin changed nothing
  if (byRegions) setCurrentList(listBefore);
  if (amc.regionsEditing) showMovementRegions();
  tellMovement(first, last, cancelled);
  const auto close = [this, eachWasShown] { closeMovement(eachWasShown); };
  if (panoramicPending && !cancelled)
    averagePanorama(close);
  else
    close();
}

// A run that was not shown ends at image 0.
void CVivoCapDoc::closeMovement(bool eachWasShown) {
  panoramicPending = 0;
  if (!eachWasShown) movie->frameAt(0);
  refreshImage();
  if (process.batchMode) return saveInBatchMode();
  updateAllViews();
}

// Nobody is there to be asked whether a document may be replaced.
void CVivoCapDoc::saveInBatchMode() {
  const std::string own = pathName().empty() ? withoutExtension(moviePath) + ".dtv" : pathName();
  if (pathName().empty() && fileExists(own))
    report(own + " is there already, and is not replaced. Start with that document in place of its movie.");
  else if (onSaveDocument(own))
    setPathName(own);
  setModified(false);
  host().windows.closeMainFrame();
}

// The notes say how good it was, and a failure is told at once, but for a panorama, whose averages come next.
void CVivoCapDoc::tellMovement(int32_t first, int32_t last, bool cancelled) {
  if (!amc.trouble.empty()) report(title() + ": " + amc.trouble);
  const auto count = static_cast<int32_t>(amc.records.size());
  if (count < 2) {
    if (amc.trouble.empty()) report(format(text::kNothingToAlign, first));
    return;
  }
  const auto failed = static_cast<int32_t>(std::ranges::count_if(amc.records, hasFailed));
  std::string words = format("movement correction of images %i to %i", first, last);
  if (cancelled) words += " (stopped)";
  words += format(": %i of %i aligned", count - failed, count) +
           imagesThat(&hasFailed, "failed", amc.records) + imagesThat(&isDoubtful, "doubtful", amc.records) +
           imagesThat(&hangsOnDoubt, "hang on doubtful references", amc.records);
  if (amc.newRgnOld == kFastWhole && !dimlists[kAmcList].items.empty())
    words += "; the regions that are drawn were not used: the method compares the whole image";
  appendNotes(words + text::kLineEnd);
  movementSummary = words;
  const bool tells = failed > 0 || std::ranges::any_of(amc.records, isDoubtful) ||
                     std::ranges::any_of(amc.records, hangsOnDoubt);
  if (!tells) return;
  words += "." + adviceOn(amc);
  if (2 * failed > count && (isUnattended() || panoramicPending))
    report(words);  // a script's step did not do its work
  else if (!panoramicPending)
    host().messages.show(words);
  else
    logPrintf("%s\n", words.c_str());
}

// The composite that the regions were compared with, as a still beside the video. One in which somebody
// measured stays.
void CVivoCapDoc::keepMovementBase() {
  if (!amc.base || !process.imageTemplate) return;
  auto copy = std::make_unique<CZZimage>();
  if (!copy->copyImage(*amc.base)) return report(text::kNoMemory);
  const std::string path = withoutExtension(pathName().empty() ? moviePath : pathName()) + "-AMCbase.tv1";
  Outcome may = theApp().documents.mayOutputTo(path);
  if (may && hasMarks(path)) may = Outcome::failure(path + " holds marks, and stays as it is.");
  if (!may) return appendNotes("the base was not kept: " + may.why() + text::kLineEnd);
  ZBasicDoc* base = newImage(std::move(copy), fileNameOf(path));
  if (!base) return;
  base->takeScale(*this);
  base->notes = moviePath + text::kLineEnd;
  base->keepwhole = 1;
  if (!base->onSaveDocument(path)) logPrintf("%s was not saved\n", path.c_str());
  process.imageTemplate->discard(*base);
}

// Images that no run came to have one offset: what was added to all, which is that of the base, too. After a
// run those are told apart from images that an earlier one had moved; of a stored video an end of fewer than
// three may lie there by chance.
CZZMovie::Range CVivoCapDoc::correctedImages() const {
  const auto offsetOf = [this](int32_t i) {
    const FrameRecord& record = movie->recordOf(i);
    return Point{record.xOrigin, record.yOrigin};
  };
  const auto standStill = [&offsetOf](int32_t from, int32_t to) {
    for (int32_t i = from + 1; i < to; ++i)
      if (offsetOf(i) != offsetOf(from)) return false;
    return true;
  };
  const int32_t count = imageCount();
  if (!amc.records.empty()) {
    const int32_t first = amc.records.front().index, last = amc.records.back().index + 1;
    return {standStill(0, first) ? first : 0, standStill(last, count) ? last : count};
  }
  int32_t last = count;
  const Point atEnd = count > 0 ? offsetOf(count - 1) : Point{};
  if (atEnd == Point{} || atEnd == offsetOf(0))
    while (last > 0 && offsetOf(last - 1) == atEnd) --last;
  return {0, count - last < 3 ? count : last};
}

// --- commands

void CVivoCapDoc::correctMovement() {
  if (amc.running || !hasMovie()) return;
  amc.load();
  if (!amc.showProgress && amc.newRgnOld != kFastRegions) return correctMovementWithoutDisplay();
  if (initAMC()) start(std::make_unique<MovementJob>(*this, true));
}

void CVivoCapDoc::correctMovementWithoutDisplay() {
  logPrintf("OnAMCin1\n");
  if (initAMC()) start(std::make_unique<MovementJob>(*this, false));
}

void CVivoCapDoc::movementSettings() {
  amc.load();
  auto limit = static_cast<int32_t>(amc.limit);
  int32_t automatic = amc.autothreshold, shown = amc.showProgress;
  Form form("Movement correction Parameters");
  form.addChoice("Alignment method", amc.newRgnOld,
                 {"Fast method use whole image", "Fast method use AMC regions", "Original method"})
      .addChoice("Base", amc.basemethod, {"Auto", "Previous image", "Always first image"})
      .addCheck("Restart at threshold failure", amc.restart)
      .addCheck("Auto threshold", automatic)
      .add("Fast method rms error threshold.    Raise to allow poorer fit before failing.", amc.threshold,
           {0.0, 10000.0, {}})
      .add("Fast method reference window size as % of image", amc.ref, {10.0, 90.0, {}})
      .addCheck("Show progress with whole image (slower)", shown)
      .add(
          "Limit (%of range).  When movement exceeds this limit, the current image becomes the new reference image.",
          limit, {1, 100, {}})
      .add(
          "Reference window size (% of image size, centred in image).  Larger will slow processing, but may include more features to correlate to.",
          amc.window, {5, 100, {}})
      .add(
          "Range to check movement over (%of image size).  Larger will slow processing, but will follow faster movements.",
          amc.range, {1, 100, {}})
      .add(
          "Resolution (in pixels/lines).  Coarser (larger value) will speed up processing but at expense of coarse movement correction.",
          amc.resolution, {1, 100, {}})
      .add(
          "Step between pixels in resolution window.  1= use every pixel, 2 every other pixel etc.  Increase this value to speed up processing.",
          amc.step, {1, 100, {}})
      .addChoice("Sampling", amc.method, {"Random points", "Grid of points", "Grid of lines"})
      .add(
          "Low pass filter window size (pixels).  Filters image before correlating image.  Use zero for no filtering.",
          amc.lowpass, {0, 51, {}});
  if (!host().forms.run(form)) return;
  amc.limit = limit;
  amc.autothreshold = automatic != 0;
  amc.showProgress = shown != 0;
  amc.store();
}

void CVivoCapDoc::editMovementRegions() {
  amc.regionsEditing = !editsMovementRegions();
  if (amc.regionsEditing) {
    settings.setInt("movement", "newRgnOld", kFastRegions);
    showMovementRegions();
  } else {
    setCurrentList(kPlainList);
  }
  updateAllViews();
}

// A region remembers the image that it was drawn on.
void CVivoCapDoc::labelRegion(int32_t index) {
  if (currentlist != kAmcList || !currentDims().isValid(index)) return;
  CDim& region = currentDims().at(index);
  if (dynamic_cast<CDimRect*>(&region)) region.label = format("%i", currentIndex());
}

int32_t CVivoCapDoc::addPointToDimension(int32_t index, Point point) {
  const int32_t added = ZBasicDoc::addPointToDimension(index, point);
  if (added >= 0) labelRegion(index);
  return added;
}

int32_t CVivoCapDoc::insertDimension(const CDim& dimension) {
  const int32_t index = ZBasicDoc::insertDimension(dimension);
  labelRegion(index);
  return index;
}

// All errors of the image shown over the base, at one eighth of its scale. What is known of the last run
// stays.
void CVivoCapDoc::movementErrorMap() {
  std::vector<MovementRecord> known = amc.records;
  const int32_t selectedFirst = selectionFirst, shown = currentIndex();
  selectionFirst = shown;
  const bool begun = initAMC();
  selectionFirst = selectedFirst;
  if (!begun) return;
  auto eighth = std::make_unique<CZZimage>();
  Point best;
  std::unique_ptr<CZZimage> map;
  if (amc.trouble.empty() && amc.newRgnOld != kOriginal && eighth->copyImage(movie->frameAt(shown)) &&
      halveTimes(*eighth, 3))
    map = fullErrorMap(amc, *eighth, best);
  if (map) {
    if (ZBasicDoc* made = newImage(std::move(map), format("rms%itoBase", shown))) {
      made->addDimension(best, CDimList::kPoint);
      made->updateAllViews();
    }
  } else {
    report(!amc.trouble.empty()
               ? amc.trouble
               : "There is no error map: it needs a fast method, and an image of 16 pixels at least.");
  }
  if (amc.newRgnOld == kFastRegions) {
    keepMovementBase();
    setCurrentList(amc.regionsEditing ? kAmcList : kPlainList);
    if (amc.regionsEditing) showMovementRegions();
  }
  const Point moved = endMovement();
  for (MovementRecord& each : known) each.moveBy(moved);
  amc.records = std::move(known);
  showImage(shown);
}

void CVivoCapDoc::correlateImages() {
  int32_t first = currentIndex(), second = std::min(first + 1, imageCount() - 1), times = 2;
  const auto last = static_cast<double>(imageCount()) - 1;
  Form form("Correlate");
  form.add("First image number", first, {0, last, {}})
      .add("Second image number", second, {0, last, {}})
      .add("Number of bin steps to use", times, {0, 8, {}});
  if (!asked(form)) return;
  CZZimage one, other;
  movie->getImage(first, one);
  bool areRead = movie->hasRead();
  movie->getImage(second, other);
  areRead = areRead && movie->hasRead();
  std::unique_ptr<CZZimage> map;
  if (!areRead) return report("The images could not be read.");
  if (halveTimes(one, times) && halveTimes(other, times)) map = centreErrorMap(one, other);
  if (!map) return report("The images are too small for that many steps, or have colours.");
  map->xOrigin = map->yOrigin = 0;
  if (ZBasicDoc* made = newImage(std::move(map), format("correlate%i-%i", first, second)))
    made->updateAllViews();
}

// Marks and region stay on the skin of the image shown.
void CVivoCapDoc::resetOffsets() {
  const CZZMovie::Range range = selection();
  const Point before = imageOrigin();
  for (int32_t i = range.first; i < range.last; ++i) movie->setOrigin(i, {});
  std::erase_if(amc.records, [&range](const MovementRecord& each) {
    return each.index >= range.first && each.index < range.last;
  });
  appendNotes(format("offsets of images %i to %i reset", range.first, range.last) + text::kLineEnd);
  refreshImage();
  if (const Point moved = imageOrigin() - before; moved != Point{}) move(moved.x, moved.y);
  setModified();
  updateAllViews();
}

void CVivoCapDoc::moveImages(CZZMovie::Range images, Point by) {
  const int32_t rows = isFieldMovie() ? by.y / 2 : by.y;
  for (int32_t i = images.first; i < images.last; ++i) {
    const FrameRecord& record = movie->recordOf(i);
    movie->setOrigin(i, Point{record.xOrigin, record.yOrigin} + Point{by.x, rows});
  }
  for (MovementRecord& each : amc.records)
    if (each.index >= images.first && each.index < images.last) each.moveBy(by);
  setModified();
  updateAllViews();
}

// The first image of the selection, which the others were laid over, has no row.
void CVivoCapDoc::exportOffsets() {
  const std::string home = pathName().empty() ? homeFolder() + stemOfTitle() : withoutExtension(pathName());
  const auto path = askExportPath(
      {"Export Movement correction results", text::kOffsetsFilter, ".txt", home + "-offsets.txt"});
  if (!path || path->empty()) return;
  if (const Outcome may = theApp().documents.mayOutputTo(*path); !may) return report(may.why());
  std::string rows = format("file=%s\n", moviePath.c_str()) + "image, offsetx, offsety\n";
  const CZZMovie::Range range = selection();
  for (int32_t i = range.first + 1; i < range.last; ++i) {
    const FrameRecord& record = movie->recordOf(i);
    rows += format("%05i, %12.3g, %12.3g\n", i, record.xOrigin * scale().x, record.yOrigin * scale().y);
  }
  AtomicFile file(*path);
  file.write(rows.data(), rows.size());
  tellExported(file.commit(), *path);
}

void CVivoCapDoc::makePanorama() {
  panoramicPending = 1;
  correctMovement();
  // A run that did not begin leaves nothing to average.
  if (!isBusy()) panoramicPending = 0;
}

// The one of the sharpest images needs no answer: the number of areas changes nothing.
void CVivoCapDoc::averagePanorama(std::function<void()> whenDone) {
  averageInFocus([this, whenDone = std::move(whenDone)](ZBasicDoc*, bool cancelled) {
    if (cancelled) return whenDone();
    averageSelection([whenDone](ZBasicDoc*, bool) { whenDone(); });
  });
}

// --- how good it was

namespace {

ZZTrace* addCurve(ZchartDoc& chart, const char* name, const char* label, const std::string& units,
                  double framesPerSecond, uint32_t count) {
  ZZTrace* curve = chart.addtrace(kDoubleCode, count);
  if (!curve) return nullptr;
  curve->name = name;
  curve->yunits = units.empty() ? label : units;
  curve->xunits = "secs";
  curve->period = framesPerSecond > 0 ? 1 / framesPerSecond : 1;
  return curve;
}

}  // namespace

std::string CVivoCapDoc::judgementOfResult() const {
  constexpr double kFewDoubtful = 0.1;
  const auto failed = std::ranges::count_if(amc.records, hasFailed);
  if (failed > 0) return format("low: %td of %zu images could not be aligned", failed, amc.records.size());
  const auto doubtful = std::ranges::count_if(
      amc.records, [](const MovementRecord& each) { return isDoubtful(each) || hangsOnDoubt(each); });
  if (doubtful == 0) return ZBasicDoc::judgementOfResult();
  const bool isFew = static_cast<double>(doubtful) < kFewDoubtful * static_cast<double>(amc.records.size());
  return format("%s: the alignment of %td of %zu images is doubtful", isFew ? "fair" : "low", doubtful,
                amc.records.size());
}

void CVivoCapDoc::movementQuality() {
  auto* chart =
      process.reviewTemplate ? dynamic_cast<ZchartDoc*>(process.reviewTemplate->newDocument()) : nullptr;
  if (!chart) return;
  chart->setTitle(stemOfTitle() + "_Movement");
  const auto count = static_cast<uint32_t>(imageCount());
  {
    const TraceBatch batch(*chart);
    const double rate = imagesPerSecond();
    ZZTrace* x = addCurve(*chart, "x", "x", unitName(), rate, count);
    ZZTrace* y = addCurve(*chart, "y", "y", unitName(), rate, count);
    if (!x || !y) return;
    x->ygain = scale().x;
    y->ygain = scale().y;
    for (uint32_t i = 0; i < count; ++i) {
      const FrameRecord& record = movie->recordOf(static_cast<int32_t>(i));
      x->data->putval(i, static_cast<double>(record.xOrigin));
      y->data->putval(i, static_cast<double>(record.yOrigin));
    }
    if (!amc.records.empty()) addQualityCurves(*chart);
    ZchartDoc::giveColours(chart->traces.items, 0);
  }
  chart->updateAllViews();
}

// Of the images of the last run; the others have 0.
void CVivoCapDoc::addQualityCurves(ZchartDoc& chart) {
  const auto count = static_cast<uint32_t>(imageCount());
  const double rate = imagesPerSecond();
  ZZTrace* fineX = addCurve(chart, "x to a fraction", "x", unitName(), rate, count);
  ZZTrace* fineY = addCurve(chart, "y to a fraction", "y", unitName(), rate, count);
  ZZTrace* error = addCurve(chart, "rms error", "rms", "grey levels", rate, count);
  ZZTrace* failed = addCurve(chart, "failed 100, doubtful 50", "failed", "%", rate, count);
  if (!fineX || !fineY || !error || !failed) return;
  fineX->ygain = scale().x;
  fineY->ygain = scale().y;
  const auto shown = [](double value) { return std::isfinite(value) ? value : 0.0; };
  for (const MovementRecord& each : amc.records) {
    const auto at = static_cast<uint32_t>(each.index);
    if (each.index < 0 || at >= count) continue;
    fineX->data->putval(at, shown(each.subPixel.x));
    fineY->data->putval(at, shown(each.subPixel.y));
    error->data->putval(at, shown(each.rms));
    failed->data->putval(at, hasFailed(each) ? 100.0 : isDoubtful(each) || hangsOnDoubt(each) ? 50.0 : 0.0);
  }
}

}  // namespace tarnvisor
