#include "linescan/zlinescandoc.h"

#include <algorithm>
#include <cmath>

#include "app/asked.h"
#include "app/processstate.h"
#include "charts/chartview.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "linescan/commandids.h"
#include "linescan/texts.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "linescan";
constexpr const char* kScalesWrong = "x scales will now be incorrect for existing data.";
ZlineScanDoc* fed = nullptr;

}  // namespace

ZlineScanDoc* theLinescan() { return fed; }

ZlineScanDoc* openLinescan() {
  DocumentType* kind = process.linescanTemplate;
  if (fed) {
    if (fed->type() && fed->type()->owner()) fed->type()->owner()->activate(*fed);
    return fed;
  }
  return kind ? dynamic_cast<ZlineScanDoc*>(kind->newDocument()) : nullptr;
}

ZlineScanDoc::ZlineScanDoc() {
  if (!fed) fed = this;
}

ZlineScanDoc::~ZlineScanDoc() {
  if (fed == this) fed = nullptr;
}

// A saved one is a closed chart, which opens as the kind that is not fed.
DocumentType* ZlineScanDoc::storedType() const {
  DocumentType* stored = type() && type()->owner() ? type()->owner()->typeFor("a.zzl") : nullptr;
  return stored ? stored : type();
}

void ZlineScanDoc::readSettings() {
  ZlineScanBaseDoc::readSettings();
  usualRows = NoPtsToSample;
  subtracting = settings.getInt(kSection, "subtracting", 0) != 0;
  cbvON = settings.getInt(kSection, "cbvON", 1) != 0;
}

bool ZlineScanDoc::onNewDocument() {
  if (!ZlineScanBaseDoc::onNewDocument()) return false;
  setTitle("Linescan");
  return true;
}

// --- lines

bool ZlineScanDoc::Line::resize(uint32_t items) {
  for (CdataVect::Own* each : {&scanline, &previous1, &previous2, &difference1}) {
    *each = newVector(kInt32Code, items);
    if (!*each) return false;
  }
  return true;
}

// The change over two samples takes away what stands still. It keeps its sign.
const CdataVect& ZlineScanDoc::Line::next(bool subtracting) {
  if (!subtracting) return *scanline;
  difference1->difference(*scanline, *previous2);
  previous2->copyfrom(0, *previous1, previous1->size);
  previous1->copyfrom(0, *scanline, scanline->size);
  return *difference1;
}

bool ZlineScanDoc::mayTakeLine(const void* source, bool twoLines) const {
  return (!sourceview || sourceview == source) && (velocity.cbvmethod == kTwoLines) == twoLines;
}

void ZlineScanDoc::takeFacts(const void* source, const LineFacts& facts) {
  period = sampleperiod * facts.fieldperiod * (useinterlace ? 1 : 2);
  fieldrate = facts.fieldperiod > 0 ? 1.0 / facts.fieldperiod : 1.0;
  sourceview = source;
  sinceAdvance = 0;
  justReset = true;
}

CdataVect* ZlineScanDoc::setline(const void* source, int32_t points, int32_t linesperpoint,
                                 const LineFacts& facts) {
  if (!mayTakeLine(source, false) || points < 1 || linesperpoint < 1) return nullptr;
  if (int64_t{points} * linesperpoint > UINT16_MAX) return nullptr;
  const TraceBatch batch(*this);
  takeFacts(source, facts);
  velocity.linesperpoint = linesperpoint;
  for (const char* name : {text::kLine1, text::kLine2})
    if (ZZTrace* line = find(name)) deletetrace(*line, false);
  const auto items = static_cast<uint32_t>(points) * static_cast<uint32_t>(linesperpoint);
  const auto rows = static_cast<uint32_t>(NoPtsToSample);
  const int32_t code = subtracting ? kDoubleRowsCode : kWordRowsCode;
  C2DTrace* scan2D = makeRows(text::kScan2D, code, items, rows);
  C2DTrace* scan = makeRows("", code, static_cast<uint32_t>(points), rows);
  if (!scan2D || !scan || !line1.resize(items)) return release(source), nullptr;
  for (C2DTrace* each : {scan2D, scan}) {
    each->ygain = facts.pointlength;
    each->xscale = facts.pointlength;
    each->yunits = facts.yunits;
    each->period = period;
  }
  scan->setorigin(scan2D->origin);
  scan->name = facts.name;
  scan->slot = static_cast<int32_t>(facts.pointlength);
  if (cbvON && !makeDerivedTraces()) return release(source), nullptr;
  for (ZZTrace* each : {static_cast<ZZTrace*>(find(text::kCorrellogram)), find(text::kCbv),
                        find(text::kCbvUncut), find(text::kCorrelation), find(text::kDifference)})
    if (each) each->period = period;
  rowVelocity.restart();
  rowVelocity.resetMean();
  return line1.scanline.get();
}

