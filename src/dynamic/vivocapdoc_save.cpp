// Saving: the movie first, then the document. What lies beside the document moves and is copied with it, so a
// movie of the work folder comes there; one from elsewhere comes there when the user wants it to.
#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "movie/moviesave.h"
#include "results/resultdoc.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

const char* movieEnding() { return compressoutput ? ".z.avi" : ".mve"; }

std::string besideDocument(const std::string& documentPath, const std::string& file) {
  return folderOf(documentPath) + fileNameOf(file);
}

}  // namespace

// What a save changes before the document's own file is written.
struct CVivoCapDoc::BeforeSave {
  explicit BeforeSave(const CVivoCapDoc& d)
      : selectionFirst(d.selectionFirst),
        selectionLast(d.selectionLast),
        frameCount(d.frameCount),
        notes(d.notes),
        versions(d.versions) {
    if (!d.hasMovie() || d.movie->isRaw()) return;
    file = d.movie->fileName;
    table = d.movie->frameTable;
    current = d.movie->current;
    shared = d.movie->shared;
  }
  std::string file;  // empty for a movie without one
  FrameTable table;
  int32_t current = 0;
  uint8_t shared = 1;
  int32_t selectionFirst, selectionLast, frameCount;
  std::string notes;
  MovieVersions versions;
};

CVivoCapDoc::MovieMove CVivoCapDoc::comesIn(TakenName name, CZZMovie::Range range, bool mayStay) {
  const std::string path = name.path();
  return {MoviePlace::ComesIn, path, range, mayStay, std::move(name)};
}

// The selection, in a file that goes with the document. A movie that has a file stays in it, or comes with
// it beside the document.
CVivoCapDoc::MovieMove CVivoCapDoc::moveOfMovie(const std::string& documentPath) {
  if (!hasMovie()) return {MoviePlace::Stays};
  if (moviePath.empty() || movieChoice == MovieChoice::Copy)
    return comesIn(TakenName(withoutExtension(documentPath), movieEnding()), selection());
  // Deleted or unplugged while it was shown: what can still be read of it.
  if (!fileExists(moviePath))
    return comesIn(TakenName(withoutExtension(documentPath), ".mve"), movie->clamped(-1, -1));
  if (isUnattended() && movieChoice == MovieChoice::Usual && selection().size() != imageCount())
    host().messages.show(
        format("The video keeps all %i images; Save As... stores the selection alone.", imageCount()));
  if (sameFolder(folderOf(moviePath), folderOf(documentPath)))
    return movie->recoveredFrames() == 0
               ? MovieMove{MoviePlace::Stays}
               : MovieMove{MoviePlace::ComesIn, movie->fileName, movie->clamped(-1, -1)};
  const MoviePlace place = placeOfMovie(documentPath);
  return place == MoviePlace::ComesIn ? moveBeside(documentPath) : MovieMove{place};
}

// Moved when it is this document's alone, else copied; under its own name, or with a number where that is
// taken. Where it can't be brought, the document is saved all the same: its link tells where the movie is.
CVivoCapDoc::MovieMove CVivoCapDoc::moveBeside(const std::string& documentPath) const {
  const std::string wanted = besideDocument(documentPath, moviePath);
  const bool mistaken = takenForMovie(wanted, moviePath);
  return comesIn(TakenName(withoutExtension(wanted), "." + extensionOf(wanted)), movie->clamped(-1, -1),
                 !mistaken);
}

