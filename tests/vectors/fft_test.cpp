#include "vectors/fft.h"

#include <complex>

#include "vectors/fftwindow.h"
#include "vecttest.h"

namespace tarnvisor {
namespace {

using namespace vecttest;
constexpr double kTurn = 2 * std::numbers::pi;

// By the definition.
std::vector<std::complex<double>> plainTransform(const std::vector<std::complex<double>>& x) {
  const auto n = static_cast<double>(x.size());
  std::vector<std::complex<double>> bins(x.size());
  for (size_t k = 0; k < x.size(); ++k)
    for (size_t i = 0; i < x.size(); ++i)
      bins[k] += x[i] * std::polar(1.0, -kTurn * static_cast<double>(k * i % x.size()) / n);
  return bins;
}

Values realpower(int32_t n, const Values& in) {
  CFFT fft;
  EXPECT_TRUE(fft.setup(n));
  Values out(static_cast<size_t>(n));
  fft.realpower(in.data(), out.data());
  return out;
}

TEST(Fft, IsSetUpOnceAndOnlyForPowersOfFour) {
  const std::pair<int32_t, int32_t> cases[] = {{-4, -1}, {3, -1},     {512, -2},
                                               {20, -2}, {16384, -3}, {8192, -3}};
  for (const auto& [n, exponent] : cases) {
    CFFT fft;
    EXPECT_EQ(CFFT::exponentOf(n), exponent);
    EXPECT_FALSE(fft.setup(n));
    EXPECT_EQ(fft.size, 0);
  }
  CFFT fft;
  EXPECT_TRUE(fft.setup(64));
  EXPECT_EQ(fft.power, 3);
  const Values cosines = fft.cosines;
  EXPECT_EQ(errors([&] { EXPECT_FALSE(fft.setup(1024)); }), "this fft already in use!\n");
  EXPECT_EQ(fft.size, 64);
  EXPECT_EQ(fft.cosines, cosines);
}

TEST(Fft, TablesAreRotationsByASinglePrecisionAngle) {
  CFFT fft;
  fft.setup(16);
  const double c = std::cos(3.1415927410125732 / 8);
  const double s = -std::sqrt(1 - c * c);
  EXPECT_EQ((Values{fft.cosines[0], fft.sines[0], fft.cosines[1], fft.sines[1]}), (Values{1, 0, c, s}));
  EXPECT_EQ(fft.cosines[2], c * c - s * s);
  EXPECT_EQ(fft.sines[2], c * s + s * c);
}

TEST(Fft, EqualsTheDefinition) {
  for (const int32_t n : {4, 16, 64, 256, 1024, 4096}) {
    const auto count = static_cast<size_t>(n);
    Values re = noise(count, 1000), im = noise(count, 1000, 7), power(count);
    std::vector<std::complex<double>> x(count);
    for (size_t i = 0; i < count; ++i) x[i] = {re[i], im[i]};
    const auto bins = plainTransform(x);
    CFFT fft;
    ASSERT_TRUE(fft.setup(n));
    fft.complexpower(re.data(), im.data(), power.data());
    const double tolerance = 1000.0 * n * 4e-7;
    for (size_t k = 0; k < count; ++k) {
      EXPECT_NEAR(re[k], bins[k].real(), tolerance) << n << " " << k;
      EXPECT_NEAR(im[k], bins[k].imag(), tolerance) << n << " " << k;
      EXPECT_EQ(power[k], re[k] * re[k] + im[k] * im[k]);
    }
  }
}

// The radix-4 passes, number by number.
void plainPasses(const CFFT& fft, Values& re, Values& im) {
  const size_t n = re.size(), quarter = n / 4;
  using Number = std::complex<double>;
  for (size_t stride = 1; stride < n; stride *= 4) {
    const Values xr = re, xi = im;
    for (size_t i = 0; i < quarter; ++i) {
      const size_t t = i - i % stride;
      const auto x = [&](size_t j) { return Number(xr[i + j * quarter], xi[i + j * quarter]); };
      const Number even = x(0) + x(2), less = x(0) - x(2), odd = x(1) + x(3), oddLess = x(1) - x(3);
      const Number rotated(oddLess.imag(), -oddLess.real());
      const Number sums[] = {even + odd, less + rotated, even - odd, less - rotated};
      for (size_t j = 0; j < 4; ++j) {
        const double c = fft.cosines[j * t], s = fft.sines[j * t];
        re[i % stride + 4 * t + j * stride] = sums[j].real() * c - sums[j].imag() * s;
        im[i % stride + 4 * t + j * stride] = sums[j].real() * s + sums[j].imag() * c;
      }
    }
  }
}

TEST(Fft, EqualsItsPlainTwinBitForBit) {
  for (const int32_t n : {16, 64, 1024}) {
    const auto count = static_cast<size_t>(n);
    Values re = noise(count, 1000), im = noise(count, 1000, 7), power(count), pairs;
    for (size_t i = 0; i < count; ++i) pairs.insert(pairs.end(), {re[i], im[i]});
    CFFT fft;
    fft.setup(n);
    Values plainRe = re, plainIm = im;
    plainPasses(fft, plainRe, plainIm);
    fft.complexpower(re.data(), im.data(), power.data());
    EXPECT_EQ(re, plainRe);
    EXPECT_EQ(im, plainIm);
    const double first = (plainRe[0] + plainIm[0]) * 0.7071067623730956;
    fft.realpower(pairs.data(), power.data());
    EXPECT_EQ(power[0], first * first);
  }
}

TEST(Fft, RealPowerIsHalfTheSquaredSpectrumOfTwiceTheSamples) {
  for (const int32_t n : {4, 16, 64, 256, 1024}) {
    const Values in = noise(2 * static_cast<size_t>(n), 1000);
    const auto bins = plainTransform({in.begin(), in.end()});
    Values out = realpower(n, in);
    for (size_t k = 0; k < out.size(); ++k)
      EXPECT_NEAR(std::sqrt(out[k]), std::abs(bins[k]) * 0.7071067623730956, 1000.0 * n * 1e-6)
          << n << " " << k;
    CFFT fft;
    fft.setup(n);
    Values inPlace = in;
    fft.realpower(inPlace.data(), inPlace.data());
    inPlace.resize(out.size());
    EXPECT_EQ(inPlace, out);
  }
}

TEST(Fft, OfRowsTakesTheRunAtTheRowsNumber) {
  const Values signal = noise(40, 1000), quadrature = noise(30, 1000, 5);
  const auto source = of<CdoubleVect>(signal), second = of<CdoubleVect>(quadrature);
  Cdouble2DVect rows(50, 16);
  rows.rowfft(0, 0, source, nullptr);
  const auto amplitudes = [&](uint32_t row) {
    Values run(32);
    for (size_t i = 0; i < 32; ++i) run[i] = signal[(row + i) % 40];
    Values bins = realpower(16, run);
    for (double& bin : bins) bin = std::sqrt(bin);
    return bins;
  };
  for (const uint32_t row : {0u, 20u, 45u}) EXPECT_EQ(all(*rows.getArray(row)), amplitudes(row)) << row;

  rows.fill(-1);
  rows.rowfft(49, 1, source, &second);
  EXPECT_EQ(rows.at(1), -1);
  EXPECT_EQ(rows.at(48), -1);
  CFFT fft;
  fft.setup(16);
  Values re(16), im(16), power(16);
  for (size_t i = 0; i < 16; ++i) {
    re[i] = signal[(49 + i) % 40];
    im[i] = quadrature[(49 + i) % 30];
  }
  fft.complexpower(re.data(), im.data(), power.data());
  EXPECT_EQ(rows.at(49, 8), re[0]);  // zero in the middle
  EXPECT_EQ(rows.at(49, 0), re[8]);
  EXPECT_EQ(rows.at(49, 15), re[7]);
}

TEST(Fft, OfRowsDoesNothingWhereItDoesNotFit) {
  const CdoubleVect shortSource(31), source(32);
  struct Case {
    uint32_t rows;
    uint16_t width;
    const CdataVect* source;
  };
  const Case cases[] = {{16, 16, &shortSource}, {15, 16, &source}, {16, 8, &source}};
  for (const Case& c : cases) {
    CArrayVect rows(c.rows, c.width);
    rows.fill(7);
    rows.rowfft(0, 0, *c.source, nullptr);
    EXPECT_EQ(all(rows), Values(size_t{c.rows} * c.width, 7.0));
  }
}

TEST(Window, HasTheWeightsOfItsKind) {
  const double turn = 6.2831854820251465 / 4, twice = 12.566370964050293 / 4;
  const Values expected[] = {
      {1, 1, 1, 1, 1},
      {0, 0.5, 1, 0.5, 0},
      {0, (1 - std::cos(turn)) * 0.5, (1 - std::cos(turn * 2)) * 0.5, (1 - std::cos(turn * 3)) * 0.5,
       (1 - std::cos(turn * 4)) * 0.5},
      {0.54 - 0.46, 0.54 - 0.46 * std::cos(turn), 1, 0.54 - 0.46 * std::cos(turn * 3), 0.08},
      {0, 0.42 - 0.5 * std::cos(turn) + 0.08 * std::cos(twice), 1, 0.34, 0}};
  for (int32_t kind = 0; kind < 5; ++kind) {
    CFFTWindow window;
    EXPECT_TRUE(window.build(kind, 5));
    EXPECT_EQ(window.kind, kind);
    Values items(5, 2.0);
    window.apply(items.data());
    for (size_t i = 0; i < 5; ++i)
      EXPECT_NEAR(items[i], 2 * expected[kind][i], i == 1 ? 1e-15 : 1e-6) << kind << " " << i;
  }
}

TEST(Window, IsRebuiltOnlyForAnotherKindOrLength) {
  CFFTWindow window;
  EXPECT_FALSE(window.build(2, 0));
  EXPECT_EQ(window.kind, -1);
  EXPECT_TRUE(window.build(2, 8));
  window.weights[3] = 99;
  EXPECT_TRUE(window.build(2, 8));
  EXPECT_EQ(window.weights[3], 99);
  EXPECT_EQ(errors([&] { EXPECT_TRUE(window.build(5, 8)); }), "unknown windowfunc type!\n");
  EXPECT_EQ(window.kind, 0);
  EXPECT_EQ(window.weights[3], 1);
}

TEST(Window, OfOneItemHasAWeightOnlyInKindZero) {
  for (int32_t kind = 0; kind < 5; ++kind) {
    CFFTWindow window;
    EXPECT_TRUE(window.build(kind, 1));
    EXPECT_EQ(std::isfinite(window.weights[0]), kind == 0) << kind;
  }
}

}  // namespace
}  // namespace tarnvisor
