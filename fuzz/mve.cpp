// A movie file: opened, read through, measured, changed in place and saved.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "imagebytes.h"
#include "movie/movieimage.h"

using namespace tarnvisor;

namespace {

struct Folder {
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tarnvisor-fuzz-XXXXXX").string();
    path = ::mkdtemp(pattern.data());
  }
  ~Folder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
  std::string path;
};

void make(MovieImage&& work) {
  while (work.next()) continue;
  (void)work.take();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Folder folder;
  const std::string name = folder.path + "/a.mve", copy = folder.path + "/b.mve";
  const BytesAsFile file(data, size);
  ::unlink(name.c_str());  // only a name that ends so is read as this and nothing else
  ::unlink(copy.c_str());
  if (::symlink(file.path().c_str(), name.c_str()) != 0) std::abort();

  CZZMovie movie;
  if (!movie.open(name)) return 0;
  const int32_t frames = std::min(movie.count, 40);
  CZZimage image;
  for (int32_t i = -1; i <= frames; ++i) movie.getImage(movie.count - i, image);
  for (int32_t i = 0; i < frames; ++i) movie.nextFrame(frames);
  const CZZMovie::Extents extents = movie.frameExtents(0, frames);
  if (extents.width < 2000 && extents.height < 2000) {
    make(MovieMean(movie, 0, frames));
    make(MovieDeviation(movie, 0, frames));
    make(MovieSharpest(
        movie, [](const CZZimage& each) { return each.meanLevel({}); }, 0, frames));
  }
  if (movie.count > frames || extents.height > 2000 || extents.width > 2000) return 0;
  movie.save(name);  // the missing trailer
  movie.save(copy);
  movie.openProcessing(false, name);
  for (int32_t i = 0; i <= frames; ++i) movie.frameAt(i).invert({});
  movie.closeProcessing();
  movie.mergeFields(copy);
  movie.splitFrames(copy);
  return 0;
}
