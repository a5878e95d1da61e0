#include "linescan/zlinescanbasedoc.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "base/numbers.h"
#include "base/text.h"
#include "linescan/texts.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kCorrelationSection = "correlation";
constexpr const char* kLinescanSection = "linescan";
constexpr int32_t kMostRows = 1 << 24;

// What a kind of trace of rows is made with.
struct RowsKind {
  const char* name;
  int32_t traceType;
  double fullscale, least, greatest;
  bool hidden;
};
constexpr std::array kRowsKinds{RowsKind{text::kScan2D, kScan2DTrace, 255, 10, 512, true},
                                RowsKind{"", kScanTrace, 255, 10, 512, false},
                                RowsKind{text::kDifference, kDifferenceTrace, 256, 10, 1024, true},
                                RowsKind{text::kCorrellogram, kPlainTrace, 1000, 10, 65535, false},
                                RowsKind{text::kHough, kHoughTrace, 1000, 10, 51200, false}};
constexpr double kScaleStep = 1.25;

// What stands behind the names of traces that were computed with additions.
const std::vector<std::string>& additions() {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> made{""};
    for (const auto& [subpoint, bothways] : {std::pair(true, false), {false, true}, {true, true}}) {
      VelocityParameters with;
      with.subpoint = subpoint;
      with.bothways = bothways;
      made.push_back(" (" + additionWords(with) + ")");
    }
    return made;
  }();
  return all;
}

bool isNamed(const std::string& name, const char* plain) {
  const size_t length = std::strlen(plain);
  if (name.compare(0, length, plain) != 0) return false;
  return std::ranges::any_of(additions(), [&](const std::string& words) {
    return name.compare(length, std::string::npos, words) == 0;
  });
}

// Every setting but the limit of r squared, which is kept in thousandths.
template <class Document, class Visit>
void eachSetting(Document& doc, Visit visit) {
  auto& v = doc.velocity;
  const char* const correlation = kCorrelationSection;
  const char* const linescan = kLinescanSection;
  visit(correlation, "hipass", v.hipass);
  visit(correlation, "2D", v.twod);
  visit(correlation, "smoothing", v.smoothing);
  visit(correlation, "filter", v.filter);
  visit(correlation, "gap", v.gap);
  visit(correlation, "noofpoints", v.noofpoints);
  visit(correlation, "zeropeak", v.zeropeak);
  visit(correlation, "correl2velo", doc.correl2velo);
  visit(correlation, "correlpeakwindow", v.correlpeakwindow);
  visit(correlation, "subpoint", v.subpoint);
  visit(correlation, "bothways", v.bothways);
  visit(linescan, "cbvmethod", v.cbvmethod);
  visit(linescan, "houghdifthreshold", v.houghdifthreshold);
  visit(linescan, "dohough", doc.dohough);
  visit(linescan, "houghpeakwindow", doc.houghpeakwindow);
  visit(linescan, "houghtol", v.houghtol);
  visit(linescan, "correltol", doc.correltol);
  visit(linescan, "houghmin", v.houghmin);
  visit(linescan, "houghthreshold", v.houghthreshold);
  visit(linescan, "correlthreshold", doc.correlthreshold);
  visit(linescan, "houghlowpass", v.houghlowpass);
  visit(linescan, "showcbvcorrel", doc.showcbvcorrel);
  visit(linescan, "showcbvvcoef", doc.showcbvvcoef);
}

void readSetting(const char* section, const char* key, bool& value) {
  value = settings.getInt(section, key, value) != 0;
}
void readSetting(const char* section, const char* key, int32_t& value) {
  value = settings.getInt(section, key, value);
}
void readSetting(const char* section, const char* key, double& value) {
  value = settings.getDouble(section, key, value);
}

}  // namespace

int32_t rowsCodeOf(const C2DTrace& rows) {
  const uint32_t bytes = rows.data ? rows.data->elementsize : 0;
  return bytes == 1 ? kByteRowsCode : bytes == 2 ? kWordRowsCode : kDoubleRowsCode;
}