// The movie first; at its end the document.
class CVivoCapDoc::SaveJob : public Job {
 public:
  SaveJob(CVivoCapDoc& video, const std::string& documentPath, MovieMove to, std::vector<int32_t> originals,
          AfterSave whenDone)
      : doc(video),
        path(documentPath),
        move(std::move(to)),
        coming(std::move(originals)),
        before(video),
        fileBefore(video.movie->fileName),
        stampBefore(fileStamp(documentPath)),
        isPart(move.range.size() != video.imageCount()),
        after(std::move(whenDone)) {
    if (doc.isMovieOfOthers(doc.movie->fileName)) doc.movie->shared = 1;  // to be copied, never moved
    beginNext();
  }
  std::string title() const override { return "Saving " + fileNameOf(path); }
  std::string lostIfStopped() const override { return fileNameOf(path) + " is still being saved."; }
  Progress progress() const override {
    return saving ? Progress{saving->words(), saving->done(), saving->total()} : Progress{title()};
  }
  bool step() override {
    if (!saving || saving->next()) return saving.has_value();
    if (!original) return false;
    endOriginal();
    beginNext();
    return true;
  }
  void end(bool cancelled) override {
    if (cancelled && saving) saving->stop();
    if (original) {  // stopped on the way
      (void)saving->finish();
      return after(false);
    }
    if (!saving) return after(!cancelled && saveLinked());
    const bool moved = saving->finish();
    if (doc.movie->fileName != fileBefore) doc.movieChanged();
    if (moved && doc.movie->fileName != fileBefore) followMove();
    if (moved && move.name != fileBefore) noteMove();
    doc.refreshImage();
    doc.updateAllViews();
    after((moved || staysAllTheSame(cancelled)) && saveLinked());
  }

 private:
  // The originals one by one, then the movie that is shown.
  void beginNext() {
    saving.reset();
    original.reset();
    while (!coming.empty() && !original) {
      const MovieVersion* version = doc.versions.find(coming.back());
      original = std::make_unique<CZZMovie>();
      if (const Outcome opened = openVersion(*version, *original); !opened) {
        doc.report(version->file + " stays where it is: " + opened.why());
        original.reset();
        coming.pop_back();
        continue;
      }
      const std::string wanted = besideDocument(path, version->file);
      const bool isMovie = !original->isRaw();
      taken = TakenName(withoutExtension(wanted), isMovie ? "." + extensionOf(wanted) : movieEnding());
      saving.emplace(*original, taken.path(), -1, -1);
    }
    if (!original && move.place == MoviePlace::ComesIn)
      saving.emplace(*doc.movie, move.name, move.range.first, move.range.last);
  }
  // A copy that goes with the document unless that is saved.
  void endOriginal() {
    const int32_t number = coming.back();
    coming.pop_back();
    if (!saving->finish())
      return doc.report(
          format("%s stays where it is: %s", original->fileName.c_str(), original->failure().c_str()));
    for (MovieVersions* list : {&doc.versions, &before.versions}) {
      MovieVersion* version = list->find(number);
      version->file = taken.path();
      version->isOwn = 1;
    }
  }
  void followMove() {
    const MovieVersion* version = doc.versions.ofFile(fileBefore);
    if (!version) return;
    if (isPart)
      doc.addVersion(format("images %i to %i", move.range.first, move.range.last), version->number);
    else
      doc.versions.ofFile(fileBefore)->file = doc.movie->fileName;
  }
  void noteMove() {
    if (isPart) doc.selectionFirst = doc.selectionLast = -1;
    doc.appendNotes(format("images %i to %i saved as %s", move.range.first, move.range.last,
                           doc.movie->fileName.c_str()) +
                    text::kLineEnd);
  }
  // Another document may have been saved under that name meanwhile.
  bool saveLinked() {
    if (fileStamp(path) == stampBefore) return doc.saveLinked(path, before);
    doc.report(path + " was written meanwhile by another document. Choose another name.");
    doc.goBackTo(before);
    return false;
  }
  // Whether the document is saved though its movie did not come in.
  bool staysAllTheSame(bool cancelled) const {
    const std::string why = doc.movie->failure();
    if (move.mayStay && !cancelled)
      doc.report(format("%s stays where it is: %s", doc.moviePath.c_str(), why.c_str()));
    else if (!cancelled)
      doc.report(format("%s\n%s", text::kErrorSavingImage, why.c_str()));
    return move.mayStay && !cancelled;
  }
  CVivoCapDoc& doc;
  std::string path;
  MovieMove move;
  std::vector<int32_t> coming;  // numbers of the originals that are still to be copied
  BeforeSave before;
  std::string fileBefore, stampBefore;
  bool isPart;
  AfterSave after;
  std::unique_ptr<CZZMovie> original;  // that is being copied
  TakenName taken;
  std::optional<MovieSave> saving;
};

