// Opening: the document's file, then its movie, beside it, where its link says or where the user says.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "image/palette.h"
#include "imagedoc/magnification.h"
#include "imagedoc/otherpictures.h"
#include "imagedoc/texts.h"
#include "movie/moviefile.h"
#include "movie/movieoutput.h"
#include "movie/rawheader.h"
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
  dropUnsavedVersions();
  imagesOpened = 0;
  movieDoubts.clear();
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
    noteMadeHere();
    if (!takeVideo(path)) return false;
    setPathName(withoutExtension(path) + ".dtv");
    besideMovie = pathName();
    onSelectionChanged();
    return true;
  }
  if (!loadFrom(path)) return false;
  isBound = 1;
  if (!moviePath.empty()) linkMovie(path);
  loadVersions(path);
  imagesOpened = imageCount();
  recogniseResult();
  openResults(path);
  return true;
}

// A document of that name is not written over without a question, nor does a save leave the selected exam's
// folder without one.
void CVivoCapDoc::onSelectionChanged() {
  if (besideMovie.empty() || besideMovie != pathName()) return besideMovie.clear();
  bool taken = fileExists(besideMovie) || !isFolderOfSelection(folderOf(besideMovie));
  for (const CDocument* other : theApp().documents.documents())
    taken = taken || (other != this && other->pathName() == besideMovie);
  if (!taken) return;
  forgetPathName();
  setTitle(withoutExtension(fileNameOf(std::exchange(besideMovie, {}))));
}

bool CVivoCapDoc::onImportFile(const std::string& path) {
  if (isSequenceFile(path)) return takeSequence(path);
  if (!isMovieOrAvi(path)) return openRawFrames(path);
  if (!takeVideo(path)) return false;
  setTitle(withoutExtension(fileNameOf(path)));
  return true;
}

// A movie without a document: its own rate, where it tells one.
bool CVivoCapDoc::takeVideo(const std::string& path) {
  auto fresh = std::make_unique<CZZMovie>();
  if (!fresh->open(path)) {
    report(format("%s\n%s\n%s", text::kCouldNotLoadImage, path.c_str(), fresh->failure().c_str()));
    return false;
  }
  movie = std::move(fresh);
  if (movie->mode == CZZMovie::kAvi && movie->scale > 0)
    fps = static_cast<double>(movie->rate) / movie->scale;
  else
    appendNotes(format("%s tells no rate: %.10g frames a second are assumed", fileNameOf(path).c_str(), fps) +
                text::kLineEnd);
  movieChanged();
  updatePlayPeriod();
  giveRate();
  imagesOpened = imageCount();
  tellOfMovie();
  tellDoubts();
  if (movie->hasWeighedColours())
    appendNotes("made grey by " + greyWeightsText(weightsOfRows()) + text::kLineEnd);
  setModified();
  return true;
}

