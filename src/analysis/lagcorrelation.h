// How alike two rows are when one is moved along the other: Pearson's coefficient at whole lags either way,
// over all pairs that overlap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarnvisor {

class LagCorrelation {
 public:
  // Rows of so many points, and lags from first to last, 0 among them, shorter than the rows. Keeps its
  // memory.
  void begin(size_t count, int32_t first, int32_t last);
  // One item of each point, every step-th. What several columns of a line say is added up. The points are
  // smoothed with their neighbours, since noise of single points hides the cells.
  void add(const double* a, const double* b, size_t step = 1);
  // The same of how the points rise, which tells edges of cells apart from light and from all that is
  // broad. begin was told 2 * kRise points less than there are.
  void addRises(const double* a, const double* b, size_t step = 1);
  static constexpr size_t kRise = 3;
  // At lagOf(i): of a[k] and b[k + lag]. 0 where a row is flat.
  std::span<const double> finish();
  int32_t lagOf(size_t i) const { return firstLag + static_cast<int32_t>(i); }
  size_t overlap(int32_t lag) const { return points - static_cast<size_t>(lag < 0 ? -lag : lag); }

 private:
  std::span<double> moved();
  void addUp();
  // Sums of the items, and of their squares, before each.
  struct RunningSums {
    std::vector<double> sum, squares;
    void fill(std::span<const double> items);
  };
  struct Products {
    double cross, ownA, ownB;
  };

  size_t points = 0;
  int32_t firstLag = 0;
  double allA = 0, allB = 0;       // squares of whole rows
  std::vector<double> own, other;  // less their means; the latter with zeros before and after it
  std::vector<double> dots, values;
  std::vector<Products> products;
  RunningSums sumsA, sumsB;
};

// dots[l] = the sum over count of a[i] * b[i + l], each added up in order. b has count + lags items.
void lagDots(const double* a, const double* b, size_t count, size_t lags, double* dots);

}  // namespace tarnvisor
