// Operations over the selection, and what makes a new movie or a new image of it.
#include <algorithm>
#include <optional>

#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "movie/movieimage.h"
#include "movie/movieoutput.h"
#include "movie/moviepass.h"
#include "movie/movierewrite.h"

namespace tarnvisor {

void CVivoCapDoc::runStep(const std::string& stepText, StepArea area,
                          const std::function<void(CZZimage&)>& step) {
  processImages(stepText + (area == StepArea::Roi ? roiText() : std::string(text::kLineEnd)),
                [this, area, step](CZZimage& each) {
                  if (area == StepArea::Roi)
                    step(*each.makeChild(roi));
                  else
                    step(each);
                });
}

// Walks the selection; each image is shown as it is done.
class CVivoCapDoc::SelectionJob : public Job {
 public:
  SelectionJob(CVivoCapDoc& video, std::string notesWords, std::function<void(CZZimage&)> toEach)
      : doc(video),
        words(std::move(notesWords)),
        what(video.stepCalled.empty() ? std::string(trimmed(words.substr(0, words.find('\r'))))
                                      : video.stepCalled),
        operation(std::move(toEach)),
        before(video.movie->fileName),
        sharedBefore(video.movie->shared),
        version(video.currentVersion()),
        range(video.selection()),
        copiesRest(video.keepsVersions() && !video.goesBeside()),
        pass(*video.movie, copiesRest ? video.movie->clamped(-1, -1) : range) {
    if (what.empty()) what = title();
    if (copiesRest || doc.isMovieOfOthers(before)) doc.movie->shared = 1;
    if (!compressoutput && (copiesRest || doc.goesBeside()))
      taken = " (" + sizeInWords(movieBytes(doc.movie->form(), pass.steps())) + ")";
    opened = pass.openInPlace(freeMovieName(doc.homeFolder() + withoutExtension(fileNameOf(before))));
  }
  std::string title() const override { return "Processing images"; }
  Progress progress() const override { return {what + taken, done, pass.steps()}; }
  bool step() override {
    if (!opened || !pass.next()) return false;
    doc.refreshImage();
    if (const int32_t shown = doc.currentIndex(); shown >= range.first && shown < range.last)
      operation(*doc.theImage());
    ++done;
    doc.showStep();
    return true;
  }
  void end(bool cancelled) override {
    if (!opened) doc.report(doc.movie->failure());
    if (opened && cancelled && (pass.isBeside() || done == 0)) {
      pass.abandon();
      doc.movie->shared = sharedBefore;
      doc.showImage(range.first);
      return;
    }
    if (opened) keep(cancelled);
    doc.appendNotes(words);
    doc.setModified();
    doc.updateAllViews();
  }

