#include "synth/fingervideo.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "base/parallel.h"
#include "base/text.h"
#include "synth/fingerblood.h"
#include "synth/fingerscene.h"
#include "synth/movedrows.h"
#include "synth/random.h"

namespace tarnvisor {

namespace {

constexpr uint64_t noiseRowStream = (1u << 25) + 1;

// One row of one colour.
struct Exposure {
  const float* window;
  const float* skin;
  const float* blood;
  const float* noise;
  float light;
  float contrast;
};

void expose(const Exposure& row, int32_t width, int32_t step, uint8_t* out) {
  for (int32_t x = 0; x < width; ++x) {
    const float level = row.light * row.window[x] * row.skin[x] * (1.0f - row.contrast * row.blood[x]);
    out[x * step] =
        static_cast<uint8_t>(static_cast<int32_t>(std::clamp(level + row.noise[x * step], 0.0f, 255.0f)));
  }
}

}  // namespace

FingerVideo::FingerVideo(const Settings& settings)
    : set(withinRange(settings)), time(std::make_unique<FingerCourse>(set)) {
  if (!canBeShown(set.still)) return;
  try {
    scene = std::make_unique<FingerScene>(set, *time);
    blood = std::make_unique<FingerBlood>(set, *scene);
    makeTruth();
  } catch (const std::bad_alloc&) {
    scene.reset();
    blood.reset();
    course.clear();
    still = {};
  }
}

FingerVideo::~FingerVideo() = default;

void FingerVideo::makeTruth() {
  std::vector<PlacedCapillary> atFirst = scene->capillaries;
  for (size_t i = 0; i < atFirst.size(); ++i) {
    atFirst[i].vessel.moveBy(-scene->marginX, -scene->marginY);
    FingerCapillary capillary{
        atFirst[i].hairpin, set.flow.velocity * blood->factors()[i], atFirst[i].vessel.course(), {0.0}};
    for (size_t k = 1; k < capillary.line.size(); ++k) {
      const double dx = capillary.line[k].x - capillary.line[k - 1].x;
      const double dy = capillary.line[k].y - capillary.line[k - 1].y;
      capillary.arc.push_back(capillary.arc.back() + std::sqrt(dx * dx + dy * dy));
    }
    course.push_back(std::move(capillary));
  }
  NailfoldStill frame = set.still;
  frame.interlace = 0;
  still = tarnvisor::truthOf(frame, atFirst, scene->dust);
}

FrameTruth FingerVideo::truthOf(int32_t frame) const {
  FrameTruth truth = time->at(std::clamp(frame, 0, set.frames - 1));
  if (blood) truth.velocities = blood->velocities(truth.velocity);
  return truth;
}

std::vector<float> FingerVideo::patternsAt(const FrameTruth& moment) const {
  std::vector<float> table(scene->patternSamples);
  const double distance = time->distance(moment.frame);
  parallelFor(static_cast<int64_t>(scene->capillaries.size()), 8, [&](int64_t begin, int64_t end) {
    for (auto i = static_cast<size_t>(begin); i < static_cast<size_t>(end); ++i)
      blood->darken(i, distance, moment.blur, table);
  });
  return table;
}

bool FingerVideo::shape(int32_t frame, CZZimage& target) const {
  const int32_t colourset = set.still.colour ? kColour : kGrey;
  const int32_t interlace = set.still.interlace ? 1 + (frame & 1) : 0;
  const int32_t rows = interlace ? set.still.height / 2 : set.still.height;
  const int32_t bytesPerPixel = set.still.colour ? 3 : 1;
  const bool fits = target.width == set.still.width && target.height == rows &&
                    target.bytesPerPixel == bytesPerPixel && target.pixels;
  if (!fits &&
      (dynamic_cast<CZZchildimage*>(&target) || !target.resizedata(set.still.width, rows, bytesPerPixel)))
    return false;
  target.colourset = colourset;
  target.interlace = interlace;
  target.frameNumber = frame;
  target.xOrigin = target.yOrigin = 0;
  return true;
}

bool FingerVideo::render(int32_t frame, CZZimage& target) const {
  if (!scene || frame < 0 || frame >= set.frames) return false;
  try {
    const FrameTruth moment = time->at(frame);
    const std::vector<float> patterns = patternsAt(moment);
    if (!shape(frame, target)) return false;
    const std::span<const Channel> channels = channelsOf(set.still);
    const auto step = static_cast<int32_t>(channels.size());
    parallelFor(target.height, 32, [&](int64_t begin, int64_t end) {
      MovedRows rows(*scene);
      rows.begin(moment, patterns);
      for (auto y = static_cast<int32_t>(begin); y < end; ++y) {
        const int32_t frameY = target.interlace ? 2 * y + target.interlace - 1 : y;
        rows.moveTo(frameY);
        Random random(scattered(set.still.seed) + static_cast<uint64_t>(frame),
                      noiseRowStream + static_cast<uint64_t>(frameY));
        const float* noise = scene->noise.data() + random.next() % FingerScene::noiseLength;
        for (int32_t c = 0; c < step; ++c) {
          const Channel& channel = channels[static_cast<size_t>(c)];
          expose({scene->window.row(frameY), rows.skin(), rows.blood(), noise + c,
                  static_cast<float>(moment.light * channel.skin),
                  static_cast<float>(set.still.contrast * channel.blood)},
                 set.still.width, step, target.row(y) + c);
        }
      }
    });
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::string FingerVideo::truthTable(int32_t first, int32_t end) const {
  std::string table = "frame,time (s),dx (pixels),dy (pixels),light,blur (pixels),velocity (um/s)\n";
  for (int32_t frame = std::max(first, 0); frame < std::min(end, set.frames); ++frame) {
    const FrameTruth t = time->at(frame);
    table += format("%d,%.6f,%.3f,%.3f,%.5f,%.3f,%.3f\n", frame, t.timeSeconds, t.dx, t.dy, t.light, t.blur,
                    t.velocity);
  }
  return table;
}

std::string FingerVideo::capillaryTable() const {
  std::string table =
      "capillary,kind,mean velocity (um/s),point,x (pixels),y (pixels),along (pixels),width (pixels)\n";
  for (size_t i = 0; i < course.size(); ++i)
    for (size_t k = 0; k < course[i].line.size(); ++k) {
      const VesselPoint& p = course[i].line[k];
      table += format("%d,%s,%.3f,%d,%.2f,%.2f,%.2f,%.2f\n", static_cast<int>(i),
                      course[i].hairpin ? "hairpin" : "on end", course[i].velocity, static_cast<int>(k), p.x,
                      p.y, course[i].arc[k], 2.0 * p.radius);
    }
  return table;
}

}  // namespace tarnvisor
