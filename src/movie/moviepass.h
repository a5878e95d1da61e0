// A walk over a movie that leaves frames, in the movie's own file or in a new one. It may be stopped, and
// ends once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "movie/zzmovie.h"

namespace tarnvisor {

class MoviePass {
 public:
  MoviePass(CZZMovie& walked, int32_t steps);
  // A step shows the range's next frame, the first of which is shown at once. What is done to the frame shown
  // goes into the result.
  MoviePass(CZZMovie& walked, CZZMovie::Range shown);
  // One that nobody finished ends without its result.
  ~MoviePass();
  MoviePass(const MoviePass&) = delete;
  MoviePass& operator=(const MoviePass&) = delete;

  // Where its frames go, before the first step. On failure the movie's failure() tells.
  // The movie's own frames, where they are nobody else's; otherwise a new file.
  [[nodiscard]] bool openInPlace(const std::string& name = "");
  // A new file: a name that is the movie's own, or none, stands for a free one beside it.
  [[nodiscard]] bool openBeside(const std::string& name, const CZZimage& form);
  // Exactly this file, which is replaced when the new one is whole.
  [[nodiscard]] bool openAs(const std::string& path, const CZZimage& form);

  // To the next step; false at the end, after a failure, and once it was stopped.
  bool next();
  int32_t step() const { return at; }  // from 0
  int32_t steps() const { return total; }
  // The next frame of the new movie; false when it could not be written.
  [[nodiscard]] bool put(CZZimage& made);

  bool isBeside() const { return output != nullptr; }
  void stop() { stopped = true; }
  bool failed() const;
  // Ends it. False when there is no result: a pass that was stopped leaves the movie as it was, and so does
  // one that failed; but changes in place stay, as far as they went.
  [[nodiscard]] bool finish();
  void abandon();

 private:
  friend class CZZMovie;
  void begin();
  [[nodiscard]] bool hasRead();
  void leave();
  void writeShown();
  bool takeOutput();
  CZZMovie& movie;
  CZZMovie::Range range{0, 0};
  bool shows = false;
  bool writes = false;  // it was opened for that
  bool inMemory = false;
  int32_t total;
  int32_t at = -1;
  bool stopped = false;
  std::unique_ptr<MovieOutput> output;
};

}  // namespace tarnvisor
