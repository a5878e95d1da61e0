#include "synth/nailfold.h"

#include <algorithm>
#include <new>

#include "base/numbers.h"
#include "base/parallel.h"
#include "synth/layout.h"
#include "synth/tissue.h"

namespace tarnvisor {

namespace {

constexpr uint64_t noiseStream = 1u << 24;

double within(double value, double low, double high) {
  return value >= low ? std::min(value, high) : low;  // NaN becomes low
}

struct Scene {
  Plane absorption;
  Plane skin;
  Plane dust;
};

Scene sceneOf(const NailfoldStill& still, const std::vector<PlacedCapillary>& capillaries,
              const std::vector<DustSpeck>& dust) {
  Scene scene{Plane(still.width, still.height, 0.0f), skinOf(still), Plane(still.width, still.height, 1.0f)};
  for (const PlacedCapillary& capillary : capillaries) capillary.vessel.draw(scene.absorption);
  blur(scene.absorption, still.blurRadius);
  blur(scene.skin, still.blurRadius);
  drawDust(still, dust, scene.dust);
  return scene;
}

// Row y of the image shows frame row frameY.
void exposeRow(const NailfoldStill& still, const Scene& scene, int32_t frameY,
               std::span<const Channel> channels, uint8_t* out) {
  Random noise(still.seed, noiseStream + static_cast<uint64_t>(frameY));
  const float* absorption = scene.absorption.row(frameY);
  const float* skin = scene.skin.row(frameY);
  const float* dust = scene.dust.row(frameY);
  for (int32_t x = 0; x < still.width; ++x) {
    const double light = still.brightness * lightAt(still, x, frameY) * skin[x] * dust[x];
    for (const Channel& channel : channels) {
      const double passed = 1.0 - still.contrast * channel.blood * absorption[x];
      *out++ = truncatedToByte(light * channel.skin * passed + still.noiseSigma * noise.normal() + 0.5);
    }
  }
}

}  // namespace

NailfoldStill withinRange(NailfoldStill still) {
  still.vesselWidth = within(still.vesselWidth, 1.0, 200.0);
  still.loopWidth = within(still.loopWidth, 1.0, 1000.0);
  still.loopLength = within(still.loopLength, 1.0, 4000.0);
  still.contrast = within(still.contrast, 0.0, 1.0);
  still.texture = within(still.texture, 0.0, 5.0);
  still.plexus = within(still.plexus, 0.0, 0.3);
  still.brightness = within(still.brightness, 0.0, 255.0);
  still.illuminationGradient = within(still.illuminationGradient, 0.0, 2.0);
  still.vignette = within(still.vignette, 0.0, 1.0);
  still.blurRadius = within(still.blurRadius, 0.0, 64.0);
  still.noiseSigma = within(still.noiseSigma, 0.0, 255.0);
  return still;
}

bool canBeShown(const NailfoldStill& still) {
  constexpr int32_t longestSide = 4096;
  const auto allowed = [](int32_t side) { return side >= 1 && side <= longestSide; };
  return allowed(still.width) && allowed(still.height) && still.interlace >= 0 && still.interlace <= 2;
}

NailfoldTruth truthOf(const NailfoldStill& still, const std::vector<PlacedCapillary>& capillaries,
                      const std::vector<DustSpeck>& dust) {
  const bool field = still.interlace != 0;
  const auto ownRow = [&](double y) { return field ? (y - (still.interlace - 1)) * 0.5 : y; };
  NailfoldTruth truth;
  for (const auto& [vessel, hairpin] : capillaries) {
    const VesselBox box = vessel.box();
    truth.capillaries.push_back({vessel.apexX(), ownRow(vessel.apexY()), 2.0 * vessel.apexRadius(), hairpin,
                                 box.left, ownRow(box.top), box.right, ownRow(box.bottom)});
  }
  for (const DustSpeck& speck : dust) truth.dust.push_back({speck.x, ownRow(speck.y), speck.radius});
  truth.areaPixels = static_cast<double>(still.width) * (field ? still.height / 2 : still.height);
  return truth;
}

std::unique_ptr<CZZimage> renderNailfold(const NailfoldStill& wanted, NailfoldTruth& truth) {
  const NailfoldStill still = withinRange(wanted);
  truth = {};
  if (!canBeShown(still)) return nullptr;
  try {
    auto image = std::make_unique<CZZimage>(still.width, still.height, -1, still.interlace,
                                            still.colour ? kColour : kGrey);
    if (image->empty()) return nullptr;
    const std::vector<PlacedCapillary> capillaries = layOutCapillaries(still);
    const std::vector<DustSpeck> dust = scatterDust(still);
    const Scene scene = sceneOf(still, capillaries, dust);
    const std::span<const Channel> channels = channelsOf(still);
    parallelFor(image->height, 32, [&](int64_t begin, int64_t end) {
      for (auto y = static_cast<int32_t>(begin); y < end; ++y)
        exposeRow(still, scene, still.interlace ? 2 * y + still.interlace - 1 : y, channels, image->row(y));
    });
    truth = truthOf(still, capillaries, dust);
    return image;
  } catch (const std::bad_alloc&) {
    truth = {};
    return nullptr;
  }
}

}  // namespace tarnvisor
