// Bytes as a trace on the clipboard, pasted into a chart of a plain trace and one of rows, with a selection
// and without.
#include <cstddef>

#include "app/basicapp.h"
#include "charts/chartview.h"
#include "charts/commandids.h"
#include "exams/examselection.h"
#include "quiethost.h"

using namespace tarnvisor;

namespace {

void fill(ZchartDoc& document) {
  ZZTrace* plain = document.addtrace(kInt16Code, 50);
  for (uint32_t i = 0; i < plain->size(); ++i) plain->data->putval(i, i * 3.0);
  plain->origin = 20;
  C2DTrace* rows = document.addtrace(kByteRowsCode, 40, 16);
  for (uint32_t row = 0; row < rows->size(); ++row) {
    rows->data->putval(row, row * 5.0);
    rows->setextent(row, row % 4 ? 16 : 0);
  }
}

void run(ZchartView& view, int32_t command) {
  CommandTarget* const chain[] = {&view, &view.document()};
  (void)routeCommand(chain, command);
  CountingCanvas canvas;
  view.draw(canvas);
  (void)view.panes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static CBasicApp app;
  static const ExamSelection exams(app);
  static QuietHost quiet;
  registerTraces();
  ZchartDoc document;
  fill(document);
  document.addView(std::make_unique<ZchartView>(document));
  auto& view = static_cast<ZchartView&>(*document.views().front());
  view.setWindowSize({160, 130});  // drawing is most of the time
  view.onUpdate(CView::Change::All);
  quiet.clipboardData["ZZTrace"].assign(data, data + size);
  for (const int into : {0, 1}) {
    view.setActive(document.traces.items[static_cast<size_t>(into)].get());
    for (const double from : {5.0, 30.0}) {
      view.select(from, from + 25);
      run(view, cmd::EditPaste);
    }
  }
  view.select(0, 0);
  run(view, cmd::EditPaste);  // a trace of its own, and the active one
  view.select(2, 9);
  for (const int32_t command : {cmd::EditCopy, cmd::EditPaste, cmd::Undo, cmd::EditCut, cmd::Undo, cmd::Redo})
    run(view, command);
  view.select(0, 0);
  for (const int32_t command : {cmd::EditCut, cmd::EditPaste, cmd::ZoomIn, cmd::SameScale, cmd::ClearTraces})
    run(view, command);
  while (document.canUndo()) document.undo();
  if (document.traces.size() != 2) std::abort();
  while (document.canRedo()) document.redo();
  run(view, cmd::ZoomFit);
  return 0;
}
