// Saving a movie under a name, in steps short enough for a live window. At its end the movie is the file of
// that name; the one before stays as it was, but for a movie of nobody else's, which is moved.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/files.h"
#include "movie/moviepass.h"
#include "movie/zzmovie.h"

namespace tarnvisor {

class MovieSave {
 public:
  // AsItFits: a whole movie as its file, where that is of the kind that is wanted; under its own name it gets
  // the end that a recording had no time for.
  enum class How { AsItFits, ByFrames };
  MovieSave(CZZMovie& saved, std::string wanted, int32_t first, int32_t last, How how = How::AsItFits);

  std::string words() const;  // what it does now
  int64_t done() const;       // frames, or bytes
  int64_t total() const;
  // The next frame or block; false when there is none left, or after a failure.
  [[nodiscard]] bool next();
  void stop();
  // False when the movie stays as it is; its failure() tells why.
  [[nodiscard]] bool finish();

 private:
  enum class Way { None, Frames, Copy, Mending };
  void begin(CZZMovie::Range range, How how);
  void beginFrames(CZZMovie::Range range);
  bool mend();
  bool nextBlock();
  bool takeCopy(const Outcome& made);

  CZZMovie& movie;
  std::string name;
  int32_t remembered;  // the frame shown
  Way way = Way::None;
  std::optional<MoviePass> pass;
  std::optional<FileCopy> copy;
  CZZimage each;
  bool replaces = false;  // a file that was there
  bool opened = false;    // the pass
  bool saved = false;
  bool stopped = false;
};

}  // namespace tarnvisor
