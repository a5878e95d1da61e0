#include "simulatedpicture.h"

#include <algorithm>
#include <cmath>

#include "synth/random.h"

namespace tarnvisor {

namespace {

constexpr uint64_t noiseStream = 1u << 30;
constexpr size_t noiseLength = 1u << 16;

constexpr double skinLevel = 160;
constexpr float darkLevel = 4;
constexpr float readingNoise = 0.05f;  // variance of the noise in the dark, of that at middle grey

struct Exposure {
  float level;      // of light 1
  float noise;      // deviation at middle grey and a gain of 1
  float shotNoise;  // variance that comes with each grey level, of that at middle grey
};

void expose(const Exposure& how, const float* light, const float* noise, int32_t count, uint8_t* out) {
  for (int32_t x = 0; x < count; ++x) {
    const float level = how.level * light[x];
    const float deviation = how.noise * std::sqrt(readingNoise + how.shotNoise * level);
    const float grey = darkLevel + level + deviation * noise[x] + 0.5f;
    // Half as long again with std::clamp, which becomes comparisons and masks.
    out[x] = static_cast<uint8_t>(static_cast<int32_t>(std::min(255.0f, std::max(0.0f, grey))));
  }
}

}  // namespace

SimulatedPicture::SimulatedPicture(const SimulatedCameraSettings& settings)
    : set(settings),
      skin(settings),
      light(static_cast<size_t>(settings.sensor.width)),
      other(static_cast<size_t>(settings.sensor.width)) {
  Random random(set.seed, noiseStream);
  noise.resize(noiseLength + light.size());
  for (float& value : noise) value = static_cast<float>(random.normal());
}

// A row of the picture has the light of so many rows, and columns, of the sensor.
void SimulatedPicture::readRow(int32_t row, int32_t binning) {
  if (binning == 1) return skin.light(row, light);
  skin.light(2 * row, light);
  skin.light(2 * row + 1, other);
  for (size_t x = 0; x < light.size() / 2; ++x)
    light[x] = light[2 * x] + light[2 * x + 1] + other[2 * x] + other[2 * x + 1];
}

const float* SimulatedPicture::mirrored(const float* row, int32_t count) {
  float* out = other.data();
  for (int32_t x = 0; x < count; ++x) out[x] = row[count - 1 - x];
  return out;
}

void SimulatedPicture::draw(double seconds, const SimulatedRegisters& registers, int64_t number,
                            uint8_t* out) {
  const auto binning = static_cast<int32_t>(registers[CameraRole::Binning]);
  const double gain = registers[CameraRole::Gain];
  const Exposure how{
      static_cast<float>(skinLevel * registers.lightMicroseconds() * gain / std::max(set.skinLight, 1.0)),
      static_cast<float>(set.noise), static_cast<float>(gain / 128)};
  const bool leftRight = registers.on(CameraRole::MirrorLeftRight);
  const bool upDown = registers.on(CameraRole::MirrorUpDown);
  // The area is one of the picture as it is given: its rows and columns before they are mirrored.
  const Size whole = registers.sensor();
  const Rect& area = registers.area();
  const int32_t left = leftRight ? whole.width - area.right : area.left;
  const int32_t top = upDown ? whole.height - area.bottom : area.top;
  skin.begin(seconds);
  for (int32_t y = 0; y < area.height(); ++y) {
    readRow(top + y, binning);
    Random random(scattered(set.seed) + static_cast<uint64_t>(number),
                  noiseStream + 1 + static_cast<uint64_t>(y));
    uint8_t* row = out + static_cast<ptrdiff_t>(upDown ? area.height() - 1 - y : y) * area.width();
    const float* lit = light.data() + left;
    if (leftRight) lit = mirrored(lit, area.width());
    expose(how, lit, noise.data() + random.next() % noiseLength, area.width(), row);
  }
}

}  // namespace tarnvisor