// The job that saves the document; null where its movies stay, and all is done.
std::unique_ptr<Job> CVivoCapDoc::savingJob(const std::string& path, AfterSave after) {
  MovieMove move = moveOfMovie(path);
  const auto originals = move.place == MoviePlace::Cancelled ? std::nullopt : originalsComingIn(path);
  if (!originals) move.place = MoviePlace::Cancelled;
  if (originals && (move.place == MoviePlace::ComesIn || !originals->empty()))
    return std::make_unique<SaveJob>(*this, path, std::move(move), *originals, std::move(after));
  BeforeSave before(*this);
  after(move.place == MoviePlace::Stays && saveLinked(path, before));
  return nullptr;
}

// Another window shows the same file.
bool CVivoCapDoc::isMovieOfOthers(const std::string& file) const {
  for (const CDocument* document : theApp().documents.documents())
    if (const auto* other = dynamic_cast<const CVivoCapDoc*>(document);
        other && other != this && other->hasMovie() && sameFile(other->movie->fileName, file))
      return true;
  return false;
}

CVivoCapDoc::MoviePlace CVivoCapDoc::placeOfMovie(const std::string& documentPath) {
  const std::string workFolder = settings.getString("directories", "tempdir", "");
  if (!workFolder.empty() && sameFolder(folderOf(moviePath), workFolder)) return MoviePlace::ComesIn;
  // The next opening would find the wrong one.
  if (takenForMovie(besideDocument(documentPath, moviePath), moviePath)) return MoviePlace::ComesIn;
  const bool isLeft = std::ranges::find(leftOutside, moviePath) != leftOutside.end();
  if (movieChoice == MovieChoice::KeepLink || isLeft) return MoviePlace::Stays;
  // A pass has made it, and no document knows of it yet.
  if (!movie->shared) return MoviePlace::ComesIn;
  return askForPlace(text::kCopyMovie, moviePath);
}

// What passes of a document that was never saved left as it was: no stored link leads to it, and the stick
// that it lies on goes. Pictures and raw frames come in as the movie that a save makes of them. Nothing where
// the user cancelled.
std::optional<std::vector<int32_t>> CVivoCapDoc::originalsComingIn(const std::string& documentPath) {
  std::vector<int32_t> coming;
  if (!hasMovie()) return coming;
  for (const MovieVersion& each : versions.all()) {
    const bool isSettled = each.isOwn || each.isSaved || each.file == savedMovie ||
                           each.file == movie->fileName || !fileExists(each.file) ||
                           std::ranges::find(leftOutside, each.file) != leftOutside.end();
    if (isSettled) continue;
    const bool liesThere = sameFolder(folderOf(each.file), folderOf(documentPath));
    const MoviePlace place = !isMovieOrAvi(each.file) ? MoviePlace::ComesIn
                             : liesThere              ? MoviePlace::Stays
                                                      : askForPlace(text::kCopyOriginal, each.file);
    if (place == MoviePlace::Cancelled) return std::nullopt;
    if (place == MoviePlace::ComesIn) coming.push_back(each.number);
  }
  return coming;
}

CVivoCapDoc::MoviePlace CVivoCapDoc::askForPlace(const char* question, const std::string& file) {
  if (isUnattended()) {
    host().messages.show(filledIn(text::kMovieStays, file));
    return MoviePlace::Stays;
  }
  const Answer answer = host().messages.show(filledIn(question, file) + text::kCopyOrLeave,
                                             Buttons::YesNoCancel, Icon::Question);
  if (answer == Answer::No) leftOutside.push_back(file);
  return answer == Answer::Yes  ? MoviePlace::ComesIn
         : answer == Answer::No ? MoviePlace::Stays
                                : MoviePlace::Cancelled;
}

