#include "synth/tissue.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/parallel.h"

namespace tarnvisor {

namespace {

// Streams of chance; the capillaries use the small numbers.
enum Stream : uint64_t { plexusStream = 1u << 20, dustStream, dustEdgeStream, textureStream };

constexpr int64_t rowGrain = 32;

struct Texture {
  double cellWidth, cellHeight, amplitude;
};
// Pigment and blood in the skin, the creases that run along the fold, and grain.
constexpr std::array textures{
    Texture{340, 230, 0.035}, Texture{130, 90, 0.018}, Texture{70, 15, 0.012},
    Texture{21, 8, 0.014},    Texture{9, 5, 0.013},    Texture{3.5, 2.7, 0.016},
};

class Plexus {
 public:
  explicit Plexus(const NailfoldStill& still) : depth(still.plexus) {
    Random random(still.seed, plexusStream);
    for (size_t i = 0; i < veins.size(); ++i)
      veins[i] = {(0.42 + 0.22 * static_cast<double>(i) + random.between(-0.05, 0.05)) * still.height,
                  random.between(0.035, 0.055) * still.height,
                  ValueNoise(still.seed, plexusStream + 100 + i, 0.22 * still.width, 1.0)};
    wander = 0.06 * still.height;
  }
  // Share of the light that is taken.
  double at(double x, double y) const {
    double taken = 0;
    for (const Vein& vein : veins) {
      const double u = (y - vein.y - wander * vein.course.at(x, 0.0)) / vein.halfWidth;
      if (u * u < 1.0) taken += depth * (0.6 + 0.4 * vein.course.at(x, 7.0)) * (1.0 - u * u) * (1.0 - u * u);
    }
    return taken;
  }

