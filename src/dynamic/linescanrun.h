// LinescanRun: samples lines in all images of a video's selection, each image read once, several at a time
// where the movie can give them so.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "dynamic/vivocapdoc.h"
#include "linescan/scanline.h"

namespace tarnvisor {

class LinescanRun final : public Job {
 public:
  struct Line {
    ScanLine pixels;
    CdataVect::Own rows = {};          // of levels, one for each sample
    std::vector<uint8_t> stored = {};  // which of them were: the line lay inside an image that could be read
  };
  using Lines = std::vector<Line>;
  // fields: two samples of each image. after: with the lines when all are sampled.
  LinescanRun(CVivoCapDoc& video, Lines lines, bool fields, std::function<void(Lines)> after);
  // False without memory.
  [[nodiscard]] bool prepare();
  std::string title() const override { return "Sampling lines"; }
  Progress progress() const override;
  bool step() override;
  void end(bool cancelled) override;

 private:
  // Who samples an image, with the room that it takes.
  struct Sampler {
    std::vector<ScanLine> lines;
    CZZimage each;
    int32_t unread = 0;
  };
  void sampleImage(int32_t place, Sampler& by);
  CVivoCapDoc& doc;
  Lines lines;
  CZZMovie::Range range;
  int32_t perImage;
  std::function<void(Lines)> after;
  int32_t at = 0;
  Rect bounds;  // of all lines
  std::deque<Sampler> samplers;
};

}  // namespace tarnvisor