// The document could not be written, so it is the one before, with the movie of before.
void CVivoCapDoc::goBackTo(BeforeSave& before) {
  if (before.file.empty() || !movie || movie->fileName == before.file) return;
  const std::string made = movie->fileName;
  if (!fileExists(before.file)) {  // it was moved, and still is this document's alone
    movie->shared = before.shared;
    return;
  }
  const int32_t rate = movie->rate, scale = movie->scale;
  if (!movie->open(before.file)) {
    report(format("%s\n%s\n%s", text::kCouldNotLoadImage, before.file.c_str(), movie->failure().c_str()));
    return;
  }
  movie->rate = rate;
  movie->scale = scale;
  movie->shared = before.shared;
  movie->adoptTable(std::move(before.table));
  movie->frameAt(before.current);
  movieChanged();
  selectionFirst = before.selectionFirst;
  selectionLast = before.selectionLast;
  frameCount = before.frameCount;
  notes = before.notes;
  versions = std::move(before.versions);
  if (!made.empty() && std::remove(made.c_str()) != 0) logPrintf("%s can't be removed\n", made.c_str());
  updateAllViews();
}

bool CVivoCapDoc::saveResults(const std::string& stem) {
  if (resultsPath.empty()) return true;
  for (CDocument* document : theApp().documents.documents())
    if (auto* rows = dynamic_cast<CResultDoc*>(document); rows && rows->pathName() == resultsPath) {
      // The table that is there already is another document's.
      const std::string wanted = stem + ".rst";
      const bool stays = sameFile(wanted, resultsPath);
      const TakenName taken = stays ? TakenName() : TakenName(stem, ".rst");
      const std::string name = stays ? resultsPath : taken.path();
      if (!rows->onSaveDocument(name)) return false;
      rows->setPathName(name);
      resultsPath = name;
      return true;
    }
  return true;
}

// To its end: closing, scripts and what saves unasked go on with what it gives.
bool CVivoCapDoc::onSaveDocument(const std::string& path) {
  bool saved = false;
  if (auto job = savingJob(path, [&saved](bool done) { saved = done; })) runToEnd(std::move(job));
  return saved;
}

void CVivoCapDoc::saveVideo() {
  if (needsPath()) return askAndSave();
  if (auto job = savingJob(pathName(), [](bool) {})) start(std::move(job));
}

void CVivoCapDoc::askAndSave() {
  const auto path = askForPath();
  if (!path) return;
  auto job = savingJob(*path, [this, path = *path](bool saved) {
    if (!saved) return;
    setPathName(path);
    updateAllViews();
  });
  if (job) start(std::move(job));
}

// The save left the images where they were made, or brought them elsewhere.
void CVivoCapDoc::settleUnsavedMovie() {
  const std::string& made = unsavedMovie.path();
  if (made == moviePath || isMovieOfOthers(made) || (!made.empty() && versions.ofFile(made)))
    unsavedMovie.keep();
  unsavedMovie = {};
}

// Once for each number.
void CVivoCapDoc::tellFewerImages() {
  const int32_t opened = std::exchange(imagesOpened, imageCount());
  if (isUnattended() || imageCount() >= opened) return;
  host().messages.show(format("%s was saved with %i images, and was opened with %i.%s",
                              fileNameOf(moviePath).c_str(), imageCount(), opened,
                              hasVersions() ? " \"Go to version...\" goes back to the others." : ""));
}

// The document's own file, and its results.
bool CVivoCapDoc::saveLinked(const std::string& path, BeforeSave& before) {
  updatePlayPeriod();
  if (hasVersions()) noteVersion();
  // NOLINTNEXTLINE(bugprone-parent-virtual-call): the image document's would write a file of pixels.
  if (!saveResults(withoutExtension(path)) || !CdbDocument::onSaveDocument(path)) {
    goBackTo(before);
    return false;
  }
  // From now on the movie is a stored document's, which finds it by its name and as it is now.
  if (movie) movie->shared = 1;
  besideMovie.clear();
  settleUnsavedMovie();
  saveVersions(path);
  tellFewerImages();
  return true;
}

}  // namespace tarnvisor
