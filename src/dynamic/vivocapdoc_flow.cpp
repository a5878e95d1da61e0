// Commands that measure flow.
#include <new>

#include "app/asked.h"
#include "app/processstate.h"
#include "archive/archive.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "flowrun.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "settings/settings.h"
#include "vectors/fft.h"

namespace tarnvisor {

namespace {

void fillFrom(CZZimage& image, const uint8_t* pixels) {
  for (int32_t y = 0; y < image.height; ++y, pixels += image.width)
    std::copy_n(pixels, image.width, image.row(y));
}

}  // namespace

// Reads the grey levels of so many images one after the other, rows without gaps.
class CVivoCapDoc::BlockJob : public Job {
 public:
  using Block = std::vector<uint8_t>;
  BlockJob(CVivoCapDoc& video, int32_t firstImage, int32_t images, std::function<void(Block)> whenRead)
      : doc(video), first(firstImage), count(images), after(std::move(whenRead)) {}
  std::string title() const override { return "Reading images"; }
  Progress progress() const override { return {title(), at, count}; }
  bool step() override {
    CZZMovie& movie = *doc.movie;
    const CZZimage& form = movie.form();
    const auto wide = static_cast<size_t>(form.width), bytes = wide * static_cast<size_t>(form.height);
    if (block.empty()) block.resize(bytes * static_cast<size_t>(count));
    movie.getImage(first + at, each);
    if (!movie.hasRead()) throw ArchiveException(format("image %i can't be read", first + at));
    uint8_t* to = block.data() + bytes * static_cast<size_t>(at);
    for (int32_t y = 0; y < form.height; ++y, to += wide) std::copy_n(each.row(y), wide, to);
    return ++at < count;
  }
  void end(bool cancelled) override {
    const WaitScope wait;
    if (!cancelled) after(std::move(block));
  }