// Pages of a TIFF or DICOM file, read where they are; a save makes a movie of them.
bool CVivoCapDoc::takeSequence(const std::string& path) {
  const WaitScope wait;
  std::string why;
  auto pictures = tarnvisor::openPictures(path, why);
  if (!pictures) {
    report(path + " can't be read: " + why);
    return false;
  }
  appendNotes(format("Import %s, %i pictures", fileNameOf(path).c_str(), pictures->frames()) +
              text::kLineEnd);
  takeTold(*pictures);
  if (const std::string shortage = pictures->shortage(); !shortage.empty()) {
    appendNotes(shortage + text::kLineEnd);
    host().messages.show(path + "\n" + shortage, Buttons::Ok, Icon::Warning);
  }
  const double interval = pictures->scale().interval;
  auto fresh = std::make_unique<CZZMovie>();
  if (!fresh->openStills(std::move(pictures), path)) {
    report(path + " can't be read: " + fresh->failure());
    return false;
  }
  movie = std::move(fresh);
  if (interval > 1e-6 && interval < 1e6)
    fps = 1 / interval;
  else
    appendNotes(format("%s tells no rate: %.10g frames a second are assumed", fileNameOf(path).c_str(), fps) +
                text::kLineEnd);
  interlaced = 0;
  movieChanged();
  updatePlayPeriod();
  giveRate();
  imagesOpened = imageCount();
  setTitle(withoutExtension(fileNameOf(path)));
  setModified();
  updateAllViews();
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

namespace {

// Whether two files of one length begin and end alike, as movies of different recordings never do.
bool endsAlike(const std::string& one, const std::string& other) {
  constexpr int64_t kLooked = int64_t{1} << 20;
  const auto a = MovieFile::open(one, MovieFile::Access::Update);
  const auto b = MovieFile::open(other, MovieFile::Access::Update);
  if (!a || !b || a->size() != b->size()) return false;
  const auto bytesAt = [&](const MovieFile& file, int64_t at) {
    std::vector<uint8_t> bytes(static_cast<size_t>(std::min(kLooked, file.size())));
    bytes.resize(file.read(bytes.data(), bytes.size(), at));
    return bytes;
  };
  const int64_t last = std::max<int64_t>(0, a->size() - kLooked);
  return bytesAt(*a, 0) == bytesAt(*b, 0) && bytesAt(*a, last) == bytesAt(*b, last);
}

}  // namespace

// Whether a file beside the document is its movie, though the link leads to another: as many images as the
// table has, and as long as the one that is linked, if that is there too.
bool CVivoCapDoc::takenForMovie(const std::string& beside, const std::string& linked) const {
  if (!fileExists(beside) || sameFile(beside, linked)) return false;
  std::error_code error;
  if (fileExists(linked) &&
      std::filesystem::file_size(beside, error) != std::filesystem::file_size(linked, error))
    return false;
  if (!movie || movie->frameTable.empty()) return true;
  CZZMovie other;
  return other.open(beside) && other.frameTable.size() == movie->frameTable.size();
}

// Beside the document first, so that a folder that was copied or moved works with its own movie; then where
// the link says. Empty when it is away.
std::string CVivoCapDoc::findMovie(const std::string& documentPath) {
  const std::string folder = folderOf(documentPath);
  std::string beside = folder + fileNameOf(moviePath);
  std::string linked = isAbsolutePath(moviePath) ? moviePath : folder + moviePath;
  if (takenForMovie(beside, linked) && prefersBeside(beside, linked)) return beside;
  if (fileExists(linked)) {
    if (fileExists(beside) && !sameFile(beside, linked) && !takenForMovie(beside, linked))
      tellOfUnlike(beside, linked);
    return linked;
  }
  const std::string atTarget = folderOf(linkTarget(documentPath)) + fileNameOf(moviePath);
  return takenForMovie(atTarget, linked) ? atTarget : "";
}

// A copy that was cut, or a processed one.
void CVivoCapDoc::tellOfUnlike(const std::string& beside, const std::string& linked) {
  const std::string words =
      format("%s has another length than %s, which the document names, and is not used.", beside.c_str(),
             linked.c_str());
  doubt(words);
  if (!silent) host().messages.show(words, Buttons::Ok, Icon::Information);
}

// Whether the movie beside the document is used, which may be another recording than the linked one. The
// notes tell what was decided.
bool CVivoCapDoc::prefersBeside(const std::string& beside, const std::string& linked) {
  const bool known = fileExists(linked);
  if (known && endsAlike(beside, linked)) return true;
  const std::string differs =
      known ? format("%s has other images than %s, which the document names.", beside.c_str(), linked.c_str())
            : std::string();
  if (known && !silent) {
    if (isUnattended())
      host().messages.show(differs + " The one beside the document is taken.");
    else if (
        host().messages.show(
            differs +
                "\nUse the one beside the document?\nyes = that one; no = the one that the document names.",
            Buttons::YesNo, Icon::Question) != Answer::Yes) {
      doubt(differs + " The latter is used.");
      return false;
    }
  }
  if (known)
    doubt(differs + " The former is used.");
  else
    appendNotes(format("%s is used in place of %s, which is away", beside.c_str(), linked.c_str()) +
                text::kLineEnd);
  return true;
}

void CVivoCapDoc::linkMovie(const std::string& documentPath) {
  std::string path = findMovie(documentPath);
  const bool away = path.empty();
  if (away) {
    if (silent) return;
    host().messages.show(filledIn(text::kCannotFindMovie, moviePath), Buttons::Ok, Icon::Warning);
    if (isUnattended()) return;
    const auto chosen = host().choosers.openFile({"Open", text::kVideoFilter, "", folderOf(documentPath)});
    if (!chosen || chosen->empty()) return;
    path = *chosen;
  }
  const int32_t first = selectionFirst, last = selectionLast;
  const size_t known = movie ? movie->frameTable.size() : 0;
  if (!openMovie(path))
    return report(format("%s\n%s\n%s", text::kCouldNotLoadImage, path.c_str(), movie->failure().c_str()));
  const int32_t frames = frameCount;
  movieChanged();
  frameCount = frames;
  giveRate();
  selectionFirst = first;
  selectionLast = last;
  tellOfMovie();
  tellOfMissing(known);
  setModified(away);
}

// Pictures and raw frames that a save would make a movie of have no link in the archive.
void CVivoCapDoc::tellUnsaved(UnsavedCopy& copy) {
  ZBasicDoc::tellUnsaved(copy);
  copy.facts["ownmovie"] = unsavedMovie.path();
  copy.facts["savedmovie"] = savedMovie;
  if (hasVersions())
    copy.second = {".versions",
                   [this] { return format("%llu", static_cast<unsigned long long>(changeCount())); },
                   [list = versions](const std::string& path) { return list.write(path); }};
  if (!hasMovie() || !movie->isRaw()) return;
  copy.facts["pictures"] = movie->fileName;
  copy.facts["size"] = format("%i %i %i", movie->form().width, movie->form().frameHeight(), movie->slots);
}

void CVivoCapDoc::takeUnsaved(const LeftCopy& left) {
  LeftCopy facts = left;
  facts.second.clear();  // holds no pixels
  ZBasicDoc::takeUnsaved(facts);
  unsavedMovie = TemporaryFile(left.fact("ownmovie"));
  savedMovie = left.fact("savedmovie");
  if (!left.second.empty())
    if (const Outcome read = versions.read(left.second); !read)
      appendNotes("the versions are not known: " + read.why() + text::kLineEnd);
  int32_t width = 0, height = 0, frames = 0;
  const std::string size = left.fact("size");
  if (!hasMovie() && std::sscanf(size.c_str(), "%i %i %i", &width, &height, &frames) == 3)
    openPicturesAgain(left.fact("pictures"), {width, height}, frames);
}

bool CVivoCapDoc::openPictures(CZZMovie& into, const std::string& path, Size size, int32_t frames,
                               std::string& why) {
  auto pictures = isSequenceFile(path) ? tarnvisor::openPictures(path, why) : nullptr;
  return pictures ? into.openStills(std::move(pictures), path)
                  : into.openRaw(path, size.width, size.height, frames);
}

void CVivoCapDoc::openPicturesAgain(const std::string& path, Size size, int32_t frames) {
  std::string why;
  FrameTable table = std::move(freshMovie().frameTable);
  if (!openPictures(*movie, path, size, frames, why))
    return report(format("%s\n%s\n%s", text::kCouldNotLoadImage, path.c_str(),
                         (why.empty() ? movie->failure() : why).c_str()));
  movie->adoptTable(std::move(table));
  movieChanged();
  giveRate();
}

// Found as the movie is.
void CVivoCapDoc::openResults(const std::string& documentPath) {
  if (resultsPath.empty() || silent) return;
  const std::string beside = folderOf(documentPath) + fileNameOf(resultsPath);
  if (fileExists(beside)) resultsPath = beside;
  if (fileExists(resultsPath)) theApp().openDocumentFile(resultsPath);
}

void CVivoCapDoc::tellOfMovie() {
  if (const std::string codec = movie->unknownCodec(); !codec.empty() && !silent)
    host().messages.show(
        format(
            "No decoder for the codec \"%s\" of %s is installed. Its images are shown as they are stored, and mean nothing.",
            codec.c_str(), movie->fileName.c_str()),
        Buttons::Ok, Icon::Warning);
  if (const std::string shortage = movie->shortage(); !shortage.empty())
    tellShortage(shortage + " and are shown.",
                 std::string(" The file stays as it is") +
                     (movie->recoveredFrames() > 0 ? " until you save the video." : "."),
                 Icon::Information);
}

// Each opening notes it, the notes once.
void CVivoCapDoc::doubt(const std::string& words, bool isLoss) {
  movieDoubts.push_back({words, isLoss});
  if (notes.find(words) == std::string::npos) appendNotes(words + text::kLineEnd);
}

// The notes keep them, so a document that was saved says no more of it.
void CVivoCapDoc::tellDoubts() {
  if (const std::string depth = movie->depthWords(); !depth.empty())
    appendNotes(fileNameOf(movie->fileName) + " is " + depth + text::kLineEnd);
  for (const std::string& words : movie->doubts()) {
    doubt(words);
    if (!silent) host().messages.show(words, Buttons::Ok, Icon::Information);
  }
}

void CVivoCapDoc::tellShortage(const std::string& fact, const std::string& consequence, Icon icon,
                               bool ofImages) {
  doubt(fact, ofImages);
  if (!silent) host().messages.show(fact + consequence, Buttons::Ok, icon);
}

// A movie that was cut, or another one of that name: what the document measured may lie in images that it has
// no more.
void CVivoCapDoc::tellOfMissing(size_t known) {
  const auto held = static_cast<size_t>(std::max(0, movie->slots));
  if (held >= known) return;
  tellShortage(format("%s has %zu images, but its document was saved with %zu: %zu are missing.",
                      movie->fileName.c_str(), held, known, known - held),
               " A save keeps only those that are there.", Icon::Warning);
}

// The pixels, as the header beside them tells of them; without one they have the usual size.
bool CVivoCapDoc::openRawFrames(const std::string& path) {
  const bool isFrames = isRawFile(path);
  const std::string headerPath = isFrames ? rawHeaderBeside(path) : path;
  const std::string rawPath = isFrames ? path : rawFramesBeside(path);
  const auto refuse = [this](const std::string& why) {
    report(why);
    return false;
  };
  RawHeader header;
  if (!headerPath.empty())
    if (const Outcome read = readRawHeader(headerPath, header); !read) return refuse(read.why());
  if (rawPath.empty()) return refuse(format("%s: there is no .raw of this name beside it.", path.c_str()));
  if (!freshMovie().openRaw(rawPath, header.width, header.height, header.frames)) {
    const std::string why = movie->failure();
    movie.reset();
    return refuse(format("%s\n%s\n%s", text::kCouldNotLoadImage, rawPath.c_str(), why.c_str()));
  }
  if (header.magnification)
    (void)setScale(*header.magnification, *header.magnification, fileNameOf(headerPath), 0, false, false);
  movieChanged();
  moviePath.clear();  // a save makes a movie of its own
  imagesOpened = imageCount();
  interlaced = 0;
  fps = 30.0;
  updatePlayPeriod();
  if (const std::string_view told = trimmed(header.text); !told.empty())
    appendNotes(std::string(told) + text::kLineEnd);
  appendNotes(std::string("raw ops") + text::kLineEnd);
  std::string doubts = movie->rawMismatch();
  if (!headerPath.empty() && header.isSilent)
    doubts = format("%s tells no size: %i x %i pixels are taken.", fileNameOf(headerPath).c_str(),
                    header.width, header.height) +
             (doubts.empty() ? "" : text::kLineEnd + doubts);
  if (!doubts.empty()) {
    appendNotes(doubts + text::kLineEnd);
    if (!silent) host().messages.show(doubts, Buttons::Ok, Icon::Warning);
  }
  setTitle(withoutExtension(fileNameOf(path)));
  setModified();
  updateAllViews();
  return true;
}

}  // namespace tarnvisor
