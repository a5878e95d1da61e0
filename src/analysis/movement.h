// Automatic movement correction: for each image of a movie the whole-pixel offset that lays it over a base
// image. Pixels stay as they are; the offsets go into the movie's table.
//
// A run: load() and what the caller sets (method, range, windowFor, regions, thresholdsq), beginAMC, stepAMC
// until it is false, endAMC. Offsets and limits are in frame rows, also on fields; windows, lastx and lasty
// in rows of the image, which the searches run on.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "analysis/amclog.h"
#include "analysis/regionerror.h"
#include "base/geometry.h"
#include "image/zzimage.h"
#include "movie/zzmovie.h"

namespace tarnvisor {

enum AlignMethod : int32_t { kFastWhole = 0, kFastRegions = 1, kOriginal = 2 };
enum BaseMethod : int32_t { kAutoBase = 0, kPreviousBase = 1, kFirstBase = 2 };

// What is known of one image after its step; before it, the offset that it had.
struct MovementRecord {
  int32_t index = 0;
  Point offset;  // frame rows
  // In grey levels, where the search ended; NaN where nothing was compared.
  double rms = std::numeric_limits<double>::quiet_NaN();
  SubPixel
      subPixel;  // the offset to a fraction; unknown for an image that failed, or where it isn't asked for
  int32_t baseIndex = 0;
  bool aligned = false;
  // It fits there by the threshold, but the error is not lowest near there, or what fractions add up to is
  // elsewhere: a search that ended at a wrong place. Told only where fractions are asked for.
  bool doubtful = false;
  // Its base failed, is doubtful or hangs on such a one itself: an error there is one here.
  bool hangs = false;

  void moveBy(Point added) {
    offset = offset + added;
    subPixel.x += added.x;
    subPixel.y += added.y;
  }
};

struct AMCparams {
  double window = 50;  // % of the image
  double range = 10;   // % of the image
  double limit = 50;   // %; in a fast run what amclimit2 was at its start
  double amclimit2 = 50;
  int32_t resolution = 1;
  int32_t step = 8;
  int32_t start = -1;
  int32_t end = -1;
  int32_t method = 1;   // 0 random points, 1 grid of points, 2 grid of lines
  int32_t lowpass = 5;  // pixels; 0: none
  std::unique_ptr<CZZimage> baseHalf, baseQuarter, baseEighth;
  std::unique_ptr<CZZimage> base;
  std::unique_ptr<CZZimage> second;
  CZZimage* current = nullptr;  // the movie's
  int32_t firstCurrent = 0;
  int32_t baseIndex = 0;
  int32_t currentIndex = 0;
  int32_t limitx = 0, limity = 0;  // frame rows
  int32_t newRgnOld = kFastWhole;
  int32_t regionCount = 0;  // kept by beginAMC
  // What is compared. Drawn ones (kFastRegions) are given in frame rows of the common frame; beginAMC takes
  // them to the base's.
  std::vector<Rect> regions;
  std::vector<int32_t> regionImages;  // by region: the image that it was drawn on
  int32_t lastx = 0, lasty = 0;
  double threshold = 15;    // grey levels
  double factor = 0.5;      // of the automatic threshold; read from the settings, never written
  double thresholdsq = -1;  // -1: beginAMC finds the threshold
  int32_t basemethod = kAutoBase;
  double ref = 50;  // % of the image; a fraction after windowFor
  Rect refRect;     // in rows of the image
  int32_t status = 0;
  int32_t lastgoodmatch = 0;
  int32_t restart = 1;
  bool autothreshold = true;
  bool regionsEditing = false;
  bool showProgress = true;
  bool running = false;

  bool subPixel = false;                // records get fractions as well
  std::vector<MovementRecord> records;  // of start..end; they outlive the run
  std::string trouble;  // for the user: why a run can't begin, or what could not be read in it
  std::unique_ptr<AmcLog> log;
  std::unique_ptr<CZZimage> half, quarter, eighth;  // of the current image
  std::unique_ptr<CZZimage> smoothBase, smooth;     // what fractions are found in
  SubPixel baseSubPixel;                            // offset of the base
  MovementRecord found;                             // of the step under way; its fraction is a shift

  void load();
  void store() const;
};

// The reference window in the middle of an image, into refRect. Makes `ref` a fraction.
void windowFor(AMCparams& params, const CZZimage& image);

// With words in params.trouble no run began; endAMC releases what there is all the same.
void beginAMC(CZZMovie& movie, AMCparams& params);
// One image; false when none is left.
bool stepAMC(CZZMovie& movie, AMCparams& params);
// Moves all offsets of the movie so that the least is 0 either way, shows image `start`, and ends the run.
// What was added to every offset, in frame rows.
Point endAMC(CZZMovie& movie, AMCparams& params);

// --- steps of a run, for who looks into one
// Finds the current image's shift at four scales and sets its offset; false leaves it the last good one.
[[nodiscard]] bool alignFast(CZZimage& current, AMCparams& params, AmcLog* log);
// A shift of the image over the base to a fraction of a pixel.
SubPixel fractionOf(const CZZimage& image, AMCparams& params, Regions regions, Point shift);
// The offset of an image that failed.
void keepLastShift(CZZimage& current, AMCparams& params, AmcLog* log);
[[nodiscard]] bool reduceThrice(const CZZimage& image, std::unique_ptr<CZZimage>& half,
                                std::unique_ptr<CZZimage>& quarter, std::unique_ptr<CZZimage>& eighth);
// Rms errors of an image at one eighth scale over all shifts; the map's origin is the first. best: the first
// of the least whole grey level. Null where no shift can be compared.
std::unique_ptr<CZZimage> fullErrorMap(const AMCparams& params, const CZZimage& eighth, Point& best);

}  // namespace tarnvisor
