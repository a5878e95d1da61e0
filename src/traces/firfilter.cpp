#include "traces/firfilter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <numeric>

#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr int kLongestWord = 64;
constexpr int kPulseSteps = 3;

bool parseNumber(const std::string& word, double& value) {
  if (word.starts_with("+-")) return false;
  const int plus = word.starts_with('+') ? 1 : 0;
  const char* end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data() + plus, end, value);
  return error == std::errc() && stop == end && std::isfinite(value);
}

std::string printable(std::string word) {
  for (char& c : word)
    if (c < ' ' || c > '~') c = '?';
  return word;
}

// What the items of a filter's outputs lack of those that show the filtered values.
double shiftOf(const FirFilter& filter, const ZZTrace& trace) {
  return ShownValues(trace).shift(std::accumulate(filter.taps.begin(), filter.taps.end(), 0.0));
}

// x[0] stands at the first input, of which there are enough ahead.
void convolve(std::span<const double> taps, const double* x, std::span<double> out, double shift) {
  for (size_t k = 0; k < out.size(); ++k) {
    double sum = shift;
    for (size_t i = 0; i < taps.size(); ++i) sum += taps[i] * x[k + i];
    out[k] = sum;
  }
}

void filterSamples(const FirFilter& filter, const ZZTrace& source, ZZTrace& destination,
                   const RingSpan& span) {
  const CdataVect::Own input = readSamples(source, span, filter.ahead());
  if (!input) return;
  const CdataVect::Own output = newVector(kDoubleCode, span.count);
  if (!output) return noteLowMemory();
  const std::span<double> x = doublesOf(*input);
  const std::span<double> y = doublesOf(*output);
  const size_t repeated = std::min<size_t>(filter.before(), y.size());
  std::copy_n(x.begin(), repeated, y.begin());
  convolve(filter.taps, x.data(), y.subspan(repeated), shiftOf(filter, source));
  writeSamples(destination, span, *output);
}

void filterRows(const FirFilter& filter, const ZZTrace& source, ZZTrace& destination, const RingSpan& span) {
  const uint16_t width = source.data->width;
  const double shift = shiftOf(filter, source);
  RowBuffer input(width), output(width);
  if (!input.isReady() || !output.isReady()) return noteLowMemory();
  for (uint32_t k = 0; k < span.count; ++k) {
    const uint32_t row = span.at(k);
    const std::span<double> x = input.read(*source.data, row);
    const std::span<double> y = output.items();
    std::copy(x.begin(), x.end(), y.begin());
    if (width >= filter.taps.size())
      convolve(filter.taps, x.data(), y.subspan(filter.before(), width - filter.taps.size() + 1), shift);
    output.write(*destination.data, row);
  }
}

// Each bin by itself, from row to row. The rows that the filter needs are held as they were.
void filterAlongTime(const FirFilter& filter, ZZTrace& rows, const RingSpan& span) {
  const size_t width = rows.data->width, length = filter.taps.size();
  std::vector<double> held(length * width);  // row k of the span at place k % length
  RowBuffer output(rows.data->width);
  if (!output.isReady()) return noteLowMemory();
  const double shift = shiftOf(filter, rows);
  for (uint64_t next = 0; next < uint64_t{span.count} + filter.ahead(); ++next) {
    rows.data->getcopy(held.data() + next % length * width, span.at(next), 1);
    if (next + 1 < length) continue;
    const std::span<double> sums = output.items();
    std::ranges::fill(sums, shift);
    for (size_t tap = 0; tap < length; ++tap) {
      const double* row = held.data() + (next + 1 + tap) % length * width;
      for (size_t i = 0; i < width; ++i) sums[i] += filter.taps[tap] * row[i];
    }
    output.write(*rows.data, span.at(next - filter.ahead()));
  }
}

}  // namespace

Outcome readFirFile(const std::string& path, FirFilter& filter) {
  std::ifstream file(path);
  if (!file) return Outcome::failure(path + ": the file can't be read");
  std::vector<double> taps;
  std::string word;
  while (taps.size() < kMostTaps && file >> std::setw(kLongestWord) >> word) {
    double value = 0;
    if (word.size() >= kLongestWord || !parseNumber(word, value))
      return Outcome::failure(
          format("%s: \"%s\" is not a coefficient", path.c_str(), printable(word).c_str()));
    taps.push_back(value);
  }
  if (taps.empty()) return Outcome::failure(path + ": there are no coefficients in the file");
  filter.taps = std::move(taps);
  return Outcome::success();
}

void applyFir(const FirFilter& filter, const ZZTrace& source, ZZTrace& destination, Selection selection) {
  const RingSpan span = ringSpan(source, selection);
  if (filter.taps.empty() || span.count == 0 || destination.size() != source.size()) return;
  if (destination.data->width != source.data->width || hasRowData(source) != hasRowData(destination)) return;
  hasRowData(source) ? filterRows(filter, source, destination, span)
                     : filterSamples(filter, source, destination, span);
}

const FirFilter& pulseFilter() {
  static const FirFilter filter{{0.02137, 0.02789, 0.03439, 0.04068, 0.04659, 0.05194, 0.05656,
                                 0.06032, 0.06308, 0.06478, 0.06478, 0.06478, 0.06308, 0.06032,
                                 0.05656, 0.05194, 0.04659, 0.04068, 0.03439, 0.02789, 0.02137}};
  return filter;
}

void removePulse(ZZTrace& trace, Selection selection) {
  const RingSpan span = ringSpan(trace, selection);
  for (int step = 0; step < kPulseSteps; ++step)
    hasRowData(trace) ? filterAlongTime(pulseFilter(), trace, span)
                      : applyFir(pulseFilter(), trace, trace, selection);
}

}  // namespace tarnvisor
