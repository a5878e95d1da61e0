#include "charts/chartprint.h"

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "drawing/textmeasure.h"
#include "host/host.h"

namespace tarnvisor {

namespace {
constexpr const char* kPictureFilter =
    "Pictures (*.png)|*.png|Scalable Vector Graphics (*.svg)|*.svg|Portable Document Format (*.pdf)|*.pdf||";
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
  draw(canvas, {0, 3 * line, page.width, page.height});
}

void exportChartPicture(ZchartDoc& document, Size size, const DrawChart& draw) {
  FileRequest request;
  request.title = "Export picture";
  request.filter = kPictureFilter;
  request.defaultExtension = ".png";
  request.initialPath =
      withoutExtension(document.pathName().empty() ? document.title() : document.pathName()) + ".png";
  const auto path = host().choosers.saveFile(request);
  if (!path) return;
  Outcome done = theApp().documents.mayOutputTo(*path);
  if (done)
    done = host().pictures.write(*path, size, [&](Canvas& canvas) {
      draw(canvas, {0, 0, size.width, size.height});
    });
  if (!done) document.report(done.why());
}

}  // namespace tarnvisor
