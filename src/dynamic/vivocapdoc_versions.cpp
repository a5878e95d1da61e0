// The versions of the movie: passes make them, and there is a way back to each.
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "archive/archive.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/commandids.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "movie/movieoutput.h"
#include "movie/rawheader.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

std::string called(const MovieVersion& version) {
  return format("version %i, %s", version.number, version.what.c_str());
}

// Whether a document of that folder, or its list of versions, names the file. Both hold names as they are.
bool isNamedBeside(const std::string& file, const std::string& documentPath) {
  const std::string name = fileNameOf(file);
  std::error_code error;
  for (std::filesystem::directory_iterator each(folderOf(file), error), end; !error && each != end;
       each.increment(error)) {
    const std::string path = each->path().string();
    if (withoutExtension(path) == withoutExtension(documentPath)) continue;
    const std::string kind = lowerCase(extensionOf(path));
    if (kind != "dtv" && kind != "versions") continue;
    const auto bytes = readWholeText(path);
    if (!bytes || bytes->find(name) != std::string::npos) return true;
  }
  return false;
}

}  // namespace

// Scripts keep none.
bool CVivoCapDoc::keepsVersions() const {
  return !isUnattended() && settings.getInt("Dynamic settings", "keepversions", 1) != 0;
}

int32_t CVivoCapDoc::currentVersion() const {
  const MovieVersion* shown = hasMovie() ? versions.ofFile(movie->fileName) : nullptr;
  return shown ? shown->number : 0;
}

MovieVersion CVivoCapDoc::presentVersion(const std::string& what) const {
  MovieVersion present;
  present.what = what;
  present.file = movie->fileName;
  present.size = {movie->form().width, movie->form().frameHeight()};
  present.images = movie->count;
  present.made = currentTime();
  present.table = movie->frameTable;
  return present;
}

// The movie as it is now, so that there is a way back to it.
MovieVersion* CVivoCapDoc::noteVersion() {
  if (!hasMovie() || movie->fileName.empty() || movie->mode == CZZMovie::kMemory) return nullptr;
  MovieVersion* version = versions.ofFile(movie->fileName);
  if (!version)
    version = &versions.add(presentVersion(versions.all().empty() ? "original" : "as it was linked"));
  version->table = movie->frameTable;
  version->images = movie->count;
  version->selectionFirst = selectionFirst;
  version->selectionLast = selectionLast;
  return version;
}

// Before a pass: it goes to a new file. A recording in memory gets its own first. False where it can't.
bool CVivoCapDoc::makeVersion() {
  if (!keepsVersions() || !hasMovie()) return true;
  if (movie->mode == CZZMovie::kMemory && !bringToFile()) return false;
  noteVersion();
  return true;
}

bool CVivoCapDoc::bringToFile() {
  const std::string folder = workFolder();
  const std::string name = folder.empty() ? "" : freeMovieName(folder + stemOfTitle());
  if (name.empty() || !hasRoomFor(folder, movieBytes(movie->form(), movie->count))) return false;
  const WaitScope wait;
  if (!movie->save(name)) {
    report(format("%s\n%s", text::kErrorSavingImage, movie->failure().c_str()));
    return false;
  }
  moviePath = movie->fileName;
  giveRate();
  noteVersion()->isOwn = 1;
  return true;
}

// After a pass: the movie that it made of another. A movie that was changed in place stays one version.
void CVivoCapDoc::addVersion(const std::string& what, int32_t madeOf) {
  if (!hasMovie() || versions.all().empty()) return;
  if (MovieVersion* same = versions.ofFile(movie->fileName)) {
    same->what += ", " + what;
    return;
  }
  MovieVersion made = presentVersion(what);
  made.madeOf = madeOf;
  made.isOwn = 1;
  versions.add(std::move(made));
  host().messages.notice({format("Version %i: %s, %i images. The versions in the dock lead back.",
                                 versions.all().back().number, what.c_str(), movie->count)});
  rememberVersions(madeOf, versions.all().back().number);
}

// Also where the way led through others meanwhile.
void CVivoCapDoc::rememberVersions(int32_t from, int32_t to) {
  rememberStep(format("version %i", to), [this, from, to](bool back) {
    if (const Outcome went = showVersion(back ? from : to); !went) report(went.why());
  });
}

Outcome CVivoCapDoc::goToVersion(int32_t number) {
  const int32_t from = currentVersion();
  Outcome went = showVersion(number);
  if (went && from != number) rememberVersions(from, number);
  return went;
}

