// What scripts ask of a video.
#include <climits>
#include <cmath>

#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "imagedoc/otherpictures.h"
#include "movie/movieoutput.h"

namespace tarnvisor {

namespace {

// The movie kinds that a video is exported as.
bool isVideoName(const std::string& path) {
  const std::string kind = lowerCase(extensionOf(path));
  return kind == "avi" || kind == "mve";
}

}  // namespace

// The end exclusive; -1 for the start and the end of the movie.
StepResult CVivoCapDoc::selectRange(double first, double last) {
  const auto isIndex = [](double v) { return v >= -1 && v <= INT32_MAX && v == static_cast<int32_t>(v); };
  if (!isIndex(first) || !isIndex(last))
    return StepResult::failure(format("images are counted from 0 to %i, the end exclusive", imageCount()));
  if (const Outcome done = select(static_cast<int32_t>(first), static_cast<int32_t>(last)); !done)
    return StepResult::failure(done.why());
  const CZZMovie::Range range = selection();
  return {true, {}, {{"first", format("%i", range.first)}, {"last", format("%i", range.last)}}, {}};
}

StepResult CVivoCapDoc::show(int32_t index) {
  if (!hasMovie()) return StepResult::nothing();
  if (index < 0 || index >= imageCount())
    return StepResult::failure(format("there is no image %i; the last is %i", index, imageCount() - 1));
  showImage(index);
  if (!movie->hasReadShown()) return StepResult::failure(format(text::kUnreadImage, index));
  return {true, {}, {{"image", format("%i", index)}}, {}};
}

std::vector<std::string> CVivoCapDoc::filesInUse() const {
  std::vector<std::string> files = ZBasicDoc::filesInUse();
  files.insert(files.end(), {moviePath, resultsPath, hasMovie() ? movie->fileName : std::string()});
  return files;
}

// The selection, uncompressed as AVI or as it is stored.
StepResult CVivoCapDoc::exportTo(const std::string& path) {
  const bool isDicom = equalIgnoringCase(extensionOf(path), "dcm");
  if (!isVideoName(path) && !isDicom && showsUnread())
    return StepResult::failure(format(text::kUnreadImage, currentIndex()));
  if (!isVideoName(path) && !isDicom) return ZBasicDoc::exportTo(path);
  const CZZMovie::Range range = selection();
  if (!hasMovie()) return StepResult::failure("the video has no images");
  if (const Outcome may = theApp().documents.mayOutputTo(path); !may) return StepResult::failure(may.why());
  if (isDicom || isAviName(path)) {
    const Outcome made = isDicom ? exportDicomSequence(path, dicomFactsOf(*this)) : exportAvi(path);
    if (!made) return StepResult::failure(made.why());
  } else {
    // By a movie of its own, so that the video stays linked to the file it has.
    CZZMovie copy;
    if (movie->isRaw() || !copy.open(movie->fileName))
      return StepResult::failure("only a video that is saved can be exported");
    copy.adoptTable(movie->frameTable);
    if (!copy.saveFrames(path, range.first, range.last)) return StepResult::failure(copy.failure());
  }
  return {true, {}, {{"path", path}, {"images", format("%i", range.size())}}, "exported " + path};
}

StepResult CVivoCapDoc::tell(const std::string& what) {
  if (what == "fps") return {true, {}, {{"fps", format("%.10g", fps)}}, format("%.10g\n", fps)};
  if (what == "offsets") {
    std::string text = "image,number,x,y\n";
    for (int32_t i = 0; i < imageCount(); ++i) {
      const FrameRecord& record = movie->recordOf(i);
      text += format("%i,%i,%i,%i\n", i, static_cast<int32_t>(record.number), record.xOrigin, record.yOrigin);
    }
    return {true, {}, {}, text};
  }
  if (what != "status") return ZBasicDoc::tell(what);
  const CZZMovie::Range range = selection();
  std::string text = statusText();
  text += format("images %i\nimage %i\nselection %i to %i\nfps %.10g\nmovie %s\n", imageCount(),
                 currentIndex(), range.first, range.last, fps, moviePath.c_str());
  if (selectionStep > 1) text += format("step of compressed exports %i\n", selectionStep);
  if (!movementSummary.empty()) text += movementSummary + "\n";
  return {true, {}, {}, text};
}

}  // namespace tarnvisor
