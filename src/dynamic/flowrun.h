// Measuring of flow in a video, in steps of a few images, as jobs of the video document.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "analysis/flow.h"
#include "base/files.h"
#include "base/outcome.h"
#include "framework/job.h"
#include "movie/zzmovie.h"

namespace tarnvisor {

class CVivoCapDoc;
class fcfdoc;

// The statistics of a range of a movie's images, each of which is read once.
class FlowRange {
 public:
  // The first only begins, and of one change nobody knows how it varies: with two all maps would be 0.
  static constexpr int32_t kFewestImages = 3;
  // What is wrong with a movie or a selection that is measured so many images at a time, in words, before
  // anything is read.
  [[nodiscard]] static Outcome mayMeasure(CZZMovie& movie, const CZZMovie::Range& selection,
                                          int32_t imagesAtOnce);
  [[nodiscard]] bool begin(CZZMovie& walked, const CZZMovie::Range& images);
  // The next two images; false when all are in. An image that can't be read is an exception.
  [[nodiscard]] bool step();
  int32_t position() const { return at; }  // the next image
  [[nodiscard]] bool finish(FlowMaps& maps) const { return statistics.finishStatistics(rowsApart, maps); }

  // In frame rows: where the common frame begins, and the part of it that all images show.
  Point origin() const { return corner; }
  Rect shared() const { return everywhere; }

 private:
  FlowStatistics::Placed read(int32_t index, CZZimage& into);
  CZZMovie* movie = nullptr;
  CZZMovie::Range range{0, 0};
  int32_t at = 0;
  int32_t rowsApart = 1;
  Point corner;
  Rect everywhere;
  std::array<CZZimage, 2> images;
  FlowStatistics statistics;
};

// FCF of a selection: a document of maps, in which each chunk of so many images takes the place of the one
// before and adds a row of results; and a movie of the pictures. Below 0 one chunk takes all, without a
// movie.
class FlowRun : public Job {
 public:
  FlowRun(CVivoCapDoc& measured, int32_t framesOfChunk);
  // Makes the document, and the movie where there is one. False after the user was told why not.
  [[nodiscard]] bool prepare();

  std::string title() const override { return "Calculating Functional Capillary Flow"; }
  Progress progress() const override;
  bool step() override;
  void end(bool cancelled) override;

 private:
  bool beginChunk();
  bool finishChunk();
  void addToMovie();
  void finishMovie();
  bool isMapOpen() const;

  CVivoCapDoc& video;
  int32_t frames;  // of a chunk
  bool makesMovie;
  int32_t position, first, last, chunkEnd;
  int32_t chunks = 0;  // that are done
  FlowRange range;
  bool measuring = false;  // a chunk is at work in it
  fcfdoc* map = nullptr;
  TemporaryFile recording;             // theirs, until a document has them
  std::unique_ptr<CZZMovie> pictures;  // null without a movie
};

// Flux over conc of a selection, as an image.
class SpeedRun : public Job {
 public:
  SpeedRun(CVivoCapDoc& measured, double threshold, double gain);
  [[nodiscard]] bool prepare();

  std::string title() const override { return "Speed by rms"; }
  Progress progress() const override;
  bool step() override;
  void end(bool cancelled) override;

 private:
  CVivoCapDoc& video;
  CZZMovie::Range images;
  double threshold, gain;
  FlowRange range;
};

}  // namespace tarnvisor
