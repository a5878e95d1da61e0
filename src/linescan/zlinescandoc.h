// ZlineScanDoc: a linescan that is being taken. A view of a video gives it a line, or two, and then a sampled
// line for each field; each is stored as a row, and its velocity is calculated at once. The first one made is
// the one that videos feed, as long as it is open.
#pragma once

#include <cstdint>
#include <string>

#include "linescan/zlinescanbasedoc.h"

namespace tarnvisor {

class ZlineScanDoc final : public ZlineScanBaseDoc {
 public:
  ZlineScanDoc();
  ~ZlineScanDoc() override;
  void readSettings() override;
  bool onNewDocument() override;
  DocumentType* storedType() const override;

  // --- one line, or two
  struct LineFacts {
    double fieldperiod = 0.0;  // seconds
    double pointlength = 1.0;  // from one point to the next, in yunits
    std::string yunits;
    std::string name;  // of the scan trace
  };
  // Where the line's pixels are to be put before each linesample, points * linesperpoint of them. Null while
  // another view's line is taken, without points, where another method was chosen, and without memory.
  CdataVect* setline(const void* source, int32_t points, int32_t linesperpoint, const LineFacts& facts);
  // The same for two lines, `distance` (in yunits) apart, whose pixels are averaged.
  struct TwoLines {
    CdataVect* first = nullptr;
    CdataVect* second = nullptr;
  };
  TwoLines settwolines(const void* source, int32_t points1, int32_t points2, double distance,
                       const LineFacts& facts);
  // One that no window shows, which samples and computes as this one does.
  std::unique_ptr<ZlineScanDoc> makeAlike() const;
  // Empty, and of that document's subject and exam.
  void beginOf(const CDocument& video);
  bool isTaken() const override { return sourceview != nullptr; }
  bool isOf(const void* source) const { return sourceview == source; }
  // The view that gives lines gives none any more.
  void release(const void* source);

  // --- samples, of the view that gave the line
  void startCapture() { running = 1; }
  void stopCapture();
  bool isCapturing() const override { return running != 0; }
  // While a whole ring is stored at once: nothing that is stored is emptied again.
  void setZeroing(bool on) { zeroes = on; }
  // Stores what was put where setline told, as the sample of so many fields.
  void linesample(int32_t fields);
  // The same time, of which nothing is stored.
  void skiplines(int32_t fields);

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  bool subtracting = false;
  bool cbvON = true;

 private:
  // What of one line goes from sample to sample.
  struct Line {
    CdataVect::Own scanline, previous1, previous2, difference1;
    bool resize(uint32_t items);
    const CdataVect& next(bool subtracting);  // what is to be stored of the new sample
  };
  bool mayTakeLine(const void* source, bool twoLines) const;
  void takeFacts(const void* source, const LineFacts& facts);
  void onelinesample();
  void twolinesample();
  void advanceRing();
  void storeNothing();
  void changeSampleRate();
  void toggleSubtracting();
  bool mayToggleSubtracting() const { return !isTaken(); }
  void toggleCbv();
  bool isSubtracting() const { return subtracting; }
  bool isCbvOn() const { return cbvON; }

  const void* sourceview = nullptr;  // for comparison
  Line line1, line2;
  double period = 1.0;
  bool zeroes = true;
  int32_t usualRows = 500;   // of a line that is followed
  int32_t sinceAdvance = 0;  // samples
  bool justReset = true;
};

// The one that videos feed; null for none.
ZlineScanDoc* theLinescan();
// The same, opened or raised; null where linescans are off.
ZlineScanDoc* openLinescan();

}  // namespace tarnvisor
