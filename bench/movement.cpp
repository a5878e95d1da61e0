// How fast movement correction is on frames of 1280 x 1024 from a .mve, reading them included: frames a
// second and the slowest frame of the fast method with and without fractions, with regions, and of the
// Original method; the exhaustive search at one eighth scale; the parts of a step. Beside them OpenCV's ways
// to the same answer, on the same frames in the same run.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#ifdef HAS_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include "analysis/movement.h"
#include "base/files.h"
#include "base/parallel.h"
#include "synth/fingervideo.h"
#include "timing.h"

namespace tarnvisor {
namespace {

using bench::median;
using bench::milliseconds;

constexpr int32_t kWidth = 1280, kHeight = 1024, kFrames = 200;

// A hand that sways, trembles and jumps.
bool makeVideo(const std::string& path) {
  FingerVideo::Settings set = shakingFinger(3);
  set.still.width = kWidth;
  set.still.height = kHeight;
  set.still.noiseSigma = 3;
  set.frames = kFrames;
  const FingerVideo video(set);
  CZZMovie movie;
  if (!movie.record(kFrames, path, 0, 0, kWidth, kHeight, false)) return false;
  CZZimage image;
  for (int32_t i = 0; i < kFrames; ++i)
    if (!video.render(i, image) || (movie.addFrame(image, 0) < 0 && i + 1 < kFrames)) return false;
  movie.stopRecording();
  return true;
}

struct Way {
  const char* name;
  int32_t method;
  int32_t regions;  // of 120 x 120, in rows
  bool fractions;
  int32_t frames;
};

// Milliseconds of each step.
std::vector<double> run(const std::string& path, const Way& way) {
  CZZMovie movie;
  if (!movie.open(path)) std::abort();
  AMCparams params;
  params.newRgnOld = way.method;
  params.subPixel = way.fractions;
  params.start = 0;
  params.end = way.frames;
  params.threshold = 15;
  params.thresholdsq = 225;
  windowFor(params, movie.frameAt(0));
  if (way.method == kFastWhole) params.regions = {params.refRect};
  for (int32_t i = 0; i < way.regions; ++i)
    params.regions.push_back(Rect{0, 0, 120, 120}.offsetBy(200 + i % 4 * 200, 200 + i / 4 * 200));
  params.regionImages.assign(static_cast<size_t>(way.regions), 0);
  beginAMC(movie, params);
  std::vector<double> times;
  for (bool goesOn = true; goesOn;) times.push_back(milliseconds([&] { goesOn = stepAMC(movie, params); }));
  endAMC(movie, params);
  return times;
}

void report(const char* name, const std::vector<double>& times) {
  double all = 0;
  for (const double time : times) all += time;
  std::printf("%-44s %8.1f frames/s, median %7.3f ms, slowest %7.3f ms\n", name,
              1000 * static_cast<double>(times.size()) / all, median(times),
              *std::max_element(times.begin(), times.end()));
}

void readAlone(const std::string& path) {
  CZZMovie movie;
  if (!movie.open(path)) std::abort();
  std::vector<double> times;
  for (int32_t i = 1; i < kFrames; ++i) times.push_back(milliseconds([&] { movie.frameAt(i); }));
  report("reading alone", times);
}

void exhaustive(const std::string& path) {
  CZZMovie movie;
  if (!movie.open(path)) std::abort();
  AMCparams params;
  windowFor(params, movie.frameAt(0));
  params.regions = {params.refRect};
  CZZimage image;
  std::unique_ptr<CZZimage> half, quarter;
  movie.getImage(0, image);
  if (!reduceThrice(image, params.baseHalf, params.baseQuarter, params.baseEighth)) std::abort();
  movie.getImage(1, image);
  if (!reduceThrice(image, half, quarter, params.eighth)) std::abort();
  std::vector<double> times;
  Point best;
  for (int32_t i = 0; i < 20; ++i)
    times.push_back(milliseconds([&] { fullErrorMap(params, *params.eighth, best); }));
  report("exhaustive search at one eighth scale", times);
}

#ifdef HAS_OPENCV
void peers(const std::string& path) {
  cv::setNumThreads(1);
  CZZMovie movie;
  if (!movie.open(path)) std::abort();
  CZZimage first;
  movie.getImage(0, first);
  const cv::Mat base(kHeight, kWidth, CV_8U, first.pixels, static_cast<size_t>(first.stride));
  cv::Mat baseFloat, imageFloat, window, errors;
  base.convertTo(baseFloat, CV_32F);
  cv::createHanningWindow(window, baseFloat.size(), CV_32F);
  const cv::Rect centre(kWidth / 4, kHeight / 4, kWidth / 2, kHeight / 2);
  constexpr int32_t kReach = 64;
  const cv::Rect around(centre.x - kReach, centre.y - kReach, centre.width + 2 * kReach,
                        centre.height + 2 * kReach);
  std::vector<double> phase, match;
  for (int32_t i = 1; i < 20; ++i) {
    const auto shown = [&] {
      const CZZimage& image = movie.frameAt(i);
      return cv::Mat(kHeight, kWidth, CV_8U, image.pixels, static_cast<size_t>(image.stride));
    };
    phase.push_back(milliseconds([&] {
      shown().convertTo(imageFloat, CV_32F);
      cv::phaseCorrelate(baseFloat, imageFloat, window);
    }));
    match.push_back(milliseconds([&] {
      cv::matchTemplate(shown()(around), base(centre), errors, cv::TM_SQDIFF);
      cv::minMaxLoc(errors, nullptr, nullptr);
    }));
  }
  report("OpenCV phaseCorrelate", phase);
  report("OpenCV matchTemplate, centre, 64 pixels", match);
}
#else
void peers(const std::string&) { std::printf("OpenCV is not installed: nothing to compare with\n"); }
#endif

}  // namespace
}  // namespace tarnvisor

int main() {
  using namespace tarnvisor;
  const TemporaryFolder folder("movement");
  const std::string path = folder.file("v.mve");
  if (!makeVideo(path)) {
    std::printf("no room for a video of %d frames\n", kFrames);
    return 1;
  }
  setParallelThreads(1);
  readAlone(path);
  for (const Way& way :
       {Way{"fast method", kFastWhole, 0, false, kFrames},
        Way{"fast method with fractions", kFastWhole, 0, true, kFrames},
        Way{"4 regions", kFastRegions, 4, false, kFrames},
        Way{"16 regions", kFastRegions, 16, false, kFrames}, Way{"Original method", kOriginal, 0, false, 6}})
    report(way.name, run(path, way));
  exhaustive(path);
  peers(path);
  return 0;
}
