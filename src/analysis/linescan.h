// Velocity from a line that was sampled again and again: from the shift between neighbouring rows, from the
// delay between two lines, from straight stripes over the whole scan. Computed on the traces of a linescan;
// who owns them, sizes them and moves their rings is not known here.
//
// Velocities are stored in points a second (of two lines, in units of their distance a second); kNoReading
// stands where there is none. What a zero or NaN would pass for a number is no reading.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "analysis/lagcorrelation.h"
#include "traces/trace.h"

namespace tarnvisor {

struct LagPeak;

inline constexpr double kNoReading = -1.0;

enum LinescanMethod : int32_t { kRowCorrelation = 0, kTwoLines = 2 };

struct VelocityParameters {
  int32_t cbvmethod = kRowCorrelation;  // others than these two: no correlation
  int32_t linesperpoint = 1;            // columns of scan2D for each point
  bool hipass = true;                   // a running mean is taken off each row first
  bool twod = false;                    // the full width of scan2D is correlated
  double smoothing = 0.05;              // share of a row in the running mean
  double linedistance = 1.0;            // between the two lines
  int32_t filter = 4;                   // correlations averaged in time
  double coeflimit = 0.2;               // lower limit of r squared
  int32_t gap = 1;                      // rows from one correlated row to the other
  int32_t noofpoints = 10;              // samples in a correlation of two lines
  bool zeropeak = false;                // a peak at lag 0 counts
  double houghdifthreshold = 0.7;       // deviations above the mean
  int32_t houghtol = 15;                // percent of the maximum
  int32_t houghthreshold = 60;          // percent of the maximum
  int32_t houghlowpass = 3;             // other than 0: the map is smoothed
  double houghmin = 50.0;               // least velocity, points a second
  int32_t correlpeakwindow = 15;        // samples
  // Not whole lags and whole votes only, but what lies between them.
  bool subpoint = false;
  // Lags both ways: backward flow is negative, and what stands still is 0.
  bool bothways = false;
};

// A document's own. Any may be null: the steps that need it then do nothing.
struct LinescanTraces {
  C2DTrace* scan2D = nullptr;
  C2DTrace* scan = nullptr;
  C2DTrace* difference = nullptr;
  C2DTrace* correllogram = nullptr;
  C2DTrace* hough = nullptr;
  ZZTrace* correlation = nullptr;
  ZZTrace* cbv = nullptr;
  ZZTrace* cbvUncut = nullptr;
  ZZTrace* line1 = nullptr;
  ZZTrace* line2 = nullptr;
  ZZTrace* peakratio = nullptr;  // of the highest peak to the next; 0 where there is none
};

// The trace whose rows the high pass reads, and whose width and units "difference" has; null for none.
C2DTrace* rowSource(const VelocityParameters& parameters, const LinescanTraces& traces);
// Columns of the correlogram of a line of so many points, or of two lines. With `bothways` lag 0 stands in
// the middle, at column width / 2.
uint16_t correllogramWidth(const VelocityParameters& parameters, uint32_t points);

// The state from row to row: the running mean, and what the correlogram was.
class RowVelocity {
 public:
  void restart();    // the next row is the first: nothing is smoothed into it
  void resetMean();  // the next row becomes the running mean
  // The high pass and, by `cbvmethod`, the correlation of one row, at the origins of the other traces.
  void rowstep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t row);
  void correlstep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t row);

 private:
  void highpass(const VelocityParameters& parameters, const C2DTrace& source, C2DTrace& difference,
                uint32_t row);
  double shareInMean(const VelocityParameters& parameters);
  bool hasFaded(const LinescanTraces& traces, const C2DTrace& source, uint32_t row);
  bool hasSettled(const VelocityParameters& parameters, const LinescanTraces& traces) const;
  bool canBeCompared(const VelocityParameters& parameters, const LinescanTraces& traces,
                     const C2DTrace& source, uint32_t row);
  void passOver(C2DTrace& correllogram, const LinescanTraces& traces);
  void readPeak(const VelocityParameters& parameters, const LinescanTraces& traces);
  void finestep(const VelocityParameters& parameters, const LinescanTraces& traces, const C2DTrace& source,
                uint32_t row);
  void refine(const VelocityParameters& parameters, size_t points, LagPeak& peak);
  void followMotion(const VelocityParameters& parameters);
  bool putStanding(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t row);

  std::vector<double> runningMean;
  bool isFirst = true;
  bool wasPassedOver = false;  // the row before
  // Of all lags both ways, averaged in time.
  struct Averaged {
    LagCorrelation lags;
    std::vector<double> coefficients;
    int32_t averaged = 0;  // rows
    void average(int32_t rows, bool isFirst);
  };
  Averaged levels, rises;
  double rowsInMean = 0;
  double motion = 0;                    // share of a pattern in what is left of a row, averaged in time
  std::vector<double> values, earlier;  // work of a row
};