 private:
  struct Vein {
    double y = 0;
    double halfWidth = 1;
    ValueNoise course{0, 0, 1, 1};
  };
  double depth;
  double wander = 0;
  std::array<Vein, 3> veins;
};

std::vector<float> gaussianHalf(double sigma) {
  const int n = static_cast<int>(std::ceil(3.5 * sigma));
  std::vector<double> half(static_cast<size_t>(n) + 1);
  double sum = 0;
  for (int i = 0; i <= n; ++i) {
    half[static_cast<size_t>(i)] = expMinus(0.5 * i * i / (sigma * sigma));
    sum += half[static_cast<size_t>(i)] * (i ? 2.0 : 1.0);
  }
  std::vector<float> kernel;
  kernel.reserve(half.size());
  for (const double k : half) kernel.push_back(static_cast<float>(k / sum));
  return kernel;
}

void blurRows(Plane& plane, const std::vector<float>& kernel) {
  const auto n = static_cast<int32_t>(kernel.size()) - 1;
  parallelFor(plane.height, rowGrain, [&](int64_t begin, int64_t end) {
    std::vector<float> line(static_cast<size_t>(plane.width) + 2 * static_cast<size_t>(n));
    for (int64_t y = begin; y < end; ++y) {
      float* row = plane.row(static_cast<int32_t>(y));
      std::fill_n(line.begin(), n, row[0]);
      std::copy_n(row, plane.width, line.begin() + n);
      std::fill_n(line.begin() + n + plane.width, n, row[plane.width - 1]);
      for (int32_t x = 0; x < plane.width; ++x) {
        const float* centre = line.data() + n + x;
        float sum = centre[0] * kernel[0];
        for (int32_t i = 1; i <= n; ++i) sum += (centre[-i] + centre[i]) * kernel[static_cast<size_t>(i)];
        row[x] = sum;
      }
    }
  });
}

void blurColumns(Plane& plane, const std::vector<float>& kernel) {
  const Plane source = plane;
  const auto n = static_cast<int32_t>(kernel.size()) - 1;
  parallelFor(plane.height, rowGrain, [&](int64_t begin, int64_t end) {
    for (auto y = static_cast<int32_t>(begin); y < end; ++y) {
      float* out = plane.row(y);
      const float* centre = source.row(y);
      for (int32_t x = 0; x < plane.width; ++x) out[x] = centre[x] * kernel[0];
      for (int32_t i = 1; i <= n; ++i) {
        const float* above = source.row(std::max(0, y - i));
        const float* below = source.row(std::min(plane.height - 1, y + i));
        const float k = kernel[static_cast<size_t>(i)];
        for (int32_t x = 0; x < plane.width; ++x) out[x] += (above[x] + below[x]) * k;
      }
    }
  });
}

}  // namespace

ValueNoise::ValueNoise(uint64_t seed, uint64_t stream, double cellWidth, double cellHeight)
    : key(scattered(seed ^ scattered(stream))), width(cellWidth), height(cellHeight) {}

double ValueNoise::corner(int64_t column, int64_t line) const {
  const uint64_t place = static_cast<uint64_t>(column) ^ scattered(static_cast<uint64_t>(line));
  return static_cast<double>(scattered(key ^ place) >> 11) * 0x1p-52 - 1.0;
}

double ValueNoise::at(double x, double y) const {
  const double cx = std::floor(x / width);
  const double cy = std::floor(y / height);
  const double tx = smoothStep(x / width - cx);
  const double ty = smoothStep(y / height - cy);
  const auto i = static_cast<int64_t>(cx);
  const auto j = static_cast<int64_t>(cy);
  const double upper = corner(i, j) + (corner(i + 1, j) - corner(i, j)) * tx;
  const double lower = corner(i, j + 1) + (corner(i + 1, j + 1) - corner(i, j + 1)) * tx;
  return upper + (lower - upper) * ty;
}

void ValueNoise::addTo(std::span<float> row, double y, double amplitude) const {
  const double cy = std::floor(y / height);
  const double ty = smoothStep(y / height - cy);
  const auto j = static_cast<int64_t>(cy);
  const auto edge = [&](int64_t i) { return corner(i, j) + (corner(i, j + 1) - corner(i, j)) * ty; };
  int64_t column = 0;
  double left = edge(0);
  double right = edge(1);
  for (size_t x = 0; x < row.size(); ++x) {
    const double place = static_cast<double>(x) / width;
    while (place >= static_cast<double>(column + 1)) {
      ++column;
      left = right;
      right = edge(column + 1);
    }
    const double height01 = left + (right - left) * smoothStep(place - static_cast<double>(column));
    row[x] += static_cast<float>(amplitude * height01);
  }
}

Plane skinOf(const NailfoldStill& still) {
  Plane skin(still.width, still.height, 1.0f);
  std::vector<ValueNoise> layers;
  for (size_t i = 0; i < textures.size(); ++i)
    layers.emplace_back(still.seed, textureStream + i, textures[i].cellWidth, textures[i].cellHeight);
  const ValueNoise cuticleEdge(still.seed, textureStream + 50, 0.12 * still.width, 1.0);
  const Plexus plexus(still);
  parallelFor(still.height, rowGrain, [&](int64_t begin, int64_t end) {
    for (auto y = static_cast<int32_t>(begin); y < end; ++y) {
      const std::span<float> row(skin.row(y), static_cast<size_t>(still.width));
      for (size_t i = 0; i < layers.size(); ++i)
        layers[i].addTo(row, y, still.texture * textures[i].amplitude);
      for (int32_t x = 0; x < still.width; ++x) {
        const double edgeY = (0.05 + 0.015 * cuticleEdge.at(x, 0.0)) * still.height;
        const double above = std::clamp((edgeY - y) / (0.05 * still.height) + 0.5, 0.0, 1.0);
        const double factor = (1.0 + 0.07 * smoothStep(above)) * (1.0 - plexus.at(x, y));
        row[static_cast<size_t>(x)] *= static_cast<float>(factor);
      }
    }
  });
  return skin;
}

double lightAt(const NailfoldStill& still, double x, double y) {
  const double u = 2.0 * x / still.width - 1.0;
  const double v = 2.0 * y / still.height - 1.0;
  const double slope = still.illuminationGradient * 0.5 * (0.7 * u - 0.3 * v);
  const double corner = 0.5 * (u * u + v * v);
  return (1.0 + slope) * (1.0 - still.vignette * corner * corner);
}

std::span<const Channel> channelsOf(const NailfoldStill& still) {
  static constexpr std::array<Channel, 1> grey{{{1.0, 1.0}}};
  static constexpr std::array<Channel, 3> colour{{{0.88, 0.8}, {0.98, 1.0}, {1.22, 0.36}}};
  if (still.colour) return colour;
  return grey;
}

void blur(Plane& plane, double sigma) {
  if (!(sigma >= 0.3)) return;
  const std::vector<float> kernel = gaussianHalf(sigma);
  blurRows(plane, kernel);
  blurColumns(plane, kernel);
}

std::vector<DustSpeck> scatterDust(const NailfoldStill& still) {
  Random random(still.seed, dustStream);
  std::vector<DustSpeck> dust;
  for (int32_t i = 0; i < std::min(still.dustSpecks, 4096); ++i) {
    const double size = random.unit();
    const double x = random.unit() * still.width;
    dust.push_back({x, random.unit() * still.height, 1.5 + 6.5 * size * size});
  }
  return dust;
}

void drawDust(const NailfoldStill& still, const std::vector<DustSpeck>& dust, Plane& transmission) {
  for (size_t i = 0; i < dust.size(); ++i) {
    const DustSpeck& speck = dust[i];
    const ValueNoise edge(still.seed, dustEdgeStream + 1000 * i, 0.9 * speck.radius, 0.9 * speck.radius);
    const double density = 0.4 + 0.2 * edge.at(0.0, 0.0);
    const double reach = 1.5 * speck.radius + 2.0;
    const auto bound = [](double v, int32_t end) {
      return static_cast<int32_t>(std::clamp(v, 0.0, end - 1.0));
    };
    for (int32_t y = bound(speck.y - reach, still.height); y <= bound(speck.y + reach, still.height); ++y)
      for (int32_t x = bound(speck.x - reach, still.width); x <= bound(speck.x + reach, still.width); ++x) {
        const double dx = x - speck.x;
        const double dy = y - speck.y;
        const double away = std::sqrt(dx * dx + dy * dy) - speck.radius * (1.0 + 0.35 * edge.at(x, y));
        const double taken = density * smoothStep(std::clamp(0.5 - away / 4.0, 0.0, 1.0));
        float& out = transmission.row(y)[x];
        out = std::min(out, static_cast<float>(1.0 - taken));
      }
  }
}

}  // namespace tarnvisor
