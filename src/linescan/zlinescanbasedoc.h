// ZlineScanBaseDoc: a chart of a line that was sampled again and again, and the velocity that is computed of
// it, saved as .zzl (docs/formats/zzl.md).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "analysis/linescan.h"
#include "charts/chartdoc.h"

namespace tarnvisor {

// The code that a trace of such rows is made by.
int32_t rowsCodeOf(const C2DTrace& rows);

// A trace that was computed with additions tells so behind its name: "cbv (sub-point)".
std::string nameWithAdditions(const char* plain, const VelocityParameters& parameters);

class ZlineScanBaseDoc : public ZchartDoc {
 public:
  bool onNewDocument() override;
  void deleteContents() override;
  void readSettings() override;
  StepResult tell(const std::string& what) override;  // "velocity" too
  StepResult tellVelocity(uint32_t from, uint32_t to) const;

  // --- the traces, by name and kind as they are now; what is not there is null
  LinescanTraces traceSet() const;
  bool hasScan() const { return scantrace() != nullptr; }
  bool hasLines() const;
  // The units of a velocity, and how many of them one point (of two lines, one unit of distance) a second is.
  std::string velocityUnits() const;
  double velocityGain() const;

  // --- velocity
  // All rows anew, then the slopes and, unless many scans follow one another, the charts that are wanted.
  void calculateVelocity() { calculateVelocity(true); }
  void calculateVelocity(bool withCharts);
  bool canCalculate() const { return hasScan() || hasLines(); }
  // The same in two steps, with nothing kept for Undo, and no slopes or charts: several documents may be
  // computed at once, each by one thread, after the main one has prepared them. False where what is needed
  // can't be made.
  [[nodiscard]] bool prepareVelocity();
  void computeVelocity();
  // Of rows [from, to), all for equal ends; in units of velocityUnits().
  VelocityStatistics statistics(uint32_t from = 0, uint32_t to = 0) const;
  bool hasNumber(const VelocityStatistics& found) const;
  // What is to be read beside a velocity: how good it is, and what makes it doubtful.
  std::string judgement(uint32_t from = 0, uint32_t to = 0) const;
  std::string judgementOfResult() const override { return traceSet().cbv ? judgement() : std::string(); }
  // Both in words, for the user to accept.
  std::string resultWords(uint32_t from = 0, uint32_t to = 0) const;
  // Shows them, and adds the velocity to the results when it is accepted.
  void addVelocityResult(uint32_t from, uint32_t to);
  bool hasVelocity() const;

  // --- slopes, at most kMostSlopes, ordered by their middles
  void setSlopes(std::vector<Slope> fresh);  // can be undone
  const std::vector<Slope>& slopes() const { return slopeList; }
  int32_t selectedslope = -1;
  // Selects the first slope with an end that near, its ends exchanged if it is the second; false for none.
  bool takeSlopeEnd(double time, double value, double timeReach, double valueReach);
  bool beginSlope(double time, double value);  // a new one, selected; false where there is no room
  void moveSlopeEnd(double time, double value);
  void endSlope(std::vector<Slope> before);  // as they were before the end was taken

  // The trace becomes the scan, of so many columns a point.
  void setAsScan(C2DTrace& trace, int32_t linesperpoint);
  // The line gets so many points, which lie closer together or farther apart. Both with their velocity anew.
  void interpolateScan(uint16_t points);

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  VelocityParameters velocity;
  int32_t sampleperiod = 1;  // fields for a sample
  bool useinterlace = false;
  bool dohough = false;
  bool correl2velo = false;
  bool showcbvcorrel = false;
  bool showcbvvcoef = true;
  // Kept for other programs, and used by nothing here.
  int32_t houghpeakwindow = 0;
  int32_t correltol = 10;
  int32_t correlthreshold = 15;

 protected:
  // --- traces as they should be; one of another item, width or length is made anew. Null without memory.
  C2DTrace* makeRows(const char* name, int32_t code, uint32_t width, uint32_t size);  // "" for the scan trace
  ZZTrace* makeSeries(const char* name, const std::string& fullName, uint32_t size);
  // All that a velocity is computed into, as long as the scan or the lines. False without these or memory.
  bool makeDerivedTraces();
  void saveVelocitySettings() const;
  void makeSensible();
  C2DTrace* scantrace() const;
  ZZTrace* find(const char* name) const;
  virtual bool isCapturing() const { return false; }
  virtual bool isTaken() const { return false; }  // a view gives it lines
  RowVelocity rowVelocity;
  double fieldrate = 50.0;  // fields a second

 private:
  void serializeOwn(Archive& archive) override;
  void serializeParameters(Archive& archive, uint32_t version);
  void bindTraces();
  void markTraces() const;
  void put(ZZTrace* present, ZZTrace::Own made);
  // The change that a command makes, which what is computed for it belongs to; null: nothing is kept for
  // Undo.
  Change* recording = nullptr;
  void calculateVelocity(Change& change, bool withCharts);
  bool correlates() const;  // by the method that is chosen
  double rowPeriod() const;
  void postCalculate(bool withCharts);
  ZchartDoc* chartTitled(const std::string& title);
  void refreshLimitChart();
  void refreshScatter();
  void houghVelocities() { houghVelocities(true); }
  void houghVelocities(bool tells);

  // --- zlinescanbasedoc_commands.cpp
  void editParameters();
  void deleteAllSlopes();
  bool hasSlopes() const { return !slopeList.empty(); }
  void listSlopes();
  void cbvUsingFft();
  void correlateTwo();
  bool hasTwoSeries() const;
  template <bool ZlineScanBaseDoc::*Flag>
  bool isOn() const {
    return this->*Flag;
  }
  void toggleInterlace();
  bool mayToggleInterlace() const { return !isCapturing() && !isTaken(); }
  void toggleScatter();
  void toggleLimitChart();
  std::vector<Slope> slopeList;
};

}  // namespace tarnvisor
