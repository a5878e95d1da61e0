// Images made of many frames of a movie, in steps that a window can live with: each takes a few frames into
// sums that stay. The result has the same bits however many frames a step takes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "image/accumulate.h"
#include "movie/zzmovie.h"

namespace tarnvisor {

class FrameMean;

class MovieImage {
 public:
  virtual ~MovieImage();
  MovieImage(const MovieImage&) = delete;
  MovieImage& operator=(const MovieImage&) = delete;

  virtual std::string words() const = 0;  // what it does now
  virtual int64_t done() const = 0;
  virtual int64_t total() const = 0;
  // The next frames; false when all are in, or after a failure. Without memory it throws.
  [[nodiscard]] virtual bool next() = 0;
  // The image, when next() returned false; null after a failure.
  [[nodiscard]] virtual std::unique_ptr<CZZimage> take();
  // In words, a frame that can't be read among them; empty where the memory did not suffice.
  const std::string& failure() const { return trouble; }

 protected:
  MovieImage(CZZMovie& shown, int32_t first, int32_t last);
  bool failsAt(int32_t index);  // that frame can't be read: false

  CZZMovie& movie;
  CZZMovie::Range range;
  std::unique_ptr<CZZimage> image;  // null where there can't be one
  std::string trouble;
};

// The mean, on the smallest canvas that holds the frames of the range where they lie.
class MovieMean final : public MovieImage {
 public:
  MovieMean(CZZMovie& shown, int32_t first, int32_t last);
  ~MovieMean() override;
  std::string words() const override { return "Averaging"; }
  int64_t done() const override;
  int64_t total() const override;
  bool next() override;

 private:
  std::unique_ptr<FrameMean> mean;
};

// The deviation of each pixel, of a movie of grey images.
class MovieDeviation final : public MovieImage {
 public:
  MovieDeviation(CZZMovie& shown, int32_t first, int32_t last);
  std::string words() const override { return "Computing deviations"; }
  int64_t done() const override { return at - range.first; }
  int64_t total() const override { return range.size(); }
  bool next() override;
  std::unique_ptr<CZZimage> take() override;

 private:
  PixelStatistics statistics;
  CZZimage each;
  int32_t at;
};

// The mean of the sharpest frames: for each cell of half a frame's width and height, the one of the greatest
// measure above 0 whose origin lies strictly inside. Without any the image stays dark.
class MovieSharpest final : public MovieImage {
 public:
  using Measure = std::function<double(const CZZimage&)>;
  // The sharpest image of each cell of half an image's size that it was moved to, or the sharper half of all.
  enum class Choice { EachCell, SharperHalf };
  MovieSharpest(CZZMovie& shown, Measure sharpness, int32_t first, int32_t last,
                Choice choice = Choice::EachCell);
  ~MovieSharpest() override;
  std::string words() const override;
  int64_t done() const override;
  int64_t total() const override;
  bool next() override;
  size_t framesUsed() const { return used; }
  bool hasFocus() const;  // some image has

 private:
  void choose();
  Measure measure;
  Choice wanted;
  std::vector<double> focus;  // of the range's frames so far
  CZZimage each;
  CZZMovie::Extents extents;
  std::unique_ptr<FrameMean> mean;  // of the sharpest, once all are measured
  size_t used = 0;
};

}  // namespace tarnvisor
