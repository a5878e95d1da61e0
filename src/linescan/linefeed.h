// What ties a view's line, or two, to the linescan window: the view that a line was chosen in samples it in
// each image it shows, and the window stores the rows.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "linescan/imagefacts.h"
#include "linescan/scanline.h"
#include "linescan/zlinescandoc.h"

namespace tarnvisor {

// Sampled twice an image where the fields of a frame count as two samples.
bool samplesFields(const ZlineScanDoc& scan, const ImageFacts& images);
ZlineScanDoc::LineFacts lineFacts(const ZlineScanDoc& scan, const ImageFacts& images,
                                  const std::string& name);

class LineFeed {
 public:
  LineFeed() = default;
  ~LineFeed();
  LineFeed(const LineFeed&) = delete;
  LineFeed& operator=(const LineFeed&) = delete;

  // The first line, or the second for the delay between two. Empty words when the window takes it; it samples
  // from then on. The window is opened.
  std::string take(std::span<const Point> path, int32_t across, bool isSecond, const ImageFacts& images,
                   const std::string& name, const CDocument& video);
  void drop();
  bool isFeeding() const;
  bool isTwo() const { return isFeeding() && !second.isEmpty(); }

  // The image that is shown now, by its number in the sequence. What lies outside it, and images that were
  // passed over since the last one, leave rows without values.
  void sample(const CZZimage& image, int64_t number);
  void pause();  // until the next sample

 private:
  std::string begin(const CDocument& video);
  ScanLine first, second;
  ImageFacts facts;
  std::string lineName;
  double distance = 0;
  Point middle, secondMiddle;
  int64_t lastNumber = -1;  // sampled; -1 for none since the last pause
  CdataVect* firstRow = nullptr;
  CdataVect* secondRow = nullptr;
};

}  // namespace tarnvisor
