// The steps of a script on videos.
#include <cmath>

#include "base/files.h"
#include "base/text.h"
#include "batch/runner.h"
#include "dynamic/vivocapdoc.h"
#include "movie/movieoutput.h"

namespace tarnvisor {

CVivoCapDoc* ScriptRunner::frontVideo() const { return dynamic_cast<CVivoCapDoc*>(app.documents.active()); }

// The end exclusive; -1 for the start and the end of the movie.
StepResult ScriptRunner::selectImages(CVivoCapDoc& video, const Step& step) {
  const auto number = [](const std::string& text) { return std::strtod(text.c_str(), nullptr); };
  const double first = number(step.args[0]), last = number(step.args[1]);
  const auto within = [&](double v) {
    return v >= -1 && v <= video.imageCount() && v == static_cast<int32_t>(v);
  };
  if (!within(first) || !within(last) || (last >= 0 && first >= last))
    return StepResult::failure(
        format("images are counted from 0 to %i, the end exclusive", video.imageCount()));
  video.select(static_cast<int32_t>(first), static_cast<int32_t>(last));
  const CZZMovie::Range range = video.selection();
  return {true, {}, {{"first", format("%i", range.first)}, {"last", format("%i", range.last)}}, {}};
}

StepResult ScriptRunner::frame(const Step& step) {
  CVivoCapDoc* video = frontVideo();
  if (!video || !video->hasMovie()) return unavailable(step);
  const int32_t index = step.numbers(0)[0];
  if (index < 0 || index >= video->imageCount())
    return StepResult::failure(
        format("there is no image %i; the last is %i", index, video->imageCount() - 1));
  video->showImage(index);
  return {true, {}, {{"image", format("%i", index)}}, {}};
}

// The selection, uncompressed as AVI or as it is stored.
StepResult ScriptRunner::exportVideo(CVivoCapDoc& video, const std::string& path) {
  const CZZMovie::Range range = video.selection();
  if (!video.hasMovie()) return StepResult::failure("the video has no images");
  if (sameFile(path, video.movie->fileName))
    return StepResult::failure("a movie can't be exported over itself");
  std::string told;
  if (isAviName(path)) {
    if (!video.movie->saveAVI(path, static_cast<int32_t>(std::lround(video.imagesPerSecond())), range.first,
                              range.last, 1, false, told))
      return StepResult::failure(told);
  } else {
    // By a movie of its own, so that the video stays linked to the file it has.
    CZZMovie copy;
    if (!copy.open(video.movie->fileName))
      return StepResult::failure("only a video that is saved can be exported");
    copy.adoptTable(video.movie->frameTable);
    if (!copy.saveFrames(path, range.first, range.last)) return StepResult::failure(copy.failure());
  }
  return {true, {}, {{"path", path}, {"images", format("%i", range.size())}}, "exported " + path};
}

StepResult ScriptRunner::printVideo(CVivoCapDoc& video, const std::string& what) const {
  if (what == "fps") return {true, {}, {{"fps", format("%.10g", video.fps)}}, format("%.10g\n", video.fps)};
  if (what == "offsets") {
    std::string text = "image,number,x,y\n";
    for (int32_t i = 0; i < video.imageCount(); ++i) {
      const FrameRecord& record = video.movie->recordOf(i);
      text += format("%i,%i,%i,%i\n", i, static_cast<int32_t>(record.number), record.xOrigin, record.yOrigin);
    }
    return {true, {}, {}, text};
  }
  const CZZMovie::Range range = video.selection();
  std::string text = imageStatus(video);
  text += format("images %i\nimage %i\nselection %i to %i\nfps %.10g\nmovie %s\n", video.imageCount(),
                 video.currentIndex(), range.first, range.last, video.fps, video.moviePath.c_str());
  return {true, {}, {}, text};
}

}  // namespace tarnvisor