std::string nameWithAdditions(const char* plain, const VelocityParameters& parameters) {
  const std::string words = additionWords(parameters);
  return words.empty() ? plain : format("%s (%s)", plain, words.c_str());
}

// --- settings

void ZlineScanBaseDoc::readSettings() {
  ZchartDoc::readSettings();
  NoPtsToSample = settings.getInt(kLinescanSection, "NoPtsToSample", NoPtsToSample);
  velocity.coeflimit =
      settings.getInt(kCorrelationSection, "coeflimit", truncated(velocity.coeflimit * 1000.0)) * 0.001;
  eachSetting(*this,
              [](const char* section, const char* key, auto& value) { readSetting(section, key, value); });
  // How lines are sampled from now on is no matter of the form that calculates an old scan anew.
  readSetting(kLinescanSection, "sampleperiod", sampleperiod);
  readSetting(kLinescanSection, "useinterlace", useinterlace);
  makeSensible();
}

void ZlineScanBaseDoc::saveVelocitySettings() const {
  settings.setInt(kCorrelationSection, "coeflimit", truncated(std::round(velocity.coeflimit * 1000.0)));
  eachSetting(*this, [](const char* section, const char* key, const auto& value) {
    if constexpr (std::is_same_v<decltype(value), const double&>)
      settings.setDouble(section, key, value);
    else
      settings.setInt(section, key, value);
  });
}

// Numbers of a profile or a damaged file that nothing can be computed with become the nearest that can.
void ZlineScanBaseDoc::makeSensible() {
  const VelocityParameters usual;
  velocity.gap = std::clamp(velocity.gap, 1, kMostRows);
  velocity.filter = std::clamp(velocity.filter, 1, kMostRows);
  velocity.noofpoints = std::clamp(velocity.noofpoints, 1, int32_t{UINT16_MAX});
  velocity.linesperpoint = std::clamp(velocity.linesperpoint, 1, int32_t{UINT16_MAX});
  sampleperiod = std::clamp(sampleperiod, 1, kMostRows);
  NoPtsToSample = std::clamp(NoPtsToSample, 1, kMostRows);
  velocity.houghtol = std::clamp(velocity.houghtol, 0, 100);
  velocity.houghthreshold = std::clamp(velocity.houghthreshold, 0, 100);
  if (!std::isfinite(velocity.smoothing)) velocity.smoothing = usual.smoothing;
  if (!std::isfinite(velocity.coeflimit)) velocity.coeflimit = usual.coeflimit;
  if (!std::isfinite(velocity.linedistance)) velocity.linedistance = usual.linedistance;
  if (!std::isfinite(velocity.houghdifthreshold)) velocity.houghdifthreshold = usual.houghdifthreshold;
  if (!std::isfinite(velocity.houghmin)) velocity.houghmin = usual.houghmin;
}

bool ZlineScanBaseDoc::onNewDocument() {
  if (!ZchartDoc::onNewDocument()) return false;
  circular = 1;
  return true;
}

void ZlineScanBaseDoc::deleteContents() {
  ZchartDoc::deleteContents();
  slopeList.clear();
  selectedslope = -1;
}

// --- the traces

// The scan itself has whatever name its line has.
ZZTrace* ZlineScanBaseDoc::find(const char* name) const {
  const auto& all = traces.items;
  const auto at = std::ranges::find_if(
      all, [&](const auto& trace) { return trace->tracetype != kScanTrace && isNamed(trace->name, name); });
  return at != all.end() ? at->get() : nullptr;
}

C2DTrace* ZlineScanBaseDoc::scantrace() const {
  for (const auto& trace : traces.items)
    if (trace->tracetype == kScanTrace)
      if (auto* rows = dynamic_cast<C2DTrace*>(trace.get()); rows && rows->data) return rows;
  return nullptr;
}

