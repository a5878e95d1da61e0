// Saving: the movie first, then the document. What lies beside the document moves and is copied with it, so a
// movie of the work folder comes there; one from elsewhere comes there when the user wants it to.
#include <cstdio>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "results/resultdoc.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

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
        notes(d.notes) {
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
};

// The selection, in a file that goes with the document. A movie that has a file stays in it, or comes with
// it beside the document.
bool CVivoCapDoc::saveMovie(const std::string& documentPath) {
  if (!hasMovie()) return true;
  movie->forgetFailure();
  if (moviePath.empty() || movieChoice == MovieChoice::Copy)
    return saveMovieAs(TakenName(withoutExtension(documentPath), compressoutput ? ".z.avi" : ".mve").path(),
                       selectionFirst, selectionLast) ||
           tellUnsavedMovie();
  // Deleted or unplugged while it was shown: what can still be read of it.
  if (!fileExists(moviePath))
    return saveMovieAs(TakenName(withoutExtension(documentPath), ".mve").path(), -1, -1) ||
           tellUnsavedMovie();
  if (isUnattended() && movieChoice == MovieChoice::Usual && selection().size() != imageCount())
    host().messages.show(
        format("The video keeps all %i images; Save As... stores the selection alone.", imageCount()));
  if (sameFolder(folderOf(moviePath), folderOf(documentPath)))
    return movie->recoveredFrames() == 0 || movie->save(movie->fileName) || tellUnsavedMovie();
  switch (placeOfMovie(documentPath)) {
    case MoviePlace::Stays:
      return true;
    case MoviePlace::ComesIn:
      return bringMovieIn(documentPath);
    default:
      return false;
  }
}

bool CVivoCapDoc::saveMovieAs(const std::string& name, int32_t first, int32_t last) {
  const CZZMovie::Range saved = movie->clamped(first, last);
  const bool part = saved.size() != imageCount();
  const WaitScope wait;
  if (isMovieOfOthers(movie->fileName)) movie->shared = 1;  // to be copied, never moved
  if (!movie->save(name, first, last)) return false;
  movieChanged();
  if (part) selectionFirst = selectionLast = -1;
  appendNotes(format("images %i to %i saved as %s", saved.first, saved.last, movie->fileName.c_str()) +
              text::kLineEnd);
  return true;
}

bool CVivoCapDoc::tellUnsavedMovie() {
  if (!movie->wasCancelled()) report(format("%s\n%s", text::kErrorSavingImage, movie->failure().c_str()));
  return false;
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
  if (movieChoice == MovieChoice::KeepLink || leftOutside == moviePath) return MoviePlace::Stays;
  // A pass has made it, and no document knows of it yet.
  if (!movie->shared) return MoviePlace::ComesIn;
  return askForPlace();
}

CVivoCapDoc::MoviePlace CVivoCapDoc::askForPlace() {
  if (isUnattended()) {
    host().messages.show(filledIn(text::kMovieStays, moviePath));
    return MoviePlace::Stays;
  }
  const Answer answer =
      host().messages.show(filledIn(text::kCopyMovie, moviePath), Buttons::YesNoCancel, Icon::Question);
  if (answer == Answer::No) leftOutside = moviePath;
  return answer == Answer::Yes  ? MoviePlace::ComesIn
         : answer == Answer::No ? MoviePlace::Stays
                                : MoviePlace::Cancelled;
}

// Moved when it is this document's alone, else copied; under its own name, or with a number where that is
// taken. Where it can't be brought, the document is saved all the same: its link tells where the movie is.
bool CVivoCapDoc::bringMovieIn(const std::string& documentPath) {
  const std::string wanted = besideDocument(documentPath, moviePath);
  const bool mistaken = takenForMovie(wanted, moviePath);
  const TakenName taken(withoutExtension(wanted), "." + extensionOf(wanted));
  if (saveMovieAs(taken.path(), -1, -1)) return true;
  if (movie->wasCancelled() || mistaken) return tellUnsavedMovie();
  report(format("%s stays where it is: %s", moviePath.c_str(), movie->failure().c_str()));
  return true;
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

// The save left the images where they were made, or brought them elsewhere.
void CVivoCapDoc::settleUnsavedMovie() {
  if (unsavedMovie.path() == moviePath || isMovieOfOthers(unsavedMovie.path())) unsavedMovie.keep();
  unsavedMovie = {};
}

bool CVivoCapDoc::onSaveDocument(const std::string& path) {
  BeforeSave before(*this);
  if (!saveMovie(path)) return false;
  updatePlayPeriod();
  // NOLINTNEXTLINE(bugprone-parent-virtual-call): the image document's would write a file of pixels.
  if (!saveResults(withoutExtension(path)) || !CdbDocument::onSaveDocument(path)) {
    goBackTo(before);
    return false;
  }
  // From now on the movie is a stored document's, which finds it by its name and as it is now.
  if (movie) movie->shared = 1;
  settleUnsavedMovie();
  return true;
}

}  // namespace tarnvisor
