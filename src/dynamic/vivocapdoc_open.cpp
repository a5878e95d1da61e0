// Opening: the document's file, then its movie, where it is or where the user says. Saving: the movie first,
// by a rename where that does, then the document.
#include <filesystem>

#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "imagedoc/magnification.h"
#include "imagedoc/texts.h"
#include "movie/movieoutput.h"
#include "movie/tagreader.h"
#include "results/resultdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

DocumentType* CVivoCapDoc::storedType() const {
  return process.videoTemplate ? process.videoTemplate : type();
}

void CVivoCapDoc::deleteContents() {
  ZBasicDoc::deleteContents();
  if (movie) movie->close();
  movie.reset();
  overlayTraces.items.clear();
  moviePath.clear();
  resultsPath.clear();
  spotVelocities.clear();
  selectionFirst = selectionLast = -1;
}

bool CVivoCapDoc::onOpenDocument(const std::string& path) {
  loadSettings();
  if (endsWithIgnoringCase(path, "avi")) {
    deleteContents();
    if (!takeVideo(path)) return false;
    const std::string own = withoutExtension(path) + ".dtv";
    setPathName(own);
    // A document of that name is not written over without a question.
    bool taken = fileExists(own);
    for (const CDocument* other : theApp().documents.documents())
      taken = taken || (other != this && other->pathName() == pathName());
    if (taken) {
      forgetPathName();
      setTitle(withoutExtension(fileNameOf(own)));
    }
    return true;
  }
  if (!loadFrom(path)) return false;
  isBound = 1;
  if (!moviePath.empty()) linkMovie(path);
  if (!resultsPath.empty() && fileExists(resultsPath)) theApp().openDocumentFile(resultsPath);
  return true;
}

bool CVivoCapDoc::onImportFile(const std::string& path) {
  if (!isMovieFile(path) && !isAviName(path)) return openRawFrames(path);
  if (!takeVideo(path)) return false;
  setTitle(withoutExtension(fileNameOf(path)));
  return true;
}

// A movie without a document: its own rate, where it tells one.
bool CVivoCapDoc::takeVideo(const std::string& path) {
  std::error_code error;
  const std::string full = std::filesystem::absolute(path, error).lexically_normal().string();
  auto fresh = std::make_unique<CZZMovie>();
  if (!fresh->open(error ? path : full)) {
    report(format("%s\n%s\n%s", text::kCouldNotLoadImage, path.c_str(), fresh->failure().c_str()));
    return false;
  }
  movie = std::move(fresh);
  if (movie->mode == CZZMovie::kAvi && movie->scale > 0)
    fps = static_cast<double>(movie->rate) / movie->scale;
  movieChanged();
  updatePlayPeriod();
  giveRate();
  tellOfMovie();
  setModified();
  return true;
}

bool CVivoCapDoc::openMovie(const std::string& path) {
  FrameTable table = std::move(freshMovie().frameTable);
  const bool opened = movie->open(path);
  if (table.empty()) return opened;
  if (opened)
    movie->adoptTable(std::move(table));
  else
    movie->frameTable = std::move(table);  // what it tells outlasts a movie that is away
  return opened;
}

// Where the link says, then beside the document, then where the user says.
bool CVivoCapDoc::linkMovie(const std::string& documentPath) {
  std::string path = moviePath;
  bool moved = false;
  if (!fileExists(path)) path = folderOf(documentPath) + fileNameOf(moviePath);
  if (!fileExists(path)) {
    if (silent) return false;
    host().messages.show(filledIn(text::kCannotFindMovie, moviePath), Buttons::Ok, Icon::Warning);
    if (process.quietMode) return false;
    const auto chosen = host().choosers.openFile({"Open", text::kVideoFilter, "", folderOf(documentPath)});
    if (!chosen || chosen->empty()) return false;
    path = *chosen;
    moved = true;
  }
  const int32_t first = selectionFirst, last = selectionLast;
  if (!openMovie(path)) {
    report(format("%s\n%s\n%s", text::kCouldNotLoadImage, path.c_str(), movie->failure().c_str()));
    return false;
  }
  const int32_t frames = frameCount;
  movieChanged();
  frameCount = frames;
  giveRate();
  selectionFirst = first;
  selectionLast = last;
  tellOfMovie();
  setModified(moved);
  return true;
}

