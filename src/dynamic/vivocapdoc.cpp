#include "dynamic/vivocapdoc.h"

#include <algorithm>
#include <array>

#include "base/files.h"
#include "base/fraction.h"
#include "base/text.h"
#include "dynamic/commandids.h"
#include "dynamic/texts.h"
#include "imagedoc/otherpictures.h"
#include "movie/movieoutput.h"
#include "movie/rawheader.h"
#include "settings/settings.h"

namespace tarnvisor {

CVivoCapDoc::CVivoCapDoc() {
  compressoutput = settings.getInt("Dynamic settings", "compressoutput", compressoutput);
}
CVivoCapDoc::~CVivoCapDoc() {
  if (!unsavedMovie.path().empty() && isMovieOfOthers(unsavedMovie.path())) unsavedMovie.keep();
  dropUnsavedVersions();
}

bool isMovieFile(const std::string& path) {
  const std::string kind = lowerCase(extensionOf(path));
  for (const std::string& pattern : split(split(kMovieFilter, '|')[1], ';'))
    if (pattern == "*." + kind) return true;
  return false;
}

bool isMovieOrAvi(const std::string& path) { return isMovieFile(path) || isAviName(path); }

bool isVideoFile(const std::string& path) {
  return isMovieFile(path) || isRawFile(path) || isSequenceFile(path);
}

CZZimage* CVivoCapDoc::theImage() { return hasMovie() ? &movie->image() : nullptr; }

namespace {

// What reads the pixels of the image that is shown.
constexpr std::array kReadPixels{cmd::FilePrint,
                                 cmd::FilePrintPreview,
                                 cmd::Export,
                                 cmd::ExportDicom,
                                 cmd::DuplicateImage,
                                 cmd::FindCapillaries,
                                 cmd::Find8Regions,
                                 cmd::ThresholdCapillaries,
                                 cmd::CalculateAverage,
                                 cmd::ImageResults,
                                 cmd::Histogram,
                                 cmd::GreyLevel,
                                 cmd::FindCapillaryWidth,
                                 cmd::MeasureNailfoldLoops,
                                 cmd::VignetteTest,
                                 cmd::AutocalTest,
                                 cmd::ThresholdPreprocessCheck,
                                 cmd::SquareOfDifferencesToCurrent};

}  // namespace

// In place of an image that can't be read stand the pixels of the one before it, or none.
bool CVivoCapDoc::showsUnread() const { return hasMovie() && !movie->hasReadShown(); }

bool CVivoCapDoc::refuses(int32_t command) const {
  return ZBasicDoc::refuses(command) ||
         (showsUnread() && std::ranges::find(kReadPixels, command) != kReadPixels.end());
}

std::string CVivoCapDoc::whyOff(int32_t command, const char* usual) const {
  if (!isBusy() && showsUnread() && refuses(command)) return format(text::kUnreadImage, currentIndex());
  if (!isBusy() && command == cmd::Undo && hasVersions()) return text::kPassIsAVersion;
  return ZBasicDoc::whyOff(command, usual);
}

CZZMovie& CVivoCapDoc::freshMovie() {
  if (!movie) movie = std::make_unique<CZZMovie>();
  return *movie;
}

// What the view chose for the image, on the one that is now current.
void CVivoCapDoc::refreshImage() {
  CZZimage* shown = theImage();
  if (!shown) return;
  if (shown->blackZero != zeroasblack) {
    shown->blackZero = zeroasblack;
    shown->dropHeader();
  }
  if (shown->paletteIndex != colourset) shown->setPalette(colourset);
}

// Not while a job walks along the movie.
void CVivoCapDoc::showImage(int32_t index) {
  if (!hasMovie() || isBusy()) return;
  movie->frameAt(index);
  refreshImage();
  updateAllViews();
}

CZZMovie::Range CVivoCapDoc::selection() const {
  return hasMovie() ? movie->clamped(selectionFirst, selectionLast) : CZZMovie::Range{0, 0};
}

Outcome CVivoCapDoc::select(int32_t first, int32_t last) {
  const int32_t count = imageCount();
  if (first < -1 || last < -1 || first > count || last > count)
    return Outcome::failure(format("images are counted from 0 to %i, the end exclusive", count));
  if (std::max(first, 0) >= (last < 0 ? count : last))
    return Outcome::failure(
        format("images %i to %i are none: the last one is the first that is left out", first, last));
  selectionFirst = first;
  selectionLast = last < count ? last : -1;
  updateAllViews();
  return Outcome::success();
}

double CVivoCapDoc::imagesPerSecond() const { return isFieldMovie() ? fps * 2 : fps; }

void CVivoCapDoc::updatePlayPeriod() {
  choosesPeriod = false;
  playPeriod = fps > 0 ? std::max(1, static_cast<int32_t>(std::min(1000 / fps, 1e6))) : 20;
}

// What a movie file doesn't keep. A video file tells its own.
void CVivoCapDoc::giveRate() {
  if (!movie || movie->mode == CZZMovie::kAvi) return;
  const Fraction rate = fractionOf(imagesPerSecond());
  movie->rate = rate.above;
  movie->scale = rate.below;
}

std::string CVivoCapDoc::stemOfTitle() const {
  return endsWithIgnoringCase(title(), ".dtv") ? title().substr(0, title().size() - 4) : title();
}

// Another movie has taken the place of the one before.
void CVivoCapDoc::movieChanged() {
  if (!hasMovie()) return;
  moviePath = movie->isRaw() ? "" : movie->fileName;  // raw frames get a movie file by the next save
  frameCount = movie->isFieldMovie() ? movie->count / 2 : movie->count;
  amc.records.clear();
  movementSummary.clear();
  if (selectionFirst >= movie->count || selectionLast > movie->count) selectionFirst = selectionLast = -1;
  refreshImage();
}

}  // namespace tarnvisor
