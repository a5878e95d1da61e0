// The row of the table "Image Results": grey levels of the ROI, and sums and densities of the current list
// inside it.
#include <array>

#include "imagedoc/zbasicdoc.h"
#include "measure/tortuosity.h"
#include "results/resultdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

void ZBasicDoc::calculateAverage() {
  tortuositySettings.log = settings.getInt("tortuosity", "log", 0) != 0;
  const Rect area = roiOrWhole();
  const bool circle = hasCircularRoi();
  const Scale s = scale();
  const double size = roiArea();
  // A column that isn't filled shows 0.
  std::array<double, 19> v{};
  v[0] = area.width() * s.x;
  v[1] = area.height() * s.y;
  v[2] = size;
  if (hasImage()) {
    int32_t minimum = 0;
    int32_t maximum = 0;
    theImage()->statistics(roi, &v[3], &minimum, &maximum);
    v[4] = minimum;
    v[5] = maximum;
  }
  if (size > 0) {
    CDimList& dims = currentDims();
    const double count = dims.countIn(area, circle);
    const double length = dims.totalLengthIn(area, circle, s.x, s.y);
    const double covered = dims.totalAreaIn(area, circle, s.x, s.y);
    int32_t curves = 0;
    v[6] = currentlist;
    v[7] = count;
    v[8] = length;
    v[9] = count > 0 ? length / count : 0;
    v[10] = covered;
    v[11] = count > 0 ? covered / count : 0;
    v[12] = covered * 100 / size;
    v[13] = dims.countPointsIn(area, circle) * 1e6 / size;
    v[14] = count * 1e6 / size;
    v[15] = length * 1000 / size;
    // The tortuosities take in the whole list, also what lies outside the ROI.
    v[16] = dims.totalTortuosity0();
    v[17] = dims.totalTortuosity1(s.x, s.y, curves);
    v[18] = curves;
  }
  addResultRow(ResultKind::Image, {title(), unitName(), {v.begin(), v.end()}});
  updateAllViews();  // the lines have new breaks
}

}  // namespace tarnvisor