void CVivoCapDoc::tellOfMovie() {
  if (const std::string codec = movie->unknownCodec(); !codec.empty() && !silent)
    host().messages.show(
        format(
            "No decoder for the codec \"%s\" of %s is installed. Its images are shown as they are stored, and mean nothing.",
            codec.c_str(), movie->fileName.c_str()),
        Buttons::Ok, Icon::Warning);
  if (const int32_t saved = movie->recoveredFrames(); saved > 0 && !silent)
    host().messages.show(format(
        "The recording %s was cut off. %i images of it were saved and are shown. The file stays as it is until you save the video.",
        movie->fileName.c_str(), saved));
}

// The pixels in a file beside the header, as the header tells of them.
bool CVivoCapDoc::openRawFrames(const std::string& headerPath) {
  constexpr uint64_t kLongestHeader = uint64_t{1} << 20;
  const auto header = readWholeText(headerPath, kLongestHeader);
  if (!header) {
    report(headerPath + " can't be read.");
    return false;
  }
  std::string told;
  xmlToText(replaced(replaced(*header, '\n', ' '), '\r', ' '), told);
  int32_t width = 640, height = 480, frames = 0;
  double magnification = 0;
  xmlInt(told, "WIDTH", width);
  xmlInt(told, "HEIGHT", height);
  xmlInt(told, "NUMBER_OF_FRAMES", frames);
  const std::string raw = withoutExtension(headerPath) + ".raw";
  if (!freshMovie().openRaw(raw, width, height, frames)) {
    report(format("%s\n%s\n%s", text::kCouldNotLoadImage, raw.c_str(), movie->failure().c_str()));
    movie.reset();
    return false;
  }
  if (xmlDouble(told, "MAGNIFICATION", magnification) && isScale(magnification))
    (void)setScale(magnification, magnification, fileNameOf(headerPath), 0, false, false);
  movieChanged();
  moviePath.clear();  // a save makes a movie of its own
  interlaced = 0;
  fps = 30.0;
  updatePlayPeriod();
  appendNotes(std::string("raw ops") + text::kLineEnd);
  setTitle(withoutExtension(fileNameOf(headerPath)));
  setModified();
  updateAllViews();
  return true;
}

// --- saving

namespace {

// A name that no file has: the first of stem, stem-1, stem-2...
std::string ownMovieName(const std::string& stem) {
  const char* ending = compressoutput ? ".z.avi" : ".mve";
  std::string name = stem + ending;
  for (int number = 1; fileExists(name); ++number) name = format("%s-%i%s", stem.c_str(), number, ending);
  return name;
}

}  // namespace

// The selection, in a file that goes with the document. A movie that has a file stays in it.
bool CVivoCapDoc::saveMovie(const std::string& documentPath) {
  if (!hasMovie()) return true;
  if (!moviePath.empty()) return movie->recoveredFrames() == 0 || movie->save(movie->fileName);
  const std::string name = ownMovieName(withoutExtension(documentPath));
  const CZZMovie::Range saved = selection();
  const bool part = saved.size() != imageCount();
  const WaitScope wait;
  if (!movie->save(name, selectionFirst, selectionLast)) return false;
  movieChanged();
  if (part) selectionFirst = selectionLast = -1;
  appendNotes(format("images %i to %i saved as %s", saved.first, saved.last, movie->fileName.c_str()) +
              text::kLineEnd);
  return true;
}

bool CVivoCapDoc::saveResults(const std::string& stem) {
  if (resultsPath.empty()) return true;
  for (CDocument* document : theApp().documents.documents())
    if (auto* rows = dynamic_cast<CResultDoc*>(document); rows && rows->pathName() == resultsPath) {
      resultsPath = stem + ".rst";
      if (!rows->onSaveDocument(resultsPath)) return false;
      rows->setPathName(resultsPath);
      return true;
    }
  return true;
}

bool CVivoCapDoc::onSaveDocument(const std::string& path) {
  if (!saveMovie(path)) {
    if (!movie->wasCancelled()) report(format("%s\n%s", text::kErrorSavingImage, movie->failure().c_str()));
    return false;
  }
  updatePlayPeriod();
  if (!saveResults(withoutExtension(path))) return false;
  // NOLINTNEXTLINE(bugprone-parent-virtual-call): the image document's would write a file of pixels.
  if (!CdbDocument::onSaveDocument(path)) return false;
  // From now on the movie is a stored document's, which finds it by its name and as it is now.
  if (movie) movie->shared = 1;
  return true;
}

}  // namespace tarnvisor