LinescanTraces ZlineScanBaseDoc::traceSet() const {
  const auto rows = [this](const char* name) {
    auto* found = dynamic_cast<C2DTrace*>(find(name));
    return found && found->data ? found : nullptr;
  };
  const auto series = [this](const char* name) {
    ZZTrace* found = find(name);
    return found && found->data && !dynamic_cast<C2DTrace*>(found) ? found : nullptr;
  };
  LinescanTraces set;
  set.scan = scantrace();
  set.scan2D = rows(text::kScan2D);
  if (!set.scan2D) set.scan2D = set.scan;
  set.difference = rows(text::kDifference);
  set.correllogram = rows(text::kCorrellogram);
  set.hough = rows(text::kHough);
  set.correlation = series(text::kCorrelation);
  set.cbv = series(text::kCbv);
  set.cbvUncut = series(text::kCbvUncut);
  set.line1 = series(text::kLine1);
  set.line2 = series(text::kLine2);
  set.peakratio = series(text::kPeakRatio);
  return set;
}

bool ZlineScanBaseDoc::hasLines() const { return find(text::kLine1) && find(text::kLine2); }

// One of that name, or of that kind where it has no name; another item, width or length makes it anew.
C2DTrace* ZlineScanBaseDoc::makeRows(const char* name, int32_t code, uint32_t width, uint32_t size) {
  const auto kind = std::find_if(kRowsKinds.begin(), kRowsKinds.end(),
                                 [&](const RowsKind& each) { return !std::strcmp(each.name, name); });
  ZZTrace* present = *name ? find(name) : scantrace();
  if (auto* rows = dynamic_cast<C2DTrace*>(present);
      rows && rows->data && rows->width() == width && rows->size() == size && rowsCodeOf(*rows) == code)
    return rows;
  auto made = std::make_unique<C2DTrace>(code, size, static_cast<uint16_t>(width));
  if (!made->data) {
    tellLowMemory();
    return nullptr;
  }
  made->name = present ? present->name : name;
  made->tracetype = kind->traceType;
  made->setdisplay(kind->fullscale, kScaleStep, kind->least, kind->greatest);
  made->hidden = kind->hidden;
  made->circular = 1;
  made->xunits = "s";
  made->palette.readSettings();
  if (kind->traceType == kScanTrace || kind->traceType == kScan2DTrace) made->palette.setColour(false);
  if (kind->traceType == kHoughTrace) made->palette.setBackgnd(true);
  C2DTrace* rows = made.get();
  put(present, std::move(made));
  return rows;
}

ZZTrace* ZlineScanBaseDoc::makeSeries(const char* name, const std::string& fullName, uint32_t size) {
  ZZTrace* present = find(name);
  if (present && present->data && present->size() == size && present->typecode() == kDoubleCode) {
    present->name = fullName;
    return present;
  }
  auto made = std::make_unique<CTrace>(kDoubleCode, size);
  if (!made->data) {
    tellLowMemory();
    return nullptr;
  }
  made->name = fullName;
  made->circular = 1;
  made->xunits = "s";
  made->origin = 0;
  ZZTrace* series = made.get();
  put(present, std::move(made));
  return series;
}

void ZlineScanBaseDoc::put(ZZTrace* present, ZZTrace::Own made) {
  if (recording && present)
    recording->replace(*present, std::move(made));
  else if (recording)
    recording->add(std::move(made));
  else if (present)
    replacetrace(*present, std::move(made));
  else
    addtrace(std::move(made));
}

