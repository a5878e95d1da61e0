// A new movie made of the frames of one, frame by frame. At its end the movie becomes the new one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "movie/moviepass.h"
#include "movie/zzmovie.h"

namespace tarnvisor {

// Makes frame k; false ends the work without a result.
class FrameMaker {
 public:
  virtual ~FrameMaker() = default;
  [[nodiscard]] virtual bool make(int32_t k, CZZimage& made) = 0;
};

struct RewritePlan {
  std::unique_ptr<CZZimage> form;  // the size and kind of the frames
  int32_t frames = 0;
  std::unique_ptr<FrameMaker> maker;  // null where nothing can be made
};

// make: bool(int32_t k, CZZimage& made); it holds what it needs.
template <class Make>
RewritePlan rewritePlan(std::unique_ptr<CZZimage> form, int32_t frames, Make make) {
  class Maker final : public FrameMaker {
   public:
    explicit Maker(Make how) : made(std::move(how)) {}
    bool make(int32_t k, CZZimage& frame) override { return made(k, frame); }

   private:
    Make made;
  };
  return {std::move(form), frames, std::make_unique<Maker>(std::move(make))};
}
// What the frames of a movie have in common; interlace and rows may be others.
std::unique_ptr<CZZimage> formLike(const CZZimage& frame, int32_t interlace, int32_t rows);
inline std::unique_ptr<CZZimage> formLike(const CZZimage& frame) {
  return formLike(frame, frame.interlace, frame.height);
}

// The movies that outlive these plans; ranges as the movie's operations of the same purpose take them.
RewritePlan mergedFields(CZZMovie& movie);
// Those whose y offset splitting and merging round, as fields hold even rows alone.
int32_t imagesOnOddRows(CZZMovie& movie);
RewritePlan splitFrames(CZZMovie& movie);
RewritePlan keptFrames(CZZMovie& movie, int32_t first, int32_t last);
RewritePlan remainingFrames(CZZMovie& movie, int32_t first, int32_t last);  // without the range
RewritePlan greyFrames(CZZMovie& movie);
RewritePlan framesOfPlanes(CZZMovie& movie, int32_t first, int32_t last);
// other: borrowed, unless it is the owned one
RewritePlan appendedFrames(CZZMovie& movie, CZZMovie& other, std::unique_ptr<CZZMovie> owned = nullptr);

class MovieRewrite {
 public:
  // Into a new file of that name.
  MovieRewrite(CZZMovie& rewritten, const std::string& name, RewritePlan how);
  // Makes the next frame; false when there is none left, or after a failure.
  [[nodiscard]] bool next();
  int32_t done() const { return written; }
  int32_t total() const { return plan.frames; }
  void stop() { pass.stop(); }
  // False when the movie stays as it is; its failure() tells why, if that was not a frame that can't be made.
  [[nodiscard]] bool finish();

 private:
  RewritePlan plan;
  MoviePass pass;
  CZZimage made;
  int32_t written = 0;
  bool opened = false, refused = false;
};

}  // namespace tarnvisor
