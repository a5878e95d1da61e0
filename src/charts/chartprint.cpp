#include "charts/chartprint.h"

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "drawing/textmeasure.h"
#include "host/host.h"

namespace tarnvisor {

namespace {
constexpr int32_t kTenthsOfPoint = 90;
}  // namespace

void printChart(PrintJob& job, const ZchartDoc& document, const DrawChart& draw) {
  const Size page = job.pageSize();
  if (page.width < 1 || page.height < 1) return;
  Canvas& canvas = job.canvas();
  canvas.setFont("", kTenthsOfPoint);
  const int32_t line = TextMeasure::of(canvas).line;
  canvas.text({0, 0}, "printed:" + longDateTime(currentTime()), 0);
  canvas.text({0, line}, document.title(), 0);
  const CdbDocument::Owner owner = document.measuredFor();
  canvas.text({0, 2 * line}, pageWords(owner, document.isFromElsewhere()), 0);
  draw(canvas, {0, 4 * line, page.width, page.height});
}

}  // namespace tarnvisor
