// Bytes as a linescan: opened, calculated anew, drawn, saved and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "app/basicapp.h"
#include "archive/archive.h"
#include "countingcanvas.h"
#include "exams/examselection.h"
#include "imagebytes.h"
#include "linescan/commandids.h"
#include "linescan/zlinescanview.h"
#include "quiethost.h"

using namespace tarnvisor;

namespace {

constexpr size_t kMostItems = size_t{1} << 14;  // that are calculated with

size_t itemsOf(const ZchartDoc& document) {
  size_t items = 0;
  for (const auto& trace : document.traces.items)
    if (trace->data) items += size_t{trace->size()} * trace->data->width;
  return items;
}

void run(ZlineScanBaseDoc& document, int32_t id) {
  CommandTarget* const chain[] = {document.views().front().get(), &document};
  (void)routeCommand(chain, id);
}

void saveAndReload(ZlineScanBaseDoc& document) {
  MemoryStream memory;
  Archive storing(memory, Archive::Direction::Storing);
  document.serialize(storing);
  storing.close();
  memory.rewind();
  Archive loading(memory, Archive::Direction::Loading);
  ZlineScanBaseDoc copy;
  copy.serialize(loading);
  if (copy.slopes().size() != document.slopes().size() || itemsOf(copy) != itemsOf(document)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static CBasicApp app;
  static const ExamSelection exams(app);
  static QuietHost quiet;
  registerTraces();
  registerMarkers();
  const BytesAsFile file(data, size);
  ZlineScanBaseDoc document;
  document.addView(std::make_unique<ZlineScanBaseView>(document));
  if (!document.onOpenDocument(file.path())) return 0;
  CView& view = *document.views().front();
  view.setWindowSize({300, 200});
  CountingCanvas canvas;
  view.draw(canvas);
  if (itemsOf(document) <= kMostItems) {
    for (const int32_t id : {cmd::CalculateVelocity, cmd::HoughVelocities, cmd::SlopeVelocities})
      run(document, id);
    (void)document.tell("velocity");
    view.mouseDown({{100, 20}, MouseButton::Left, false, true});
    view.mouseUp({{150, 40}, MouseButton::Left});
    view.draw(canvas);
    document.undo();
  }
  saveAndReload(document);
  return 0;
}
