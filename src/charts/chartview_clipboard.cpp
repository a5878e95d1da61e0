// Cut, copy, paste and deletion on a chart.
#include <cmath>
#include <new>

#include "app/basicapp.h"
#include "archive/archive.h"
#include "base/text.h"
#include "charts/chartview.h"
#include "charts/markereditor.h"
#include "host/host.h"
#include "traces/traceselection.h"

namespace tarnvisor {

namespace {

constexpr const char* kTraceFormat = "ZZTrace";  // of the clipboard
constexpr const char* kDeleteSelected = "Do you really want to delete selected data in %1 trace?";
constexpr const char* kDeleteWhole = "Do you really want to delete %1 trace?";
constexpr const char* kCutSelected =
    "Do you really want to cut selected data from %1 trace to the clipboard?";
constexpr const char* kCutWhole = "Do you really want to cut %1 trace to the clipboard?";
constexpr const char* kClear = "Do you really want to clear all traces to zero?";
constexpr const char* kNothingInCommon = "No common selection between Source and Destination traces ";

bool agrees(const std::string& question) {
  return host().messages.show(question, Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

ZZTrace::Own traceFrom(std::vector<uint8_t> bytes, std::string& why) {
  try {
    MemoryStream memory(std::move(bytes));
    Archive archive(memory, Archive::Direction::Loading);
    ZZTrace::Own trace = archive.readOwned<ZZTrace>();
    if (!trace || !trace->data) why = "it is empty";
    return trace && trace->data ? std::move(trace) : nullptr;
  } catch (const ArchiveException& problem) {
    why = problem.what();
  } catch (const std::bad_alloc&) {
    why = "there is not enough memory";
  }
  return nullptr;
}

// `count` samples from an index on, in order of time.
ZZTrace::Own partOf(const ZZTrace& trace, uint32_t from, uint32_t count) {
  const uint32_t size = trace.size();
  const auto age = static_cast<uint32_t>((uint64_t{from} + size - trace.origin % size) % size);
  if (uint64_t{age} + count < size)
    return trace.clone(from, static_cast<uint32_t>((uint64_t{from} + count) % size));
  // A range that ends at the origin is told from the rest of the ring only where the origin is 0.
  if (trace.origin % size == 0) return trace.clone(from, size);
  const ZZTrace::Own inOrder = trace.clone(0, 0);
  return inOrder->data ? inOrder->clone(age, size) : nullptr;
}

// The item that shows 0, or comes nearest to it.
double zeroOf(const ZZTrace& trace) {
  const ShownValues shown(trace);
  return shown.hasItems() ? shown.nearestItem(0) : 0;
}

// `count` samples, or rows with their extents, from the oldest on, over those at `first`, which show the same
// values then. False without memory.
bool pasteValues(const ZZTrace& source, ZZTrace& target, uint32_t first, uint32_t count) {
  const ShownValues shown(source), own(target);
  const bool sameItems = own.isThatOf(shown) && source.typecode() == target.typecode();
  const auto* from = dynamic_cast<const C2DTrace*>(&source);
  auto* into = dynamic_cast<C2DTrace*>(&target);
  RowBuffer buffer(source.data->width);
  if (!buffer.isReady()) return false;
  for (uint32_t k = 0; k < count; ++k) {
    const uint32_t to = (first + k) % target.size(), at = (source.origin + k) % source.size();
    if (sameItems) {
      target.data->copyfrom(to, *source.data, 1, at);
    } else {
      for (double& item : buffer.read(*source.data, at)) item = own.nearestItem(shown.of(item));
      buffer.write(*target.data, to);
    }
    if (from && into) into->setextent(to, from->extent(at) * std::abs(source.ygain / target.ygain));
  }
  if (into) into->reachGreatestItem();
  return true;
}

}  // namespace

// The active trace's selection, or all of it.
bool ZchartView::toClipboard() {
  ZZTrace* trace = active();
  const auto range = trace ? rangeIn(*trace) : std::nullopt;
  if (!range) return false;
  ZZTrace::Own part;
  if (hasSelection()) {
    part = partOf(*trace, range->from, range->count);
    if (!part || !part->data) return false;
    part->setstarttime(trace->timeof(range->from));
  }
  MemoryStream memory;
  try {
    Archive archive(memory, Archive::Direction::Storing);
    archive.writeObject(part ? part.get() : trace);
    archive.close();
  } catch (const std::bad_alloc&) {
    doc.report(kLowMemory);
    return false;
  }
  switch (host().clipboard.setData(kTraceFormat, memory.bytes())) {
    case ClipboardResult::CannotOpen:
      doc.report("Cannot Open Clipboard");
      return false;
    case ClipboardResult::CannotRegister:
      doc.report("Cannot Register Clipboard");
      return false;
    case ClipboardResult::Done:
      host().messages.notice({"Copied the trace"});
      return true;
  }
  return false;
}

void ZchartView::copy() {
  if (!toClipboard() && active() && hasSelection() && !rangeIn(*active())) doc.report(kNothingInCommon);
}

void ZchartView::cut() {
  ZZTrace* trace = active();
  if (!trace) return;
  if (trace->size() && !rangeIn(*trace)) return doc.report(kNothingInCommon);
  if (!agrees(filledIn(hasSelection() ? kCutSelected : kCutWhole, trace->name))) return;
  if (toClipboard()) removeSelected();
}

// A marker in hand goes at once: it is small, and drawn again by a key.
void ZchartView::remove() {
  if (const CMarker* marker = selectedMarker()) {
    return doc.changeMarkers([&] { doc.markers.remove(*marker); });
  }
  ZZTrace* trace = active();
  if (!trace) return;
  if (agrees(filledIn(hasSelection() ? kDeleteSelected : kDeleteWhole, trace->name))) removeSelected();
}

void ZchartView::removeSelected() {
  ZZTrace* trace = active();
  if (!trace) return;
  ZchartDoc::Change change(doc);
  if (!hasSelection()) return change.remove(*trace);
  const auto range = rangeIn(*trace);
  if (!selectionToWorkOn() || !range || !change.altering(*trace)) return;
  const double zero = zeroOf(*trace);
  for (uint32_t k = 0; k < range->count; ++k) trace->data->putval((range->from + k) % trace->size(), zero);
}

void ZchartView::clearTraces() {
  if (!agrees(kClear)) return;
  ZchartDoc::Change change(doc);
  for (const auto& trace : doc.traces.items) {
    if (!trace->data || !change.altering(*trace)) continue;
    if (rowsOf(trace.get()))
      for (uint32_t i = 0; i < trace->size(); ++i) trace->zeroat(i);
    else
      trace->data->fill(zeroOf(*trace));
  }
}

void ZchartView::paste() {
  auto bytes = host().clipboard.data(kTraceFormat);
  if (!bytes) return doc.report("The clipboard holds no trace.");
  std::string why;
  ZZTrace::Own pasted = traceFrom(std::move(*bytes), why);
  if (!pasted) return doc.report("The trace on the clipboard can't be pasted: " + why + ".");
  ZchartDoc::Change change(doc);
  ZZTrace* trace = active();
  if (!hasSelection() || !trace) {
    if (ZZTrace* added = change.add(std::move(pasted))) activeTrace = added;
    return;
  }
  // Rows go into rows as wide, samples into samples.
  const auto range = rangeIn(*trace);
  const bool takes = range && ShownValues(*trace).hasItems() &&
                     (rowsOf(trace) != nullptr) == (rowsOf(pasted.get()) != nullptr) &&
                     trace->data->width == pasted->data->width;
  if (!takes) return doc.report(kNothingInCommon);
  if (!change.altering(*trace)) return;
  if (!pasteValues(*pasted, *trace, range->from, std::min(range->count, pasted->size()))) noteLowMemory();
}

}  // namespace tarnvisor
