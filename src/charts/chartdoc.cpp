#include "charts/chartdoc.h"

#include <algorithm>

#include "charts/chartwatcher.h"
#include "charts/commandids.h"
#include "host/host.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "chartdoc";
// What Undo may keep: the last change always, older ones while they fit.

uint64_t bytesOf(const ZZTrace* trace) {
  if (!trace || !trace->data) return 0;
  return uint64_t{trace->data->size} * trace->data->width * trace->data->elementsize;
}

template <class Act>
void tellWatchers(const ZchartDoc& document, Act act) {
  for (const auto& view : document.views())
    if (auto* watcher = dynamic_cast<ChartWatcher*>(view.get())) act(*watcher);
}

}  // namespace

ZchartDoc::ZchartDoc() = default;
ZchartDoc::~ZchartDoc() = default;

const CommandTableBase& ZchartDoc::commandTable() {
  using D = ZchartDoc;
  static const CommandTable<D> table{
      {{cmd::Undo, "&Undo", &D::undo, &D::canUndo},
       {cmd::Redo, "&Redo", &D::redo, &D::canRedo},
       // Its number in scripts.
       {cmd::RedoTrace,
        "",
        &D::redo,
        &D::canRedo,
        {.tip = "Redo", .status = "Does again what was taken back."}}},
      &CdbDocument::commandTable(),
      {{&D::canUndo, "There is nothing to undo."}, {&D::canRedo, "There is nothing to do again."}}};
  return table;
}

// --- traces

ZZTrace* ZchartDoc::addtrace(int32_t typecode, uint32_t size) {
  auto trace = std::make_unique<CTrace>(typecode, size);
  trace->circular = circular;
  return addtrace(std::move(trace));
}

C2DTrace* ZchartDoc::addtrace(int32_t typecode, uint32_t size, uint16_t width) {
  auto trace = std::make_unique<C2DTrace>(typecode, size, width);
  trace->palette.readSettings();
  trace->circular = circular;
  return static_cast<C2DTrace*>(addtrace(std::move(trace)));
}

ZZTrace* ZchartDoc::addtrace(ZZTrace::Own trace) {
  tellLowMemory();
  if (!trace || !trace->data) return nullptr;
  traces.items.push_back(std::move(trace));
  setModified();
  tracesChanged();
  return traces.items.back().get();
}

void ZchartDoc::giveColours(std::vector<ZZTrace::Own>& imported, size_t before) {
  static constexpr uint32_t kColours[] = {0xa05000, 0x3030c0, 0x307000, 0x900090, 0x0070c0, 0x808000};
  for (ZZTrace::Own& trace : imported)
    if (trace->colour == 0) trace->colour = kColours[before++ % std::size(kColours)];
}

int32_t ZchartDoc::indexOfTrace(const ZZTrace* trace) const {
  for (size_t i = 0; i < traces.items.size(); ++i)
    if (traces.items[i].get() == trace) return static_cast<int32_t>(i);
  return -1;
}

void ZchartDoc::deletetrace(ZZTrace& trace, bool notify) {
  const int32_t index = indexOfTrace(&trace);
  if (index < 0) return;
  tellWatchers(*this, [&](ChartWatcher& w) { w.traceGone(trace); });
  traces.items.erase(traces.items.begin() + index);
  // Their steps count places in a list that is now another one.
  forgetUndo();
  setModified();
  if (notify) tracesChanged();
}

void ZchartDoc::replacetrace(ZZTrace& trace, ZZTrace::Own by) {
  const int32_t index = indexOfTrace(&trace);
  if (index < 0 || !by) return;
  tellWatchers(*this, [&](ChartWatcher& w) { w.traceReplaced(trace, *by); });
  traces.items[static_cast<size_t>(index)] = std::move(by);
  setModified();
  tracesChanged();
}

void ZchartDoc::ringadvance(int64_t steps) {
  for (const auto& trace : traces.items) trace->advance(steps);
}

void ZchartDoc::setNoPtsToSample(int32_t points) { NoPtsToSample = std::max(0, points); }

void ZchartDoc::tellLowMemory() {
  if (takeLowMemory()) report(kLowMemory);
}

void ZchartDoc::tracesChanged() {
  if (updatecount) updateAllViews();
}

// --- undo

ZchartDoc::Steps ZchartDoc::perform(Steps steps) {
  Steps inverse;
  auto& items = traces.items;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    const size_t at = step->index;
    const auto place = items.begin() + static_cast<ptrdiff_t>(at);
    switch (step->kind) {
      case Step::Kind::Replace:
        tellWatchers(*this, [&](ChartWatcher& w) { w.traceReplaced(*items[at], *step->trace); });
        std::swap(items[at], step->trace);
        inverse.push_back({Step::Kind::Replace, at, std::move(step->trace)});
        break;
      case Step::Kind::Insert:
        items.insert(place, std::move(step->trace));
        inverse.push_back({Step::Kind::Remove, at, nullptr});
        break;
      case Step::Kind::Remove:
        tellWatchers(*this, [&](ChartWatcher& w) { w.traceGone(*items[at]); });
        inverse.push_back({Step::Kind::Insert, at, std::move(*place)});
        items.erase(place);
        break;
      case Step::Kind::Exchange:
        step->exchange();
        inverse.push_back(std::move(*step));
        break;
    }
  }
  setModified();
  updateAllViews();
  return inverse;
}

