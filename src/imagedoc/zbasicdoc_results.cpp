// The row of the table "Image Results": grey levels of the ROI, and sums and densities of the current list
// inside it.
#include "imagedoc/levelchart.h"
#include "imagedoc/resulttables.h"
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
  const LevelSummary levels = hasImage() ? levelsWithin(*theImage(), roi) : LevelSummary{};
  std::vector<NamedValue> values{
      {"ROI w", area.width() * s.x}, {"ROI h", area.height() * s.y}, {"ROI area", size},
      {"Av. Level", levels.mean},    {"min", levels.minimum},        {"max", levels.maximum}};
  // A column that isn't filled shows 0.
  if (size > 0) {
    CDimList& dims = currentDims();
    const double count = dims.countIn(area, circle);
    const double length = dims.totalLengthIn(area, circle, s.x, s.y);
    const double covered = dims.totalAreaIn(area, circle, s.x, s.y);
    int32_t curves = 0;
    // The tortuosities take in the whole list, also what lies outside the ROI.
    const double tortuosity1 = dims.totalTortuosity1(s.x, s.y, curves);
    values.insert(values.end(), {{"list", double(currentlist)},
                                 {"N", count},
                                 {"total L", length},
                                 {"Av. L", count > 0 ? length / count : 0},
                                 {"total Area", covered},
                                 {"Av. Area", count > 0 ? covered / count : 0},
                                 {"density (%)", covered * 100 / size},
                                 {"Count density", dims.countPointsIn(area, circle) * 1e6 / size},
                                 {"Dim count density", count * 1e6 / size},
                                 {"Linear density", length * 1000 / size},
                                 {"Tortuosity0", dims.totalTortuosity0()},
                                 {"Tortuosity1", tortuosity1},
                                 {"Tort1 curves", double(curves)}});
  }
  addResultRow(kImageResults, recordOf(kImageResults, title(), unitName(), values), this);
  updateAllViews();  // the lines have new breaks
}

}  // namespace tarnvisor
