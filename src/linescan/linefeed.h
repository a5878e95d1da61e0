// What ties a view's line, or two, to the linescan window: the line is sampled in each image that the view
// that it was chosen in shows, or that comes on another thread, and the window stores the rows.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "linescan/imagefacts.h"
#include "linescan/linequeue.h"
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

  // Where images come on another thread: that one has them sampled into the queue which it is given here when
  // a line is taken, and nullptr when it goes. The rows of so many images wait there.
  using Sampler = std::function<void(std::shared_ptr<LineQueue>)>;
  void sampleElsewhere(int32_t images, Sampler sampler);

  // The image that is shown now, by its number in the sequence. What lies outside it, and images that were
  // passed over since the last one, leave rows without values.
  void sample(const CZZimage& image, int64_t number);
  // Stores the rows that wait. The places of those that were lost for want of room stay without values.
  void takeUp();
  void pause();  // until the next sample; lost rows are told

 private:
  std::string begin(ZlineScanDoc& scan, const CDocument& video);
  void giveQueue(std::shared_ptr<LineQueue> queue);
  void store(ZlineScanDoc& scan);
  void finish();
  ScanLine first, second;
  std::shared_ptr<LineQueue> rows;
  int32_t imagesThatWait = 1;
  Sampler sampler;
  ImageFacts facts;
  std::string lineName;
  double distance = 0;
  Point middle;             // of the first line
  int64_t lastNumber = -1;  // sampled; -1 for none since the last pause
  CdataVect* firstRow = nullptr;
  CdataVect* secondRow = nullptr;
};

}  // namespace tarnvisor
