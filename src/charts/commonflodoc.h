// ZcommonFLODoc: what charts of Doppler spectra have in common, the Fourier transform and the analysis that
// turns a spectrum into a velocity. CReviewDoc is the chart that stored signals open in.
#pragma once

#include <memory>

#include "charts/chartdoc.h"
#include "charts/chartview.h"
#include "traces/cbv.h"
#include "vectors/fft.h"
#include "vectors/fftwindow.h"

namespace tarnvisor {

class ZcommonFLODoc : public ZchartDoc {
 public:
  void readSettings() override;
  void saveSettings() const override;
  // Made when first asked for, of fftpoints; null where that is no size of a transform.
  CFFT* fft();
  // Of the process's window kind and twice fftpoints.
  CFFTWindow& window();

  CbvAnalysis analysis;  // its threshold is the document's
  uint16_t fftpoints = 256;
  double dopplerscale = kDefaultDopplerScale;  // the ygain of velocity traces

 private:
  std::unique_ptr<CFFT> transform;
  CFFTWindow weights;
};

class CReviewDoc : public ZcommonFLODoc {};

class CReView : public ZchartView {
 public:
  using ZchartView::ZchartView;
};

// A chart of stored spectra.
class ZchartReviewDoc : public ZchartDoc {};

class ZchartReView : public ZchartView {
 public:
  using ZchartView::ZchartView;
};

}  // namespace tarnvisor
