#include "doppler/flo1view.h"

#include <algorithm>

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
  if (runs == wasRunning) return;
  wasRunning = runs;
  if (!runs) return watch.stop();
  lastNumber = -1;
  watch.start(kWatchMs, [this] { site().panesChanged(); });
  showNewest();
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