void ZchartDoc::undo() {
  if (canUndo()) history.undo([this](Steps steps) { return perform(std::move(steps)); });
}

void ZchartDoc::redo() {
  if (canRedo()) history.redo([this](Steps steps) { return perform(std::move(steps)); });
}

ZchartDoc::Change::~Change() {
  doc.tellLowMemory();
  if (steps.empty()) return;
  doc.setModified();
  doc.history.add(std::move(steps), [](const Steps& made) {
    uint64_t bytes = 0;
    for (const Step& step : made) bytes += bytesOf(step.trace.get());
    return bytes;
  });
}

bool ZchartDoc::Change::altering(ZZTrace& trace) {
  const int32_t index = doc.indexOfTrace(&trace);
  if (index < 0) return false;
  ZZTrace::Own copy = trace.clone();
  if (!copy || (trace.data && !copy->data)) return false;
  steps.push_back({Step::Kind::Replace, static_cast<size_t>(index), std::move(copy)});
  return true;
}

void ZchartDoc::Change::added(const ZZTrace& trace) {
  const int32_t index = doc.indexOfTrace(&trace);
  if (index >= 0) steps.push_back({Step::Kind::Remove, static_cast<size_t>(index), nullptr});
}

ZZTrace* ZchartDoc::Change::add(ZZTrace::Own trace) {
  ZZTrace* fresh = doc.addtrace(std::move(trace));
  if (fresh) added(*fresh);
  return fresh;
}

void ZchartDoc::Change::remove(ZZTrace& trace) {
  const int32_t index = doc.indexOfTrace(&trace);
  if (index < 0) return;
  tellWatchers(doc, [&](ChartWatcher& w) { w.traceGone(trace); });
  const auto place = doc.traces.items.begin() + index;
  steps.push_back({Step::Kind::Insert, static_cast<size_t>(index), std::move(*place)});
  doc.traces.items.erase(place);
}

void ZchartDoc::Change::replace(ZZTrace& trace, ZZTrace::Own by) {
  const int32_t index = doc.indexOfTrace(&trace);
  if (index < 0 || !by) return;
  tellWatchers(doc, [&](ChartWatcher& w) { w.traceReplaced(trace, *by); });
  std::swap(doc.traces.items[static_cast<size_t>(index)], by);
  steps.push_back({Step::Kind::Replace, static_cast<size_t>(index), std::move(by)});
}

void ZchartDoc::Change::changedMarkers(CMarkerList::Items before) {
  CMarkerList& list = doc.markers;
  const auto isSame = [](const auto& one, const auto& other) { return *one == *other; };
  if (std::ranges::equal(before, list.items, isSame)) return;
  const auto kept = std::make_shared<CMarkerList::Items>(std::move(before));
  // Who watches a marker sees it go, and takes up the one that comes in its place.
  steps.push_back({Step::Kind::Exchange, 0, nullptr, [&list, kept] {
                     CMarkerList::Items now = list.clones();
                     list.items = std::exchange(*kept, std::move(now));
                   }});
}

void ZchartDoc::changeMarkers(const std::function<void()>& work) {
  CMarkerList::Items before = markers.clones();
  work();
  Change(*this).changedMarkers(std::move(before));
}

void ZchartDoc::Change::exchange(std::function<void()> twoValues) {
  twoValues();
  steps.push_back({Step::Kind::Exchange, 0, nullptr, std::move(twoValues)});
}

// --- the document's life

void ZchartDoc::readSettings() {
  lastTCradio = settings.getInt(kSection, "lastTCradio", 0);
  lastTC = static_cast<float>(settings.getDouble(kSection, "lastTC", 1.0));
  tc = settings.getDouble(kSection, "tc", 3.0);
  circular = settings.getInt(kSection, "circular", 0);
  NoPtsToSample = settings.getInt(kSection, "NoPtsToSample", 500);
}

void ZchartDoc::saveSettings() const {
  settings.setInt(kSection, "lastTCradio", lastTCradio);
  settings.setDouble(kSection, "lastTC", static_cast<double>(lastTC));
  settings.setDouble(kSection, "tc", tc);
  settings.setInt(kSection, "circular", circular);
  settings.setInt(kSection, "NoPtsToSample", NoPtsToSample);
}

bool ZchartDoc::onNewDocument() {
  if (!CdbDocument::onNewDocument()) return false;
  readSettings();
  return true;
}

void ZchartDoc::deleteContents() {
  for (const auto& trace : traces.items) tellWatchers(*this, [&](ChartWatcher& w) { w.traceGone(*trace); });
  forgetUndo();
  traces.items.clear();
  markers.Clear();
  clock = 0.0;
  counters = {};
}

}  // namespace tarnvisor
