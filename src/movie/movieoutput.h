// A movie being written frame after frame, to a .mve or to an AVI by the ending of its name: what a pass over
// a movie leaves. A file of that name that exists stays as it is until the new one is whole.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/files.h"
#include "image/zzimage.h"

namespace tarnvisor {

class MovieFile;
class VideoWriter;

class MovieOutput {
 public:
  // form: an image of the size and kind that all frames have. Null when the file can't be made; `why` tells.
  static std::unique_ptr<MovieOutput> create(const std::string& path, const CZZimage& form, int32_t rate,
                                             int32_t scale, std::string& why);
  ~MovieOutput();

  // False once something could not be written: why() tells, and what was written before stays whole.
  [[nodiscard]] bool append(CZZimage& image);
  // Trailer or index. The name of the file that now holds the frames, or empty when there are none: after a
  // failure the one written beside, if the wanted name was taken.
  std::string close();
  // Ends it without its file; one that had the wanted name stays.
  void discard();
  int32_t written() const { return count; }
  bool failed() const { return !trouble.empty(); }
  const std::string& why() const { return trouble; }

 private:
  MovieOutput() = default;
  bool appendRows(const CZZimage& image);
  bool appendCompressed(CZZimage& image);

  std::string wanted;
  TakenName place;
  std::string path;                 // of that
  bool replaces = false;            // a file that was there
  std::unique_ptr<MovieFile> file;  // of a .mve, else null
  int64_t end = 0;                  // of the whole frames in it
  int64_t frameBytes = 0;
  std::unique_ptr<VideoWriter> video;       // of an AVI, else null
  std::unique_ptr<CZZimage> compressImage;  // a Bayer frame in colour; null for other movies
  int32_t width = 0, height = 0, colourset = 0;
  int32_t count = 0;
  std::string trouble;
};

// For a movie made of another: the base and a letter, A to Z, then a to z, the first that no file has, with
// the ending of the setting `compressoutput`. Empty when all are taken.
std::string freeMovieName(const std::string& base);
// Where to write a file that may be there: its own name, or one beside it that no file has.
TakenName nameBeside(const std::string& path);
// Whether a movie's name is that of an AVI.
bool isAviName(const std::string& path);
// The codec that recordings and passes are compressed with.
inline constexpr const char* kRecordingCodec = "x264";

}  // namespace tarnvisor