ZlineScanDoc::TwoLines ZlineScanDoc::settwolines(const void* source, int32_t points1, int32_t points2,
                                                 double distance, const LineFacts& facts) {
  if (!mayTakeLine(source, true) || points1 < 1 || points2 < 1 || !(distance > 0)) return {};
  const TraceBatch batch(*this);
  takeFacts(source, facts);
  if (C2DTrace* scan = scantrace()) deletetrace(*scan, false);
  const auto samples = static_cast<uint32_t>(NoPtsToSample);
  ZZTrace* first = makeSeries(text::kLine1, text::kLine1, samples);
  ZZTrace* second = makeSeries(text::kLine2, text::kLine2, samples);
  if (!first || !second || !line1.resize(static_cast<uint32_t>(points1)) ||
      !line2.resize(static_cast<uint32_t>(points2)))
    return release(source), TwoLines{};
  const ZZTrace* scan2D = find(text::kScan2D);
  for (ZZTrace* each : {first, second}) {
    each->tracetype = kLineTrace;
    each->pixelperiod = 1.0 / fieldrate;
    each->period = period;
    each->yunits = facts.yunits;
    each->setorigin(scan2D ? scan2D->origin : 0);
  }
  velocity.linedistance = distance;
  if (cbvON && !makeDerivedTraces()) return release(source), TwoLines{};
  rowVelocity.restart();
  return {line1.scanline.get(), line2.scanline.get()};
}

std::unique_ptr<ZlineScanDoc> ZlineScanDoc::makeAlike() const {
  auto made = std::make_unique<ZlineScanDoc>();
  made->velocity = velocity;
  made->sampleperiod = sampleperiod;
  made->useinterlace = useinterlace;
  made->subtracting = subtracting;
  made->cbvON = cbvON;
  made->circular = circular;
  return made;
}

void ZlineScanDoc::beginOf(const CDocument& video) {
  NoPtsToSample = usualRows;
  deleteContents();
  forgetPathName();
  forgetOwner();
  noteMadeHere();
  madeFrom(video);
}

void ZlineScanDoc::release(const void* source) {
  if (sourceview != source) return;
  stopCapture();
  sourceview = nullptr;
}

void ZlineScanDoc::stopCapture() {
  if (!running) return;
  running = 0;
  updateAllViews();
  // What came since the window opened is seen whole.
  for (const auto& view : views())
    if (auto* chart = dynamic_cast<ZchartView*>(view.get())) chart->fit();
}

// --- samples

void ZlineScanDoc::linesample(int32_t fields) {
  if (!running || !sourceview || fields < 1) return;
  if (velocity.cbvmethod == kTwoLines && hasLines())
    twolinesample();
  else if (hasScan())
    onelinesample();
  justReset = false;
  advanceRing();
  clock -= period * fields / sampleperiod;
  setModified();
  tracesChanged();
}

