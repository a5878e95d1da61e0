// How right movement correction is: shares of frames whose offset is exact, within one pixel, or that failed,
// and the rms of the fractions, on simulated video whose movement is known, by method and camera noise. With
// the folder of the recorded pictures as argument (or in TARNVISOR_TEST_DATA) also on a real nailfold that
// was moved along a known path.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "analysis/movement.h"
#include "base/files.h"
#include "synth/fingervideo.h"
#include "synth/random.h"

namespace tarnvisor {
namespace {

constexpr int32_t kFrames = 150;

struct Place {
  double x = 0, y = 0;
};

struct Kind {
  const char* name;
  double grid;  // places are multiples of it
  bool flows;
};
constexpr Kind kKinds[] = {
    {"whole pixels", 1.0, false}, {"whole pixels, flow", 1.0, true}, {"half pixels", 0.5, false}};

// Sway and tremor of a hand that jumps once.
Place placeOf(int32_t frame, double grid) {
  const auto tremor = [&](uint64_t axis) {
    return static_cast<double>(scattered(2 * static_cast<uint64_t>(frame) + axis) % 5) / 2 - 1;
  };
  const auto onGrid = [&](double v) { return std::round(v / grid) * grid; };
  const double jump = frame >= 2 * kFrames / 3 ? 14 : 0;
  if (frame == 0) return {};
  return {onGrid(6 * std::sin(frame / 7.0) + tremor(0) + jump),
          onGrid(4 * std::sin(frame / 11.0) + tremor(1))};
}

// In memory; `places` is filled with where the skin lies in each frame.
bool simulate(CZZMovie& movie, const Kind& kind, double sigma, std::vector<Place>& places) {
  FingerVideo::Settings set = flowingFinger(1);
  set.frames = kFrames;
  set.still.noiseSigma = sigma;
  set.flow.velocity = kind.flows ? 400 : 0;
  for (int32_t i = 1; i < kFrames; ++i) {
    const Place now = placeOf(i, kind.grid), before = placeOf(i - 1, kind.grid);
    set.movement.jumps.push_back({i, now.x - before.x, now.y - before.y});
  }
  const FingerVideo video(set);
  if (!movie.record(kFrames, "", 0, 0, video.settings().still.width, video.settings().still.height, false))
    return false;
  CZZimage image;
  for (int32_t i = 0; i < kFrames; ++i) {
    if (!video.render(i, image)) return false;
    if (movie.addFrame(image, 0) < 0 && i + 1 < kFrames) return false;
    places.push_back({video.truthOf(i).dx, video.truthOf(i).dy});
  }
  movie.stopRecording();
  return true;
}

void run(CZZMovie& movie, AMCparams& params) {
  params.subPixel = true;
  params.start = 0;
  params.end = -1;
  params.limit = params.newRgnOld == kOriginal ? params.limit : params.amclimit2;
  windowFor(params, movie.frameAt(0));
  if (params.newRgnOld == kFastWhole) params.regions = {params.refRect};
  if (params.newRgnOld == kFastRegions) {
    // A quarter of the image round each of four places, as a user draws them.
    const Rect& r = params.refRect;
    const int32_t w = r.width() / 2, h = r.height() / 2;
    for (const Point p : {Point{0, 0}, {w, 0}, {0, h}, {w, h}})
      params.regions.push_back({r.left + p.x, r.top + p.y, r.left + p.x + w - 8, r.top + p.y + h - 8});
    params.regionImages.assign(params.regions.size(), 0);
  }
  beginAMC(movie, params);
  while (stepAMC(movie, params)) {
  }
  endAMC(movie, params);
  if (!params.trouble.empty()) std::printf("%s\n", params.trouble.c_str());
}

// Against the places, which offsets undo.
void report(const char* name, const std::vector<MovementRecord>& records, const std::vector<Place>& places) {
  int32_t exact = 0, near = 0, failed = 0, known = 0;
  double squares = 0, worst = 0;
  for (size_t i = 1; i < records.size() && i < places.size(); ++i) {
    const MovementRecord& first = records.front();
    const MovementRecord& r = records[i];
    const double x = places[0].x - places[i].x, y = places[0].y - places[i].y;
    const Point found = r.offset - first.offset;
    const double off = std::max(std::abs(found.x - x), std::abs(found.y - y));
    worst = std::max(worst, off);
    exact += off <= 0.5;  // of two whole pixels that are equally near, either is right
    near += off <= 1;
    failed += !r.aligned;
    if (!r.subPixel.isKnown()) continue;
    ++known;
    squares +=
        std::pow(r.subPixel.x - first.subPixel.x - x, 2) + std::pow(r.subPixel.y - first.subPixel.y - y, 2);
  }
  const double all = static_cast<double>(std::min(records.size(), places.size())) - 1;
  std::printf(
      "  %-26s exact %5.1f %%, within one pixel %5.1f %% (worst %5.2f), failed %4.1f %%, fraction rms %.3f\n",
      name, 100 * exact / all, 100 * near / all, worst, 100 * failed / all,
      std::sqrt(squares / std::max(2 * known, 1)));
}

void forgetOffsets(CZZMovie& movie) {
  for (int32_t i = 0; i < movie.count; ++i) movie.setOrigin(i, {});
}

struct Way {
  const char* name;
  int32_t method;
  double threshold;  // 0: the automatic one
};
// The automatic threshold is taken at one eighth scale, where noise has mostly gone: noisy video needs one
// that was set.
constexpr Way kWays[] = {{"fast, automatic threshold", kFastWhole, 0},
                         {"fast, threshold 15", kFastWhole, 15},
                         {"fast, threshold 40", kFastWhole, 40},
                         {"regions, threshold 40", kFastRegions, 40},
                         {"original", kOriginal, 0}};

void simulated() {
  for (const Kind& kind : kKinds)
    for (const double sigma : {0.0, 5.0, 8.0, 10.0, 20.0}) {
      CZZMovie movie;
      std::vector<Place> places;
      if (!simulate(movie, kind, sigma, places)) std::abort();
      std::printf("%s, sigma %g\n", kind.name, sigma);
      for (const Way& way : kWays) {
        forgetOffsets(movie);
        AMCparams params;
        params.newRgnOld = way.method;
        params.threshold = way.threshold;
        if (way.threshold > 0) params.thresholdsq = way.threshold * way.threshold;
        run(movie, params);
        report(way.name, params.records, places);
      }
    }
}

void recorded(const std::string& folder) {
  std::ifstream truth(folder + "jitter-truth.csv");
  std::string line;
  std::getline(truth, line);
  std::vector<Place> places;
  // The window's place: the skin lies the other way.
  for (Place p; std::getline(truth, line) && std::sscanf(line.c_str(), "%*d,%lf,%lf", &p.x, &p.y) == 2;)
    places.push_back({-p.x, -p.y});
  // The log goes beside the movie, and that folder is not ours.
  const TemporaryFolder own("accuracy");
  const std::string copy = own.file("jitter.avi");
  CZZMovie movie;
  if (places.empty() || !copyFile(folder + "jitter-640x480-30fps.avi", copy) || !movie.open(copy)) {
    std::printf("%s: no recorded video of known movement\n", folder.c_str());
    return;
  }
  // Half of each side shows too little of this one: a share of false matches is as good as the true ones.
  for (const double window : {50.0, 70.0, 80.0})
    for (const int32_t method : {kFastWhole, kOriginal}) {
      forgetOffsets(movie);
      AMCparams params;
      params.newRgnOld = method;
      params.ref = params.window = window;
      run(movie, params);
      std::printf("recorded nailfold, window %g %%\n", window);
      report(method == kFastWhole ? "fast, automatic threshold" : "original", params.records, places);
    }
}

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) {
  const char* named = argc > 1 ? argv[1] : std::getenv("TARNVISOR_TEST_DATA");
  if (named) tarnvisor::recorded(tarnvisor::withSeparator(named) + "nailfold-still/");
  tarnvisor::simulated();
  return 0;
}