 private:
  CVivoCapDoc& doc;
  int32_t first, count, at = 0;
  std::function<void(Block)> after;
  CZZimage each;
  Block block;
};

ZBasicDoc* CVivoCapDoc::openImage(std::unique_ptr<CZZimage> pixels, const std::string& suffix) {
  ZBasicDoc* made = duplicate("");
  if (!made) return nullptr;
  made->takeImage(std::move(pixels));
  made->setTitle(stemOfTitle() + suffix);
  made->updateAllViews();
  return made;
}

void CVivoCapDoc::adoptMovie(std::unique_ptr<CZZMovie> made, TemporaryFile file, double framesPerSecond) {
  movie = std::move(made);
  unsavedMovie = std::move(file);
  dropUnsavedVersions();
  fps = framesPerSecond;
  movieChanged();
  updatePlayPeriod();
  giveRate();
  setModified();
  updateAllViews();
}

bool CVivoCapDoc::canMeasureFlow() const { return hasMovie() && process.fcfTemplate; }

void CVivoCapDoc::calculateFcf() {
  if (!canMeasureFlow() || isBusy()) return;
  int32_t frames = 0;
  Form form("Functional Capillary Flow");
  form.add(text::kFramesPerFcd, frames, {.low = -1, .wrong = text::kNoRange});
  // Stored as text: what is no number of images is proposed as 0, which nobody means.
  (void)form.fields().front().take(settings.getString("FCF", "frames", "16"));
  if (!asked(form)) return;
  if (frames >= 0 && frames < FlowRange::kFewestImages) return report(text::kNoRange);
  settings.setInt("FCF", "frames", frames);
  auto run = std::make_unique<FlowRun>(*this, frames);
  if (run->prepare()) start(std::move(run));
}

void CVivoCapDoc::speedByRms() {
  double threshold = settings.getDouble("fcf", "rmsthreshold", 2.0),
         gain = settings.getDouble("fcf", "rmsgain", 5.0);
  Form form("Speed by rms");
  form.add("threshold", threshold, {0, 1e6, {}}).add("gain", gain, {1e-6, 1e9, {}});
  if (!asked(form)) return;
  settings.setDouble("fcf", "rmsthreshold", threshold);
  settings.setDouble("fcf", "rmsgain", gain);
  auto run = std::make_unique<SpeedRun>(*this, threshold, gain);
  if (run->prepare()) start(std::move(run));
}

void CVivoCapDoc::rmsSequence() {
  if (theImage()->colourset != kGrey) return report(text::kGreyOnly);
  const CZZMovie::Range range = selection();
  makeImage(std::make_unique<MovieDeviation>(*movie, range.first, range.last),
            format("rms%1ito%1i", range.first, range.last));
}

// Whether spectra of twice so many images can be had from one on; the user is told why not.
bool CVivoCapDoc::hasImagesForFft(int32_t points, int32_t from) {
  std::string why;
  if (theImage()->colourset != kGrey)
    why = text::kGreyOnly;
  else if (CFFT::exponentOf(points) < 0)
    why = format("%i is no power of 4 from 4 to 4096.", points);
  else if (imageCount() - from < 2 * points)
    why = format("%i points need %i images from image %i on; there are %i.", points, 2 * points, from,
                 imageCount() - from);
  if (!why.empty()) report(why);
  return why.empty();
}

void CVivoCapDoc::fftPerPixel() {
  int32_t points = settings.getInt("FCF", "nfftpts", 16);
  Form form("FFT per pixel sequence");
  form.add(text::kFftPointsOfPixel, points);
  if (!asked(form) || !hasImagesForFft(points, currentIndex())) return;
  start(std::make_unique<BlockJob>(*this, currentIndex(), 2 * points,
                                   [this, points, from = currentIndex()](std::vector<uint8_t> block) {
                                     makeFftMovie(std::move(block), points, from);
                                   }));
}

void CVivoCapDoc::makeFftMovie(std::vector<uint8_t> block, int32_t points, int32_t from) {
  if (!tarnvisor::fftPerPixel(block, points)) return report(text::kNoMemory);
  const size_t pixels = block.size() / (2 * static_cast<size_t>(points));
  makeMovie(
      format("FFT of %i points per pixel from image %i", points, from),
      rewritePlan(formLike(movie->image()), movie->count,
                  [movie = movie.get(), points, pixels, block = std::move(block)](int32_t k, CZZimage& made) {
                    movie->getImage(k, made);
                    if (k < 2 * points - 1) fillFrom(made, block.data() + pixels * static_cast<size_t>(k));
                    return true;
                  }));
}

void CVivoCapDoc::fluxConcSpeed() {
  SpectralFlow with;
  with.n = settings.getInt("FCF", "nfftpts", 16);
  with.threshold = settings.getDouble("FCF", "fluxthreshold", 0.1);
  with.lowCutoff = settings.getInt("FCF", "LFcutoff", 1);
  with.highCutoff = settings.getInt("FCF", "Hfcutoff", 16);
  Form form("Functional Capillary Flow");
  form.add(text::kFftPoints, with.n)
      .add(text::kMovementLevel, with.threshold)
      .add(text::kLowCutoff, with.lowCutoff)
      .add(text::kHighCutoff, with.highCutoff);
  if (!asked(form)) return;
  settings.setInt("FCF", "nfftpts", with.n);
  settings.setDouble("FCF", "fluxthreshold", with.threshold);
  settings.setInt("FCF", "LFcutoff", with.lowCutoff);
  settings.setInt("FCF", "Hfcutoff", with.highCutoff);
  if (!hasImagesForFft(with.n, 0)) return;
  start(std::make_unique<BlockJob>(*this, 0, 2 * with.n, [this, with](const std::vector<uint8_t>& block) {
    openFluxConcSpeed(block, with);
  }));
}

void CVivoCapDoc::openFluxConcSpeed(const std::vector<uint8_t>& block, const SpectralFlow& with) {
  const size_t pixels = block.size() / (2 * static_cast<size_t>(with.n));
  std::vector<uint8_t> flux(pixels), conc(pixels), speed(pixels);
  if (!tarnvisor::fluxConcSpeed(block, with, flux.data(), conc.data(), speed.data()))
    return report(text::kNoMemory);
  const std::string name = "FCF_of_" + stemOfTitle();
  const std::pair<const std::vector<uint8_t>*, const char*> images[] = {
      {&flux, "-flux"}, {&conc, "-conc"}, {&speed, ""}};
  for (const auto& [values, suffix] : images) {
    auto picture = std::make_unique<CZZimage>();
    movie->getImage(0, *picture);
    fillFrom(*picture, values->data());
    if (ZBasicDoc* made = openImage(std::move(picture), "")) made->setTitle(name + suffix);
  }
}

}  // namespace tarnvisor
