// Traces that are computed from the rows of a spectrum trace: velocity, signal strength and contours.
#pragma once

#include <cstdint>
#include <vector>

#include "base/outcome.h"
#include "traces/artifact.h"
#include "traces/cbv.h"
#include "traces/traceselection.h"

namespace tarnvisor {

// What the review of stored spectra works with. The spectra stay as they are, whatever cutDopTop says.
struct ReviewSettings {
  CbvAnalysis* analysis = nullptr;              // required
  const ArtifactSettings* artifacts = nullptr;  // none: every value passes
  ArtifactRun* run = &processArtifactRun();
};

// Whether a chosen trace can take the result: it must be plain, and of the same period.
Outcome checkReviewTarget(const C2DTrace& spectrum, const ZZTrace& target);

// "CBV" of the selection, a CTrace that starts at its time. Null without spectra or memory. kFirstMoment also
// gives "CBV spread", the deviation of the speeds about the mean, to whoever asks for it.
ZZTrace::Own calculateCbv(const C2DTrace& spectrum, Selection selection, const ReviewSettings& review,
                          double dopplerscale = kDefaultDopplerScale, ZZTrace::Own* spread = nullptr);
// The same into the samples of a trace that checkReviewTarget lets pass, at the times of the rows.
void recalculateCbv(const C2DTrace& spectrum, Selection selection, const ReviewSettings& review,
                    ZZTrace& target);

// The sum of each row's shown values from bin 1, over the whole trace, 0 of rows that hold nothing; looks by
// section `PowerTrace`. Null as above.
ZZTrace::Own signalStrength(const C2DTrace& spectrum);

// Contours have the spectrum's size, ring and clock; outside the selection they are 0. Method and threshold
// of the analysis are as before when these return. Empty without spectra; the contours made so far if memory
// ends.
std::vector<ZZTrace::Own> powerContours(const C2DTrace& spectrum, Selection selection,
                                        const ReviewSettings& review);  // 95, 90 ... 50 % of the power

struct LevelContours {  // section `ContoursDlg`
  int32_t min = 0;
  int32_t interval = 50;
  int32_t tracenumber = 10;
  static constexpr int32_t kMostTraces = 100;
  int32_t max() const;  // the highest level
  void readSettings();
  void saveSettings() const;
};
std::vector<ZZTrace::Own> levelContours(const C2DTrace& spectrum, Selection selection,
                                        const ReviewSettings& review, const LevelContours& levels);

}  // namespace tarnvisor
