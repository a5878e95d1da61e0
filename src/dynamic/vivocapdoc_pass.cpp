// Operations over the selection, and what makes a new movie or a new image of it.
#include <algorithm>

#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "movie/movieoutput.h"
#include "movie/moviepass.h"

namespace tarnvisor {

void CVivoCapDoc::runStep(const std::string& stepText, StepArea area,
                          const std::function<void(CZZimage&)>& step) {
  processImages(stepText + (area == StepArea::Roi ? roiText() : std::string(text::kLineEnd)),
                [&](CZZimage& each) {
                  if (area == StepArea::Roi)
                    step(*each.makeChild(roi));
                  else
                    step(each);
                });
}

void CVivoCapDoc::processImages(const std::string& words, const std::function<void(CZZimage&)>& operation) {
  const WaitScope wait;
  if (hasMovie()) {
    CView* view = views().empty() ? nullptr : views().front().get();
    const std::string before = movie->fileName;
    const CZZMovie::Range range = selection();
    MoviePass pass(*movie, std::string(trimmed(words.substr(0, words.find('\r')))), range);
    if (isMovieOfOthers()) movie->shared = 1;
    if (pass.openInPlace(freeMovieName(homeFolder() + withoutExtension(fileNameOf(before))))) {
      while (pass.next()) {
        refreshImage();
        operation(*theImage());
        if (!view) continue;
        view->onUpdate(CView::Change::Pixels);
        view->redrawNow();
      }
      if (pass.wasStopped() && (pass.isBeside() || pass.step() == 0)) {
        pass.abandon();
        showImage(range.first);
        return;
      }
      if (pass.wasStopped()) appendNotes(format("the first %i images: ", pass.step()));
      const bool kept = pass.finish();
      // The new movie is what was selected.
      if (movie->fileName != before) selectionFirst = selectionLast = -1;
      movieChanged();
      if (!kept) tellFailedPass(before);
    } else {
      report(movie->failure());
    }
  }
  appendNotes(words);
  setModified();
  updateAllViews();
}

// The movie is the one before; the images that were written lie beside.
void CVivoCapDoc::tellFailedPass(const std::string& before) {
  const std::string left = movie->leftOver();
  std::string state = "\nIt is as it was.";
  if (!left.empty())
    state += format(" %i images were processed before and saved as %s.", movie->processedCount, left.c_str());
  else if (movie->processedCount > 0)  // in place
    state = format("\nIts first %i selected images were processed.", movie->processedCount);
  report(format("%s could not be processed: %s.%s", fileNameOf(before).c_str(), movie->failure().c_str(),
                state.c_str()));
}

bool CVivoCapDoc::makeMovie(const std::string& words,
                            const std::function<bool(CZZMovie&, const std::string&)>& work) {
  if (!hasMovie()) return false;
  const std::string folder = workFolder();
  if (folder.empty()) return false;
  const WaitScope wait;
  const std::string before = movie->fileName;
  const std::string stem = before.empty() ? stemOfTitle() : withoutExtension(fileNameOf(before));
  const std::string name = freeMovieName(folder + stem);
  if (name.empty()) {
    report("All names from " + stem + "A to " + stem + "z in the work folder are taken.");
    return false;
  }
  movie->forgetFailure();
  if (!work(*movie, name)) {
    if (movie->failure().empty() && !movie->wasCancelled())
      report("That would leave no images.");
    else if (!movie->wasCancelled())
      tellFailedPass(before.empty() ? title() : before);
    updateAllViews();
    return false;
  }
  selectionFirst = selectionLast = -1;
  movieChanged();
  appendNotes(words + text::kLineEnd);
  setModified();
  updateAllViews();
  return true;
}

ZBasicDoc* CVivoCapDoc::averageSelection() {
  if (!hasMovie()) return nullptr;
  const WaitScope wait;
  auto mean = std::make_unique<CZZimage>();
  movie->forgetFailure();
  if (!movie->averageInto(*mean, selectionFirst, selectionLast)) {
    if (!movie->wasCancelled()) report(movie->failure().empty() ? text::kNoMemory : movie->failure());
    return nullptr;
  }
  const CZZMovie::Range range = selection();
  ZBasicDoc* made = openImage(std::move(mean), format("Av%1i-%1i", range.first, range.last));
  if (!made) return nullptr;
  if (process.batchMode) {
    made->keepwhole = 1;  // nobody is there to be asked
    const std::string path = folderOf(pathName().empty() ? moviePath : pathName()) + made->title() + ".tv1";
    if (made->onSaveDocument(path)) made->setPathName(path);
  }
  made->updateAllViews();
  return made;
}

}  // namespace tarnvisor
