// How sharp the images are: a chart along the video, and one image of the sharpest.
#include <algorithm>
#include <array>
#include <optional>

#include "analysis/autofocus.h"
#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "charts/chartdoc.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "movie/moviepass.h"
#include "settings/settings.h"

namespace tarnvisor {

// --- the chart

struct CVivoCapDoc::FocusCheck {
  std::array<std::vector<double>, 3> focus;  // by each measure alone
  std::array<std::vector<double>, 2> offset;
};

// False when there is nothing to show; the user knows why.
bool CVivoCapDoc::measureSelection(FocusCheck& found) {
  autofocuscontrol control;
  control.loadSettings();
  control.on = 1;
  // Without a region the middle of a frame that has not moved: one place on the skin for all images.
  const CZZimage& form = movie->form();
  const Point origin = form.frameOrigin();
  control.box = roi.isEmpty() ? control.boxOf(form).offsetBy(-origin.x, -origin.y) : roi;
  const CZZMovie::Range range = selection();
  bool liesInside = false;
  int32_t unread = 0;
  CZZimage each;
  MoviePass checking(*movie, "Measuring the focus", range.size());
  while (checking.next()) {
    movie->getImage(range.first + checking.step(), each);
    unread += !movie->hasRead();
    if (!movie->hasRead() || !each.convertToGrey()) each.reset();  // once for all measures
    liesInside = liesInside || !each.clipToImage(control.boxOf(each)).isEmpty();
    control.method = autofocuscontrol::kGradient;
    for (std::vector<double>& values : found.focus) {
      values.push_back(control.measureFocus(each));
      control.method <<= 1;
    }
    found.offset[0].push_back(each.frameOrigin().x);
    found.offset[1].push_back(each.frameOrigin().y);
  }
  if (checking.wasStopped()) return false;
  if (unread > 0) report(format(text::kUnreadImages, unread));
  if (!liesInside) report(text::kRegionOutside);
  return liesInside;
}

void CVivoCapDoc::focusCheck() {
  if (!process.reviewTemplate) return;
  const WaitScope wait;
  FocusCheck found;
  if (!measureSelection(found)) return;
  auto* chart = dynamic_cast<ZchartDoc*>(process.reviewTemplate->newDocument());
  if (!chart) return;
  chart->setTitle(stemOfTitle() + "_Focus_check");
  const TraceBatch batch(*chart);
  const auto add = [&](const char* name, const std::string& unit, double gain,
                       const std::vector<double>& values) {
    ZZTrace* trace = chart->addtrace(kDoubleCode, static_cast<uint32_t>(imageCount()));
    if (!trace) return;
    trace->period = trace->pixelperiod = 1 / imagesPerSecond();
    trace->xunits = "secs";
    trace->yunits = unit;
    trace->ygain = gain;
    trace->name = name;
    for (uint32_t i = 0; i < values.size(); ++i) trace->data->putval(i, values[i]);
  };
  const char* const names[] = {"focus1", "focus2", "focus3"};
  for (size_t i = 0; i < found.focus.size(); ++i) add(names[i], "focus", 1.0, found.focus[i]);
  add("x", unitName(), scale().x, found.offset[0]);
  add("y", unitName(), scale().y, found.offset[1]);
  ZchartDoc::giveColours(chart->traces.items, 0);
}

// --- the image

ZBasicDoc* CVivoCapDoc::averageInFocus(int32_t areas) {
  std::optional<int32_t> used;
  double sharpest = 0;
  const auto measure = [&](const CZZimage& each) {
    const double focus = focusControl.measureFocus(each);
    sharpest = std::max(sharpest, focus);
    return focus;
  };
  ZBasicDoc* made = imageOfSelection("inFocusAv", [&](CZZimage& mean) {
    used = movie->bestFocusInto(mean, measure, areas, selectionFirst, selectionLast);
    return used.has_value();
  });
  // A panorama has the average of all images beside it.
  if (made && *used == 0 && !panoramicPending) report(sharpest > 0 ? text::kNoImageInCell : text::kNoFocus);
  return made;
}

void CVivoCapDoc::averageInFocusCommand() {
  int32_t areas = std::max(2, settings.getInt("focus", "divs", 2));
  Form form("Average all in focus");
  form.add(text::kFocusAreas, areas, {2, 1000, {}});
  if (!asked(form)) return;
  settings.setInt("focus", "divs", areas);
  averageInFocus(areas);
}

}  // namespace tarnvisor
