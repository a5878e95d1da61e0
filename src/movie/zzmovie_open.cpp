#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/files.h"
#include "base/text.h"
#include "image/stillsequence.h"
#include "movie/moviefile.h"
#include "movie/movieoutput.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "video/videoreader.h"

namespace tarnvisor {

namespace {

constexpr const char* kEmpty = "It is empty: whoever was to write it was stopped.";
constexpr const char* kNotAMovie = "It is no movie, or holds no frames.";

// Names that other programs give to videos of other kinds.
bool isMovieName(const std::string& name) { return equalIgnoringCase(extensionOf(name), "mve"); }

}  // namespace

bool CZZMovie::open(const std::string& name) {
  logPrintf("movie::doOpen:%s\n", name.c_str());
  close();
  trouble.clear();
  rate = scale = 1;
  shared = 1;
  const bool opened = isAviName(name)     ? openVideo(name)
                      : isMovieName(name) ? openFile(name)
                                          : openFile(name) || openVideo(name);
  if (!opened) {
    std::error_code error;
    if (std::filesystem::file_size(name, error) == 0 && !error) trouble = kEmpty;
    file.reset();
    mode = kClosed;
    count = 0;
    return false;
  }
  fileName = absolutePath(name);
  frameAt(0);
  return true;
}

bool CZZMovie::openFile(const std::string& name) {
  file = MovieFile::open(name, MovieFile::Access::Update);
  if (!file) {
    trouble = std::strerror(errno);
    return false;
  }
  MovieLayout layout;
  mode = kFile;
  trouble = kNotAMovie;
  if (!readLayout(*file, layout)) return false;
  holder.interlace = layout.form.interlace;
  const int32_t frameRows = layout.form.height * (layout.form.interlace ? 2 : 1);
  createImages(layout.slots, layout.form.width, frameRows, layout.form.colourset);
  if (slots != layout.slots || holder.width != layout.form.width || holder.height != layout.form.height) {
    trouble = "There is not enough memory for a frame.";
    return false;
  }
  trouble.clear();
  readOpenNumbers(*file, layout, frameTable);
  count = layout.count;
  oldest = layout.oldest;
  wrapped = layout.wrapped;
  frameBytes = layout.frameBytes;
  dataOffset = layout.dataOffset;
  perFrameHeaders = layout.perFrameHeaders;
  recovered = layout.cutOff ? count : 0;
  return true;
}

std::string CZZMovie::shortage() const {
  const bool cutOff = recovered > 0 || (video && video->isCutOff());
  if (const int64_t missing = video ? video->missingFrames() : 0; missing > 0)
    return format("The recording %s %s. %i of the %lli images that it tells of were found", fileName.c_str(),
                  cutOff ? "was cut off" : "is damaged or was cut off", count,
                  count + static_cast<long long>(missing));
  if (!cutOff) return "";
  return format("The recording %s was cut off. %i images of it were saved", fileName.c_str(), count);
}

bool CZZMovie::openRaw(const std::string& name, int32_t width, int32_t height, int32_t frames) {
  close();
  rate = scale = 1;
  shared = 1;
  file = MovieFile::open(name, MovieFile::Access::Update);
  const int64_t bytes = int64_t{width} * height;
  const bool possible = file && width > 0 && height > 0 && bytes <= file->size();
  const int64_t held =
      possible ? std::min<int64_t>(file->size() / bytes, frames > 0 ? frames : INT32_MAX) : 0;
  if (held < 1) {
    trouble = file ? "It holds no image of that size." : std::strerror(errno);
    file.reset();
    return false;
  }
  mode = kFile;
  holder.interlace = 0;
  createImages(static_cast<int32_t>(held), width, height, kGrey);
  count = oldest = static_cast<int32_t>(held);
  frameBytes = bytes;
  dataOffset = 0;
  fileName = absolutePath(name);
  frameAt(0);
  return true;
}

bool CZZMovie::openStills(std::unique_ptr<StillSequence> pictures, const std::string& name) {
  close();
  trouble.clear();
  rate = scale = 1;
  shared = 1;
  stills = std::move(pictures);
  mode = kFile;
  dataOffset = 0;
  holder.interlace = 0;
  const auto [width, height] = stills->size();
  createImages(stills->frames(), width, height, stills->colourset());
  if (slots != stills->frames() || holder.width != width || holder.height != height) {
    trouble = "There is not enough memory for a frame.";
    close();
    return false;
  }
  count = oldest = slots;
  frameBytes = slotBytes();
  fileName = absolutePath(name);
  frameAt(0);
  return true;
}

}  // namespace tarnvisor