Outcome CVivoCapDoc::openVersion(const MovieVersion& version, CZZMovie& into) {
  if (!fileExists(version.file)) return Outcome::failure(version.file + " is away");
  std::string why;
  const bool opened =
      isMovieOrAvi(version.file)
          ? into.open(version.file)
          : openPictures(into, version.file, version.size, static_cast<int32_t>(version.table.size()), why);
  if (!opened) return Outcome::failure(version.file + ": " + (why.empty() ? into.failure() : why));
  if (into.slots != static_cast<int32_t>(version.table.size()))
    return Outcome::failure(
        format("%s has %i images now, and had %zu", version.file.c_str(), into.slots, version.table.size()));
  into.adoptTable(version.table);
  return Outcome::success();
}

Outcome CVivoCapDoc::showVersion(int32_t number) {
  const MovieVersion* wanted = versions.find(number);
  if (!wanted) return Outcome::failure(format("there is no version %i", number));
  if (number == currentVersion()) return Outcome::success();
  auto other = std::make_unique<CZZMovie>();
  if (Outcome opened = openVersion(*wanted, *other); !opened) return opened;
  noteVersion();
  wanted = versions.find(number);
  other->shared = wanted->isOwn && !wanted->isSaved ? 0 : 1;
  const int32_t shown = currentIndex();
  movie = std::move(other);
  movieChanged();
  giveRate();
  selectionFirst = wanted->selectionFirst;
  selectionLast = wanted->selectionLast;
  movie->frameAt(shown);
  refreshImage();
  appendNotes("went to " + called(*wanted) + text::kLineEnd);
  setModified();
  updateAllViews();
  return Outcome::success();
}

// Why its movie may not be deleted; empty when it may.
std::string CVivoCapDoc::whyNotDeleted(const MovieVersion& version) const {
  if (!version.isOwn || version.madeOf == 0) return "it is the movie that the others were made of";
  if (version.number == currentVersion()) return "it is the one that is shown";
  if (!savedMovie.empty() && sameFile(version.file, savedMovie))
    return "the video as it is saved shows it: save the video first";
  if (isMovieOfOthers(version.file)) return "another window shows it";
  return "";
}

bool CVivoCapDoc::mayDeleteVersion(int32_t number) const {
  const MovieVersion* version = versions.find(number);
  return version && whyNotDeleted(*version).empty();
}

// The movie of a version that lies elsewhere, or that another document names, stays.
bool CVivoCapDoc::mayRemoveFile(const MovieVersion& version) const {
  if (!version.isOwn || isMovieOfOthers(version.file)) return false;
  return !version.isSaved || (sameFolder(folderOf(version.file), folderOf(pathName())) &&
                              !isNamedBeside(version.file, pathName()));
}

Outcome CVivoCapDoc::deleteVersion(int32_t number) {
  const MovieVersion* version = versions.find(number);
  if (!version) return Outcome::failure(format("there is no version %i", number));
  if (const std::string why = whyNotDeleted(*version); !why.empty())
    return Outcome::failure(called(*version) + ", can't be deleted: " + why);
  const bool removes = mayRemoveFile(*version) && fileExists(version->file);
  const std::string words = format(
      "Delete %s, of %i images?\n%s %s.", called(*version).c_str(), version->images, version->file.c_str(),
      removes                     ? ("is deleted, and frees " + sizeInWords(fileSize(version->file))).c_str()
      : fileExists(version->file) ? "stays on the disc"
                                  : "is away");
  if (!process.quietMode && host().messages.show(words, Buttons::YesNo, Icon::Careful) != Answer::Yes)
    return Outcome::success();
  if (removes && std::remove(version->file.c_str()) != 0)
    return Outcome::failure(version->file + " can't be deleted");
  versions.remove(number);
  setModified();
  updateAllViews();
  return Outcome::success();
}

// In a window of its own, with the marks and the scale of this one.
Outcome CVivoCapDoc::compareVersion(int32_t number) {
  const MovieVersion* version = versions.find(number);
  if (!version) return Outcome::failure(format("there is no version %i", number));
  auto other = std::make_unique<CZZMovie>();
  if (Outcome opened = openVersion(*version, *other); !opened) return opened;
  DocumentType* videos = process.videoTemplate;
  auto* made = videos ? dynamic_cast<CVivoCapDoc*>(videos->newDocument()) : nullptr;
  if (!made) return Outcome::failure("there is no window for it");
  MemoryStream memory;
  Archive store(memory, Archive::Direction::Storing);
  storeCopy(store);
  store.close();
  memory.rewind();
  Archive load(memory, Archive::Direction::Loading);
  made->serialize(load);
  made->resultsPath.clear();
  made->madeFrom(*this);
  made->movie = std::move(other);
  made->movieChanged();
  made->giveRate();
  made->movie->frameAt(currentIndex());
  made->refreshImage();
  made->setTitle(stemOfTitle() + ": " + called(*version));
  made->setModified(false);
  made->updateAllViews();
  host().windows.tile();
  return Outcome::success();
}

