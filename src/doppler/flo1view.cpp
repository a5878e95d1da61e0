#include "doppler/flo1view.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "app/asked.h"
#include "base/text.h"
#include "doppler/dopplerinput.h"

namespace tarnvisor {

namespace {

constexpr int32_t kWatchTimer = 10003, kWatchMs = 500;
constexpr double kSecondsShown = 20;

}  // namespace

Cflo1View::Cflo1View(Cflo1Doc& shown)
    : ZcommonFLOView(shown), live(shown), watch(theApp().loop, kWatchTimer) {
  if (!theApp().flo1View) theApp().flo1View = this;
}

Cflo1View::~Cflo1View() {
  if (theApp().flo1View == this) theApp().flo1View = nullptr;
}

void Cflo1View::start() { live.runSource(); }
void Cflo1View::stop() { live.stopSource(); }

// Blocks that were lost are seen by their numbers.
void Cflo1View::takeSamples(std::span<const int16_t> samples) {
  const DopplerInput* input = dopplerInput();
  const auto blocks = static_cast<int64_t>(samples.size() / FLO1::kSamplesTaken);
  const int64_t number = input ? input->flo1.blockNumber() : lastNumber + blocks;
  int64_t lost = std::max<int64_t>(0, number - lastNumber - blocks);
  lastNumber = number;
  for (; samples.size() >= FLO1::kSamplesTaken && live.running;
       samples = samples.subspan(FLO1::kSamplesTaken)) {
    live.takeBlock(samples.first(FLO1::kSamplesTaken), lost);
    lost = 0;
  }
}

void Cflo1View::onUpdate(Change what) {
  ZcommonFLOView::onUpdate(what);
  const bool runs = live.running != 0;
  if (runs) keepInSight();
  if (runs == wasRunning) return;
  wasRunning = runs;
  if (!runs) {
    watch.stop();
    if (isUnattended()) fit();  // for pictures, which show all of it
    return;
  }
  lastNumber = -1;
  watch.start(kWatchMs, [this] { site().panesChanged(); });
  showNewest();
}

// Spectra fill their place up to the bandwidth. Samples that leave theirs get a larger one.
void Cflo1View::keepInSight() {
  constexpr uint32_t kNewest = 512;
  for (ZZTrace* trace : shownTraces()) {
    CScreenTrace& screen = screenTrace(*trace);
    if (const C2DTrace* rows = rowsOf(trace)) {
      const double extent = rows->extent(rows->ringadd(rows->origin, -1)) * std::abs(rows->ygain);
      if (extent > 0 && extent != std::exchange(shownExtent, extent)) screen.selfScale();
      continue;
    }
    bool leaves = false;
    for (uint32_t back = 1; back <= std::min(kNewest, trace->size()); ++back) {
      const double value = trace->displayed(trace->data->at(trace->ringadd(trace->origin, -int64_t{back})));
      leaves = leaves || value < screen.OS || value > screen.OS + screen.FS;
    }
    if (leaves) screen.selfScale();
  }
}

// The newest sample stands at the right end, and the rest moves on to the left.
void Cflo1View::showNewest() {
  const Span all = span();
  const double wanted = kSecondsShown / std::max(1, plotArea().width());
  if (wanted < secondsPerColumn) zoomTime(wanted / secondsPerColumn, all.last);
  scrollTo({contentSize().width, scrollPosition().y});
}

std::vector<StatusPane> Cflo1View::panes() const {
  std::vector<StatusPane> texts = ZcommonFLOView::panes();
  texts.push_back({"bandwidth", live.bandwidthWords()});
  texts.push_back({"range", live.isOverRange() ? "over range" : ""});
  texts.push_back({"spread", live.spreadWords()});
  const DopplerInput* input = dopplerInput();
  const int64_t lost = input ? input->flo1.blocksLost() : 0;
  texts.push_back({"lost", lost > 0 ? format("%lld blocks lost", static_cast<long long>(lost)) : ""});
  return texts;
}

}  // namespace tarnvisor
