// ZcommonFLODoc: what charts of Doppler spectra have in common, the Fourier transform and the analysis that
// turns a spectrum into a velocity. CReviewDoc is the chart that stored signals open in.
#pragma once

#include <memory>
#include <string>

#include "charts/chartdoc.h"
#include "charts/chartview.h"
#include "host/form.h"
#include "traces/cbv.h"
#include "traces/traceselection.h"
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
  // For stored spectra: the parameters of the process, with the document's threshold.
  CbvAnalysis reviewAnalysis() const;
  void setThreshold(int32_t wanted);
  const std::string& thresholdWords() const { return words; }  // since it changed; before, none
  // Those of speed in the one unit become those in the other.
  // A failure where the method in force reads the threshold as percent and it is none.
  Outcome checkThreshold() const;
  void swapUnits();

  CbvAnalysis analysis;  // its threshold is the document's
  uint16_t fftpoints = 256;
  double dopplerscale = kDefaultDopplerScale;  // the ygain of velocity traces

 protected:
  // What the live input's charts have beside their traces; docs/formats/zz1.md tells it.
  struct LiveBlock {
    double kept = 0;  // as it was read
    double slowSampleRate = 20;
    uint16_t bandwidth = 0, channel = 0, secondChannel = 0;
    int32_t flonpts = 0, dopnpts = 0, rawnpts = 0;
    int32_t reserved = 0, processValue = 0;
  };
  // The form in which a live chart is stored; it becomes a chart like any other where it is opened.
  static bool isLiveForm(Archive& archive);
  void storeLive(Archive& archive, const LiveBlock& block);
  LiveBlock readLive(Archive& archive);
  // The traces that a live chart feeds, of these sizes; 0 for none.
  ZZTrace* makeCbvTrace(uint32_t samples, double period);
  C2DTrace* makeSpectrumTrace(uint32_t rows, double period);
  ZZTrace* makeRawTrace(uint32_t rows, double period);
  static std::string auxiliaryName(size_t channel);  // "IP1" for the first
  ZZTrace* makeAuxiliaryTrace(size_t channel, uint32_t samples, double period);

 private:
  std::unique_ptr<CFFT> transform;
  CFFTWindow weights;
  std::string words;
};

class CReviewDoc : public ZcommonFLODoc {
 public:
  void serialize(Archive& archive) override;
};

// A chart with spectra whose velocities can be found.
class ZcommonFLOView : public ZchartView {
 public:
  explicit ZcommonFLOView(ZcommonFLODoc& shown) : ZchartView(shown), flo(shown) {}
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }
  std::vector<StatusPane> panes() const override;

 protected:
  void fullScaleChanged(const C2DTrace& rows) override;
  ZcommonFLODoc& flo;

 private:
  // The spectra to work on: the active trace, or the first that there are.
  C2DTrace* spectra() const;
  bool hasSpectra() const { return spectra() != nullptr; }
  std::optional<Selection> selectedRows() const;
  template <int32_t Method>
  void choose();
  template <int32_t Method>
  bool isChosen() const;
  void cbvParameters();
  void calculateCbv();
  void recalculateShift();
  void trimSpectrum();
  void swapUnits() { flo.swapUnits(); }
  void thresholdWindow();
  bool showsThreshold() const { return thresholdForm && thresholdForm->isOpen(); }

  std::unique_ptr<OpenForm> thresholdForm;
  int32_t shownThreshold = 0;
};

class CReView : public ZcommonFLOView {
 public:
  explicit CReView(CReviewDoc& shown) : ZcommonFLOView(shown) {}
};

// A chart of stored spectra.
class ZchartReviewDoc : public ZchartDoc {};

class ZchartReView : public ZchartView {
 public:
  using ZchartView::ZchartView;
};

}  // namespace tarnvisor