// --- with the document's file

void CVivoCapDoc::loadVersions(const std::string& documentPath) {
  versions.clear();
  savedMovie = moviePath;
  const std::string path = versionsFileOf(documentPath);
  if (!fileExists(path)) return;
  const Outcome read = versions.read(path);
  if (!read)
    tellShortage(format("The versions of the video are not known: %s: %s.", path.c_str(), read.why().c_str()),
                 " Their movies stay where they are.", Icon::Warning, false);
  // A document that was copied without its movies works with those that lie beside the one it is linked to.
  const std::string linked = hasMovie() ? folderOf(movie->fileName) : std::string();
  for (MovieVersion& each : versions.all()) {
    const std::string there = linked + fileNameOf(each.file);
    if (!linked.empty() && !fileExists(each.file) && fileExists(there)) each.file = there;
    each.isSaved = 1;
  }
}

// Those made here come beside the document, where the disc takes them by their name alone.
void CVivoCapDoc::bringVersionsIn(const std::string& documentPath) {
  for (MovieVersion& each : versions.all()) {
    const bool comes = each.isOwn && !each.isSaved && each.file != moviePath && fileExists(each.file) &&
                       !sameFolder(folderOf(each.file), folderOf(documentPath)) &&
                       !isMovieOfOthers(each.file);
    if (!comes) continue;
    const std::string wanted = folderOf(documentPath) + fileNameOf(each.file);
    const TakenName taken(withoutExtension(wanted), "." + extensionOf(wanted));
    if (std::rename(each.file.c_str(), taken.path().c_str()) == 0) each.file = taken.path();
  }
}

void CVivoCapDoc::saveVersions(const std::string& documentPath) {
  const std::string path = versionsFileOf(documentPath);
  bringVersionsIn(documentPath);
  for (MovieVersion& each : versions.all()) each.isSaved = 1;
  savedMovie = moviePath;
  MovieVersions there;
  // What is no list of ours, or a damaged one, stays as long as there is nothing to put in its place.
  if (versions.all().size() < 2) {
    if (fileExists(path) && there.read(path)) std::remove(path.c_str());
    return;
  }
  if (const Outcome written = versions.write(path); !written)
    report(format("The versions of the video could not be saved: %s", written.why().c_str()));
}

// A movie that no saved document tells of goes with this one.
void CVivoCapDoc::dropUnsavedVersions() {
  for (const MovieVersion& each : versions.all())
    if (each.isOwn && !each.isSaved && !isMovieOfOthers(each.file) && std::remove(each.file.c_str()) != 0)
      logPrintf("%s can't be removed\n", each.file.c_str());
  versions.clear();
}

// --- commands

bool CVivoCapDoc::hasVersions() const { return versions.all().size() > 1; }

// The number of the one that the user means among those that are not shown.
std::optional<int32_t> CVivoCapDoc::askVersion(const char* title, bool ownOnly) {
  std::vector<std::string> labels;
  std::vector<int32_t> numbers;
  const int32_t shown = currentVersion();
  const MovieVersion* present = versions.find(shown);
  int32_t chosen = 0;
  for (const MovieVersion& each : versions.all()) {
    if (each.number == shown || (ownOnly && !each.isOwn)) continue;
    if (present && each.number == present->madeOf) chosen = static_cast<int32_t>(numbers.size());
    numbers.push_back(each.number);
    labels.push_back(format("%i: %s, %i images", each.number, each.what.c_str(), each.images));
  }
  if (numbers.empty()) {
    report("There is no other version that was made here.");
    return std::nullopt;
  }
  Form form(title);
  form.addChoice("version", chosen, labels);
  if (!asked(form)) return std::nullopt;
  return numbers[static_cast<size_t>(
      std::clamp<int32_t>(chosen, 0, static_cast<int32_t>(numbers.size()) - 1))];
}

void CVivoCapDoc::goToVersionCommand() {
  if (const auto number = askVersion("Go to version", false))
    if (const Outcome done = goToVersion(*number); !done) report(done.why());
}
void CVivoCapDoc::compareVersionCommand() {
  if (const auto number = askVersion("Compare with version", false))
    if (const Outcome done = compareVersion(*number); !done) report(done.why());
}
void CVivoCapDoc::deleteVersionCommand() {
  if (const auto number = askVersion("Delete version", true))
    if (const Outcome done = deleteVersion(*number); !done) report(done.why());
}

}  // namespace tarnvisor
