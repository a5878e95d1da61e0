// How sharp the images are: a chart along the video, and one image of the sharpest.
#include <algorithm>
#include <array>

#include "analysis/autofocus.h"
#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "charts/chartdoc.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "movie/movieimage.h"
#include "settings/settings.h"

namespace tarnvisor {

// --- the chart

class CVivoCapDoc::FocusJob : public Job {
 public:
  explicit FocusJob(CVivoCapDoc& video) : doc(video), range(video.selection()) {
    control.loadSettings();
    control.on = 1;
    // Without a region the middle of a frame that has not moved: one place on the skin for all images.
    const CZZimage& form = doc.movie->form();
    const Point origin = form.frameOrigin();
    control.box = doc.roi.isEmpty() ? control.boxOf(form).offsetBy(-origin.x, -origin.y) : doc.roi;
  }
  std::string title() const override { return "Focus check video"; }
  Progress progress() const override { return {"Measuring the focus", done(), range.size()}; }
  bool step() override {
    if (done() >= range.size()) return false;
    CZZMovie& movie = *doc.movie;
    movie.getImage(range.first + done(), each);
    unread += !movie.hasRead();
    if (!movie.hasRead() || !each.convertToGrey()) each.reset();  // once for all measures
    liesInside = liesInside || !each.clipToImage(control.boxOf(each)).isEmpty();
    control.method = autofocuscontrol::kGradient;
    for (std::vector<double>& values : focus) {
      values.push_back(control.measureFocus(each));
      control.method <<= 1;
    }
    offset[0].push_back(each.frameOrigin().x);
    offset[1].push_back(each.frameOrigin().y);
    return done() < range.size();
  }
  void end(bool cancelled) override {
    if (cancelled) return;
    if (unread > 0) doc.report(format(text::kUnreadImages, unread));
    if (liesInside)
      showChart();
    else
      doc.report(text::kRegionOutside);
  }

 private:
  int32_t done() const { return static_cast<int32_t>(offset[0].size()); }
  void showChart();
  CVivoCapDoc& doc;
  CZZMovie::Range range;
  autofocuscontrol control;
  CZZimage each;
  std::array<std::vector<double>, 3> focus;  // by each measure alone
  std::array<std::vector<double>, 2> offset;
  bool liesInside = false;
  int32_t unread = 0;
};

void CVivoCapDoc::FocusJob::showChart() {
  auto* chart = dynamic_cast<ZchartDoc*>(process.reviewTemplate->newDocument());
  if (!chart) return;
  chart->setTitle(doc.stemOfTitle() + "_Focus_check");
  const TraceBatch batch(*chart);
  const auto add = [&](const char* name, const std::string& unit, double gain,
                       const std::vector<double>& values) {
    ZZTrace* trace = chart->addtrace(kDoubleCode, static_cast<uint32_t>(doc.imageCount()));
    if (!trace) return;
    trace->period = trace->pixelperiod = 1 / doc.imagesPerSecond();
    trace->xunits = "secs";
    trace->yunits = unit;
    trace->ygain = gain;
    trace->name = name;
    for (uint32_t i = 0; i < values.size(); ++i) trace->data->putval(i, values[i]);
  };
  const char* const names[] = {"focus1", "focus2", "focus3"};
  for (size_t i = 0; i < focus.size(); ++i) add(names[i], "focus", 1.0, focus[i]);
  add("x", doc.unitName(), doc.scale().x, offset[0]);
  add("y", doc.unitName(), doc.scale().y, offset[1]);
  ZchartDoc::giveColours(chart->traces.items, 0);
}

void CVivoCapDoc::focusCheck() {
  if (process.reviewTemplate) start(std::make_unique<FocusJob>(*this));
}

// --- the image

void CVivoCapDoc::averageInFocus(AfterImage after) {
  if (!hasMovie()) return;
  auto averaging = std::make_unique<MovieSharpest>(
      *movie, [control = focusControl](const CZZimage& each) mutable { return control.measureFocus(each); },
      selectionFirst, selectionLast);
  // Of the job, which tells its end before it goes.
  const MovieSharpest& found = *averaging;
  makeAverage(std::move(averaging), "inFocusAv",
              [this, &found, after = std::move(after)](ZBasicDoc* made, bool cancelled) {
                // A panorama has the average of all images beside it.
                if (made && found.framesUsed() == 0 && !panoramicPending)
                  report(found.hasFocus() ? text::kNoImageInCell : text::kNoFocus);
                if (after) after(made, cancelled);
              });
}

// Where the movement was corrected the mean has a border that not all images show: nothing is looked for
// there.
void CVivoCapDoc::findNailfoldLoops() {
  if (const std::string why = objectionToLoops(); !why.empty()) return report(why);
  const Size each{movie->form().width, movie->form().frameHeight()};
  auto averaging = std::make_unique<MovieSharpest>(
      *movie, [control = focusControl](const CZZimage& one) mutable { return control.measureFocus(one); },
      selectionFirst, selectionLast, MovieSharpest::Choice::SharperHalf);
  makeAverage(std::move(averaging), "sharpAv", [each](ZBasicDoc* made, bool cancelled) {
    if (!made || cancelled) return;
    const Rect whole = made->theImage()->frameRect();
    const Rect common{whole.right - each.width, whole.bottom - each.height, whole.left + each.width,
                      whole.top + each.height};
    if (common != whole) made->setRoi(common);
    made->findNailfoldLoops();
    if (!made->pathName().empty()) made->save();  // it was saved unasked
  });
}

// The number of areas changes nothing: cells have half the size of an image.
void CVivoCapDoc::averageInFocusCommand() {
  int32_t areas = std::max(2, settings.getInt("focus", "divs", 2));
  Form form("Average all in focus");
  form.add(text::kFocusAreas, areas, {2, 1000, {}});
  if (!asked(form)) return;
  settings.setInt("focus", "divs", areas);
  averageInFocus();
}

}  // namespace tarnvisor