// What a velocity is computed into. Their rings move with the scan's.
bool ZlineScanBaseDoc::makeDerivedTraces() {
  const TraceBatch batch(*this);
  const LinescanTraces set = traceSet();
  const bool twoLines = velocity.cbvmethod == kTwoLines;
  const ZZTrace* leader = twoLines ? set.line1 : static_cast<ZZTrace*>(set.scan2D);
  if (!leader || (!twoLines && !set.scan)) return false;
  const uint32_t size = leader->size();
  const uint32_t points = twoLines ? static_cast<uint32_t>(velocity.noofpoints) : set.scan->width();
  C2DTrace* correllogram = makeRows(text::kCorrellogram, kWordRowsCode,
                                    std::max<uint32_t>(1, correllogramWidth(velocity, points)), size);
  const std::string words = additionWords(velocity);
  ZZTrace* correlation = makeSeries(text::kCorrelation, text::kCorrelation, size);
  ZZTrace* cbv = makeSeries(text::kCbv, nameWithAdditions(text::kCbv, velocity), size);
  ZZTrace* uncut =
      twoLines ? nullptr : makeSeries(text::kCbvUncut, nameWithAdditions(text::kCbvUncut, velocity), size);
  ZZTrace* ratio = words.empty() ? nullptr : makeSeries(text::kPeakRatio, text::kPeakRatio, size);
  if (!correllogram || !correlation || !cbv || (!twoLines && !uncut) || (!words.empty() && !ratio))
    return false;
  C2DTrace* difference = nullptr;
  if (!twoLines && velocity.hipass) {
    const C2DTrace* source = rowSource(velocity, traceSet());
    difference = source ? makeRows(text::kDifference, kDoubleRowsCode, source->width(), size) : nullptr;
    if (!difference) return false;
    difference->ygain = source->ygain;
    difference->yunits = source->yunits;
    difference->xscale = source->xscale;
  }
  correlation->colour = 0xFF;
  correlation->ygain = 0.001;
  correlation->yunits = "r2";
  correlation->xscale = 0.01;
  correlation->tracetype = kCorrelationTrace;
  correlation->hidden = true;
  const double rate = fieldrate > 0 ? fieldrate : 1.0;
  for (ZZTrace* each : {cbv, uncut}) {
    if (!each) continue;
    each->xscale = rate / velocity.gap;
    each->pixelperiod = 1.0 / rate;
    each->ygain = twoLines ? 1.0 : set.scan->ygain;
    each->yunits = velocityUnits();
  }
  if (uncut) uncut->hidden = true;
  if (ratio) ratio->hidden = true;
  correllogram->yunits = twoLines ? "s/" + leader->yunits : velocityUnits();
  correllogram->ygain = twoLines ? 1.0 : set.scan->ygain;
  if (twoLines) {
    correllogram->xscale = leader->period / velocity.linedistance;
    correllogram->tracetype = kTwoLineTrace;
  } else {
    correllogram->tracetype = kPlainTrace;
  }
  markTraces();
  for (ZZTrace* each : {static_cast<ZZTrace*>(correllogram), correlation, cbv, uncut, ratio,
                        static_cast<ZZTrace*>(difference)}) {
    if (!each) continue;
    each->period = leader->period;
    each->setorigin(leader->origin);
    each->starttime = leader->starttime;
  }
  return true;
}

// What the stored form doesn't tell.
void ZlineScanBaseDoc::markTraces() const {
  const LinescanTraces set = traceSet();
  for (ZZTrace* each : {set.cbv, set.cbvUncut, set.correlation})
    if (each) each->absent = kNoReading;
  if (set.hough) set.hough->lowest = set.hough->yoffset;
  if (!set.correllogram || !set.scan || !(set.scan->period > 0)) return;
  // Both ways no shift stands in the middle.
  const double fastest = set.scan->width() * 0.5 / (velocity.gap * set.scan->period);
  set.correllogram->lowest = velocity.bothways ? -fastest * set.correllogram->ygain : 0.0;
}

std::string ZlineScanBaseDoc::velocityUnits() const {
  const LinescanTraces set = traceSet();
  const ZZTrace* of = set.scan ? set.scan : set.line1;
  return of ? of->yunits + "/" + of->xunits : "";
}

double ZlineScanBaseDoc::velocityGain() const {
  const LinescanTraces set = traceSet();
  return set.cbv ? set.cbv->ygain : 1.0;
}

}  // namespace tarnvisor
