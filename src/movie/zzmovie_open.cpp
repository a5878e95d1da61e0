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
  readOpenNumbers(*file, name, layout, frameTable);
  count = layout.count;
  oldest = layout.oldest;
  wrapped = layout.wrapped;
  frameBytes = layout.frameBytes;
  dataOffset = layout.dataOffset;
  perFrameHeaders = layout.perFrameHeaders;
  recovered = layout.cutOff ? count : 0;
  return true;
}

std::string CZZMovie::rawMismatch() const {
  std::string words;
  if (rawFrames.told > rawFrames.whole)
    words = format("The header tells of %i images, but %s holds %lli: these are shown.", rawFrames.told,
                   fileName.c_str(), static_cast<long long>(rawFrames.whole));
  else if (rawFrames.told > 0 && rawFrames.told < rawFrames.whole)
    words = format("The header tells of %i images, which are shown; %s holds %lli.", rawFrames.told,
                   fileName.c_str(), static_cast<long long>(rawFrames.whole));
  if (rawFrames.left > 0)
    words += format("%sThe last %lli bytes of it are no whole image: is the size right?",
                    words.empty() ? "" : " ", static_cast<long long>(rawFrames.left));
  return words;
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
  const int64_t whole = possible ? file->size() / bytes : 0;
  const int64_t held = frames > 0 ? std::min<int64_t>(whole, frames) : whole;
  const auto refuse = [this](std::string why) {
    close();
    trouble = std::move(why);
    return false;
  };
  if (!file) return refuse(std::strerror(errno));
  if (held < 1)
    return refuse(format("It holds no image of %i by %i pixels: it has %lli bytes.", width, height,
                         static_cast<long long>(file->size())));
  if (held > MovieFile::kMostFrames)
    return refuse(format("It would hold %lli images of %i by %i pixels, which is more than a movie can have.",
                         static_cast<long long>(held), width, height));
  mode = kFile;
  holder.interlace = 0;
  const auto wanted = static_cast<int32_t>(held);
  createImages(wanted, width, height, kGrey);
  if (slots != wanted || holder.width != width || holder.height != height)
    return refuse("There is not enough memory for a frame.");
  rawFrames = {frames, whole, file->size() - whole * bytes};
  count = oldest = wanted;
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
