// Opening a video file as a movie.
#include "movie/moviefile.h"
#include "movie/zzmovie.h"
#include "video/videoreader.h"

namespace tarnvisor {

bool CZZMovie::openVideo(const std::string& name) {
  ringMode = 0;
  video = VideoReader::open(name, trouble);
  if (!video) return false;
  mode = kAvi;
  holder.interlace = 0;
  createImages(video->frames(), video->width(), video->height(), kGrey);
  rate = video->rate();
  scale = video->scale();
  count = video->frames() == slots && holder.width == video->width() ? slots : 0;
  if (count < 1 && trouble.empty()) trouble = "It holds no frames.";
  return count > 0;
}

bool CZZMovie::hasWeighedColours() const { return video && video->hasWeighedColours(); }
std::string CZZMovie::codec() const { return video ? video->codec() : "none: the pixels as they are"; }
std::vector<std::string> CZZMovie::doubts() const {
  return video ? video->doubts() : std::vector<std::string>();
}
std::string CZZMovie::depthWords() const { return video ? video->depthWords() : std::string(); }
std::string CZZMovie::unknownCodec() const { return video ? video->unknownCodec() : std::string(); }

}  // namespace tarnvisor