// One delay between the lines, for the samples up to these.
void twolinestep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t index1,
                 uint32_t index2);

// --- straight stripes

// A straight segment over the scan, in seconds and line units.
struct Slope {
  double t0 = 0, y0 = 0, t1 = 0, y1 = 0;
  double velocity() const { return (y1 - y0) / (t1 - t0); }
  double duration() const { return t1 - t0; }
  double middle() const { return (t0 + t1) / 2; }
  friend bool operator==(const Slope&, const Slope&) = default;
};
inline constexpr size_t kMostSlopes = 1000;
inline constexpr uint16_t kHoughColumns = 256;

// What is transformed; null for none.
C2DTrace* houghSource(const VelocityParameters& parameters, const LinescanTraces& traces);
uint32_t houghRows(const C2DTrace& source, const C2DTrace& scan);
// Which way the stripes of a map go. With `bothways` the map is of the way that has the higher peak, where
// one stands out of the other; else of the forward one.
enum class Stripes { None, Forward, Backward };
// The votes, and the map's display fields. The map has houghRows rows of kHoughColumns.
Stripes houghMap(const VelocityParameters& parameters, const C2DTrace& source, const C2DTrace& scan,
                 C2DTrace& map);
std::vector<Slope> houghSlopes(const VelocityParameters& parameters, const C2DTrace& source,
                               const C2DTrace& scan, const C2DTrace& map, Stripes stripes);
// One for each of the best rows, from the best on.
std::vector<Slope> slopesFromCorrelation(const VelocityParameters& parameters, const LinescanTraces& traces);
void sortSlopes(std::vector<Slope>& slopes);  // by their middles

// --- what the readings say

// Of the velocities (without ygain) whose correlation passes l / 250, for each l.
struct LimitCurves {
  static constexpr size_t kLimits = 250;
  std::vector<double> mean, least, greatest, count;
};
LimitCurves limitCurves(const LinescanTraces& traces);

struct VelocityStatistics {
  uint32_t rows = 0;  // that hold something
  uint32_t goodRows = 0;
  uint32_t points = 0;  // of the line; 0 for two lines
  // Of the good rows alone; nothing where there are none.
  double mean = 0, least = 0, greatest = 0;
  double correlation = 0;  // r squared
  double peakRatio = 0;    // 0: not measured
  bool hasReading() const { return goodRows > 0; }
  double share() const { return rows > 0 ? static_cast<double>(goodRows) / rows : 0.0; }
};
// Of rows [from, to) of the ring, all for from == to. Rows whose reading looks back on rows that are not
// there are no good ones.
VelocityStatistics velocityStatistics(const LinescanTraces& traces, const VelocityParameters& parameters,
                                      uint32_t from, uint32_t to);

enum class Reliability { None, Unreliable, Fair, Good };
// Where it is Unreliable, its words stand in place of the number.
Reliability reliabilityOf(const VelocityStatistics& statistics);
const char* wordsFor(Reliability reliability);
// What makes a velocity doubtful by its size; empty for nothing. period: of the rows.
std::string velocityWarning(const VelocityStatistics& statistics, const VelocityParameters& parameters,
                            double period);
// What the additions in use do, for names and notes; empty without them.
std::string additionWords(const VelocityParameters& parameters);

// --- other traces

// Their correlation at the lags of half the shorter one; null without samples or memory.
ZZTrace::Own correlateTraces(const ZZTrace& first, const ZZTrace& second);

// The velocity of rows that were sampled along a line, as a linescan computes it when nothing else is set. In
// points a second, through the gain of the source in its units; kNoReading is absent. Null without rows or
// memory.
struct VelocityReview {
  std::unique_ptr<C2DTrace> correlation;
  std::unique_ptr<CTrace> cbv;
};
VelocityReview reviewVelocity(const C2DTrace& source, uint32_t from, uint32_t to);

}  // namespace tarnvisor
