// fcfdoc: functional capillary flow of a range of a video's images. It stores the maps flux, conc and mask as
// doubles, in a file beside its own; its image shows one of them, or fcf, which a threshold makes of them, as
// grey levels: value times gain. docs/formats/zzfcf.md tells the stored form.
//
// The maps' first place lies where the image's first pixel lies among the marks. A document whose maps are
// away shows zeros, and its saves leave the file of the maps alone.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/flow.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

class fcfdoc
    : public ZBasicDoc {  // NOLINT(readability-identifier-naming): the name that files and tables know
 public:
  enum Map : int32_t { kFcf, kFlux, kConc, kMask, kMapCount };

  // --- the document's life (fcfdoc_archive.cpp)
  bool onNewDocument() override;
  bool onOpenDocument(const std::string& path) override;
  // The maps first. Where their file can't be written the document is saved without it, and the user told.
  bool onSaveDocument(const std::string& path) override;
  void deleteContents() override;
  void serialize(Archive& archive) override;
  std::vector<std::string> filesInUse() const override;

  // --- maps (fcfdoc.cpp)
  bool hasMaps() const { return !maps.flux.empty(); }
  bool hasMaskMap() const { return !maps.mask.empty(); }
  // Makes these the document's, with the place of the first in the frame of the marks, and the region that
  // all images of their range share. False without memory.
  [[nodiscard]] bool takeMaps(FlowMaps made, Point origin, const Rect& shared);
  // By the threshold, which the automatic one finds first; shows fcf, and tells the figures in the notes and
  // the result. Nothing without maps.
  void recomputeFcf();
  void show(Map wanted);
  // A row of the table of flow results, over the region of interest or the whole.
  void writeFcdRow();
  // The same figures.
  const FlowFigures& figures() const;
  // Of the map shown, at a place among the marks; 0 where the maps are away.
  double shownValueAt(Point at) const;
  static const char* nameOf(Map map);
  static const char* unitOf(Map map);

  bool holdsPixels() const override { return false; }
  void runStep(const std::string& text, StepArea area, const std::function<void(CZZimage&)>& step) override;
  StepResult tell(const std::string& what) override;  // "status" with the figures
  std::string judgementOfResult() const override;     // by what the notes tell of the movement of its images

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  FlowMaps maps;
  double gain = 64.0;
  std::vector<double> fcf;
  double threshold = 5.0;
  uint8_t useConc = 0;  // the threshold is one of conc, not of mask
  Map viewShown = kFcf;
  uint8_t autoGain = 0;
  uint8_t autoThreshold = 0;

 private:
  // fcfdoc_archive.cpp
  [[nodiscard]] bool mayLieBeside(const std::string& file);
  void readMaps(const std::string& documentPath);
  bool makePicture(Point origin);
  // fcfdoc.cpp
  const std::vector<double>& mapOf(Map map) const;
  Rect measuredPlaces() const;  // of the maps
  void applyThreshold();
  void findThreshold();
  double automaticGain(const std::vector<double>& map) const;
  std::string figuresText() const;
  bool tellsFigures() const;  // the result is theirs
  void tellFigures();
  void stepThreshold(double by);
  void thresholdUp() { stepThreshold(0.2); }
  void thresholdDown() { stepThreshold(-0.2); }
  void test(bool byConc);
  void useConcThreshold() { test(true); }
  void useMaskThreshold() { test(false); }
  bool testsConc() const { return useConc != 0; }
  bool testsMask() const { return useConc == 0; }
  void recalculate();
  template <Map M>
  void view() {
    show(M);
  }
  template <Map M>
  bool isShown() const {
    return viewShown == M;
  }

  struct KnownFigures {
    Rect places;
    bool known = false;
    FlowFigures figures;
  };
  mutable KnownFigures counted;  // for the region that they were asked for last
};

}  // namespace tarnvisor