 private:
  void keep(bool cancelled) {
    if (cancelled) pass.next();  // the last one is written by being left
    if (cancelled) doc.appendNotes(format("the first %i images: ", done));
    const bool kept = pass.finish();
    // The new movie is what was selected.
    if (doc.movie->fileName != before && !copiesRest) doc.selectionFirst = doc.selectionLast = -1;
    if (doc.movie->fileName == before) doc.movie->shared = sharedBefore;
    doc.movieChanged();
    if (kept) doc.addVersion(what, version);
    if (!kept) doc.tellFailedPass(before);
  }
  CVivoCapDoc& doc;
  std::string words, what, taken;
  std::function<void(CZZimage&)> operation;
  std::string before;
  uint8_t sharedBefore;
  int32_t version;
  CZZMovie::Range range;
  bool copiesRest;  // of a movie that would be changed in place
  MoviePass pass;
  bool opened = false;
  int32_t done = 0;
};

void CVivoCapDoc::processImages(const std::string& words, const std::function<void(CZZimage&)>& operation) {
  if (hasMovie()) {
    const int32_t images = goesBeside() ? selection().size() : imageCount();
    const uint64_t bytes = compressoutput ? 0 : movieBytes(movie->form(), images);
    const bool isNew = goesBeside() || keepsVersions();
    if (!makeVersion() || (isNew && !hasRoomFor(homeFolder(), bytes))) return;
    return start(std::make_unique<SelectionJob>(*this, words, operation));
  }
  appendNotes(words);
  setModified();
  updateAllViews();
}

void CVivoCapDoc::showStep() {
  refreshImage();
  if (views().empty()) return;
  views().front()->onUpdate(CView::Change::Pixels);
  views().front()->redrawNow();
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

class CVivoCapDoc::RewriteJob : public Job {
 public:
  RewriteJob(CVivoCapDoc& video, std::string notesWords, const std::string& name, RewritePlan plan)
      : doc(video),
        words(std::move(notesWords)),
        before(video.movie->fileName),
        version(video.currentVersion()) {
    doc.movie->forgetFailure();
    if (!compressoutput && plan.form) taken = " (" + sizeInWords(movieBytes(*plan.form, plan.frames)) + ")";
    work.emplace(*doc.movie, name, std::move(plan));
  }
  std::string title() const override { return "Making a new movie"; }
  Progress progress() const override { return {title() + taken, work->done(), work->total()}; }
  bool step() override { return work->next(); }
  void end(bool cancelled) override {
    if (cancelled) work->stop();
    if (work->finish()) {
      doc.selectionFirst = doc.selectionLast = -1;
      doc.movieChanged();
      doc.addVersion(words, version);
      doc.appendNotes(words + text::kLineEnd);
      doc.setModified();
    } else if (!cancelled) {
      if (doc.movie->failure().empty())
        doc.report("That would leave no images.");
      else
        doc.tellFailedPass(before.empty() ? doc.title() : before);
    }
    doc.updateAllViews();
  }

 private:
  CVivoCapDoc& doc;
  std::string words, before, taken;
  int32_t version;
  std::optional<MovieRewrite> work;
};

bool CVivoCapDoc::makeMovie(const std::string& words, RewritePlan plan) {
  if (!hasMovie()) return false;
  const std::string folder = workFolder();
  if (folder.empty() || !makeVersion()) return false;
  if (!compressoutput && plan.form && !hasRoomFor(folder, movieBytes(*plan.form, plan.frames))) return false;
  const std::string before = movie->fileName;
  const std::string stem = before.empty() ? stemOfTitle() : withoutExtension(fileNameOf(before));
  const std::string name = freeMovieName(folder + stem);
  if (name.empty()) {
    report("All names from " + stem + "A to " + stem + "z in the work folder are taken.");
    return false;
  }
  start(std::make_unique<RewriteJob>(*this, words, name, std::move(plan)));
  return true;
}

// Ends with a new document of the image.
class CVivoCapDoc::ImageJob : public Job {
 public:
  ImageJob(CVivoCapDoc& video, std::unique_ptr<MovieImage> making, std::string titleWords,
           AfterImage whenDone)
      : doc(video), work(std::move(making)), suffix(std::move(titleWords)), after(std::move(whenDone)) {}
  std::string title() const override { return "Making an image"; }
  Progress progress() const override { return {work->words(), work->done(), work->total()}; }
  bool step() override { return work->next(); }
  void end(bool cancelled) override {
    ZBasicDoc* made = nullptr;
    if (!cancelled) {
      if (std::unique_ptr<CZZimage> pixels = work->take())
        made = doc.openImage(std::move(pixels), suffix);
      else
        doc.report(work->failure().empty() ? text::kNoMemory : work->failure());
    }
    if (after) after(made, cancelled);
  }

 private:
  CVivoCapDoc& doc;
  std::unique_ptr<MovieImage> work;
  std::string suffix;
  AfterImage after;
};

void CVivoCapDoc::makeImage(std::unique_ptr<MovieImage> making, const std::string& suffix, AfterImage after) {
  start(std::make_unique<ImageJob>(*this, std::move(making), suffix, std::move(after)));
}

void CVivoCapDoc::makeAverage(std::unique_ptr<MovieImage> averaging, const char* titleWords,
                              AfterImage after) {
  const CZZMovie::Range range = selection();
  makeImage(std::move(averaging), format("%s%1i-%1i", titleWords, range.first, range.last),
            [this, after = std::move(after)](ZBasicDoc* made, bool cancelled) {
              if (made && process.batchMode) saveUnasked(*made);
              if (after) after(made, cancelled);
            });
}

// Nobody is there to be asked.
void CVivoCapDoc::saveUnasked(ZBasicDoc& made) const {
  made.keepwhole = 1;
  const TakenName taken(folderOf(pathName().empty() ? moviePath : pathName()) + made.title(), ".tv1");
  if (made.onSaveDocument(taken.path())) made.setPathName(taken.path());
  made.updateAllViews();
}

void CVivoCapDoc::averageSelection(AfterImage after) {
  if (!hasMovie()) return;
  makeAverage(std::make_unique<MovieMean>(*movie, selectionFirst, selectionLast), "Av", std::move(after));
}

}  // namespace tarnvisor
