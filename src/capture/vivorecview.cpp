#include "capture/vivorecview.h"

#include "app/basicapp.h"
#include "base/text.h"
#include "camera/framegrabber.h"
#include "capture/commandids.h"

namespace tarnvisor {

CVivoRecView::CVivoRecView(CVivoRecDoc& document)
    : CVivoCapView(document), doc(document), showTimer(theApp().loop, kShowTimer) {}

void CVivoRecView::onUpdate(Change what) {
  if (doc.isRecording() && !showTimer.isRunning())
    showTimer.start(kShowMs, [this] {
      redraw();
      site().panesChanged();
    });
  if (!doc.isRecording()) showTimer.stop();
  CVivoCapView::onUpdate(what);
}

void CVivoRecView::draw(Canvas& canvas) {
  CVivoCapView::draw(canvas);
  if (fgState().recording) canvas.text({5, 5}, "RECORDING", 0x0000ff);
}

std::vector<StatusPane> CVivoRecView::panes() const {
  if (!doc.isRecording()) return CVivoCapView::panes();
  // NOLINTNEXTLINE(bugprone-parent-virtual-call): there is no image of a sequence yet.
  std::vector<StatusPane> all = ZBasicView::panes();
  all.push_back({"image", format("%i frames", doc.framesRecorded())});
  return all;
}

void CVivoRecView::stop() {
  stopPlayback();
  doc.stopRecording();
}

const CommandTableBase& CVivoRecView::commandTable() {
  using V = CVivoRecView;
  static const CommandTable<V> table{{{cmd::Stop, "", &V::stop}}, &CVivoCapView::commandTable()};
  return table;
}

}  // namespace tarnvisor
