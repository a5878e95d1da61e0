// The export of a movie as AVI, or as whatever takes its pictures, image by image: the range, every step-th
// image, as it lies on one canvas. It has its name once it is whole; an export that is there stays until
// then.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/files.h"
#include "movie/zzmovie.h"
#include "video/framesink.h"

namespace tarnvisor {

class MovieExport {
 public:
  // What takes the pictures into a file: grey, or blue, green and red bytes. Null where it can't be made.
  struct Pictures {
    Size size;
    bool colour = false;
    int32_t count = 0;
  };
  using MakeSink = std::function<std::unique_ptr<FrameSink>(const std::string& path, const Pictures& pictures,
                                                            std::string& why)>;
  // The range as saveAVI takes it.
  MovieExport(CZZMovie& exported, std::string path, CZZMovie::Range range, int32_t step,
              const MakeSink& makeSink);
  // As an AVI, uncompressed without a compression.
  MovieExport(CZZMovie& exported, std::string path, double framesPerSecond, CZZMovie::Range range,
              int32_t step, const CZZMovie::Compression* compression);
  // One that nobody finished leaves no file.
  ~MovieExport();
  MovieExport(const MovieExport&) = delete;
  MovieExport& operator=(const MovieExport&) = delete;

  // Writes the next image; false when there is none left, or after a failure.
  [[nodiscard]] bool next();
  int32_t done() const { return written; }
  int32_t total() const { return images; }
  void stop() { stopped = true; }
  // Ends it; false without a file. The words of what happened are in report().
  [[nodiscard]] bool finish();
  const std::string& report() const { return words; }

 private:
  bool begin(const MakeSink& makeSink);
  [[nodiscard]] bool fail(const std::string& why);
  bool prepareImages(const CZZMovie::Extents& where);

  CZZMovie& movie;
  std::string name;
  AtomicFile file;
  int32_t from = 0, apart = 1, images = 0, written = 0;
  CZZMovie::Extents extents;
  CZZimage canvas, colour, each;
  std::unique_ptr<FrameSink> writer;
  std::string words;
  bool stopped = false;
  int32_t unread = -1;  // an image that could not be read
};

}  // namespace tarnvisor