void ZlineScanDoc::onelinesample() {
  const LinescanTraces set = traceSet();
  const uint32_t row = set.scan2D->origin;
  if (!line1.scanline || set.scan2D->width() != line1.scanline->size) return;
  set.scan2D->setextent(row, static_cast<double>(set.scan2D->width()) / velocity.linesperpoint);
  // Rows without a sign take no differences.
  const CdataVect& sampled = line1.next(subtracting && rowsCodeOf(*set.scan2D) == kDoubleRowsCode);
  const CdataVect::Own stored = set.scan2D->data->getArray(row);
  stored->copyfrom(0, sampled, sampled.size);
  if (cbvON)
    rowVelocity.rowstep(velocity, set, row);
  else if (set.scan != set.scan2D)
    set.scan2D->rowaverage(row, *set.scan, static_cast<uint32_t>(velocity.linesperpoint));
}

void ZlineScanDoc::twolinesample() {
  const LinescanTraces set = traceSet();
  if (!line1.scanline || !line2.scanline) return;
  set.line1->data->putval(set.line1->origin, line1.next(subtracting).mean());
  set.line2->data->putval(set.line2->origin, line2.next(subtracting).mean());
  if (cbvON) twolinestep(velocity, set, set.line1->origin, set.line2->origin);
}

void ZlineScanDoc::skiplines(int32_t fields) {
  if (!running || !sourceview || fields < 1) return;
  for (int32_t i = 0; i < fields; ++i) advanceRing();
  clock += period * fields / sampleperiod;
  tracesChanged();
}

// Only every sampleperiod-th sample moves the ring; those between are written over.
void ZlineScanDoc::advanceRing() {
  if (++sinceAdvance < sampleperiod) return;
  sinceAdvance = 0;
  for (const auto& trace : traces.items) {
    if (!trace->circular) continue;
    trace->advance(1);
    if (zeroes) trace->zeroat(trace->origin);
  }
  if (zeroes) storeNothing();
}

// A velocity of 0 is one that was measured.
void ZlineScanDoc::storeNothing() {
  const LinescanTraces set = traceSet();
  for (ZZTrace* each : {set.cbv, set.cbvUncut, set.correlation, set.peakratio})
    if (each) each->data->putval(each->origin, kNoReading);
}

// --- commands

const CommandTableBase& ZlineScanDoc::commandTable() {
  using D = ZlineScanDoc;
  static const CommandTable<D> table{
      {{cmd::SampleRate,
        "Set sample &rate",
        &D::changeSampleRate,
        {.tip = "Sample rate", .status = "Sets of how many fields one is sampled."}},
       {cmd::SubtractScans,
        "&Subtract scans",
        &D::toggleSubtracting,
        &D::mayToggleSubtracting,
        &D::isSubtracting,
        {.tip = "Subtract scans",
         .status = "Stores the change over two samples: what stands still goes away."}},
       {cmd::CalculatesCbv,
        "&Calculate cbv",
        &D::toggleCbv,
        nullptr,
        &D::isCbvOn,
        {.tip = "Calculate while sampling",
         .status = "Calculates the velocity of each line as it is sampled."}}},
      &ZlineScanBaseDoc::commandTable()};
  return table;
}

void ZlineScanDoc::changeSampleRate() {
  int32_t fields = sampleperiod;
  Form form("Set sample rate");
  form.add("Linescan sample rate in no. of fields per sample", fields);
  if (!asked(form) || fields == sampleperiod) return;
  if (!justReset) report(kScalesWrong);
  if (fields <= 0) return;
  for (const auto& trace : traces.items) trace->period *= static_cast<double>(fields) / sampleperiod;
  period *= static_cast<double>(fields) / sampleperiod;
  sampleperiod = fields;
  settings.setInt(kSection, "sampleperiod", sampleperiod);
  setModified();
  tracesChanged();
}

// The next line that is set is stored with its sign, or without.
void ZlineScanDoc::toggleSubtracting() {
  subtracting = !subtracting;
  settings.setInt(kSection, "subtracting", subtracting);
}

void ZlineScanDoc::toggleCbv() {
  cbvON = !cbvON;
  settings.setInt(kSection, "cbvON", cbvON);
  if (cbvON && canCalculate()) (void)makeDerivedTraces();
}

}  // namespace tarnvisor
