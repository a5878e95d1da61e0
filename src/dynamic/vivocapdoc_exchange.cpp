// Movies that come in and go out, and the work folder.
#include <cmath>
#include <optional>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "movie/movieoutput.h"
#include "settings/log.h"
#include "settings/settings.h"
#include "video/videowriter.h"

namespace tarnvisor {

namespace {

// Codec and quality; nothing when the user cancels. A codec that leaves the pixels as they are is one, too.
std::optional<CZZMovie::Compression> askCompression() {
  const std::vector<VideoCodec> codecs = videoCodecs();
  std::vector<std::string> labels;
  int32_t chosen = 0;
  for (const VideoCodec& codec : codecs) {
    if (codec.code == kRecordingCodec) chosen = static_cast<int32_t>(labels.size());
    labels.push_back(codec.label);
  }
  CZZMovie::Compression wanted;
  Form form("Video Compression");
  form.addChoice("Compressor", chosen, labels);
  form.add("Quality (100: nothing is lost)", wanted.quality, {.low = 0, .high = 100});
  form.add("Key frame every", wanted.keyEvery, {.low = 1, .high = 1000});
  const bool agreed = asked(form);
  logPrintf("fcctype=%lu.fcchandler=%lu.Iq=%li.Ikey=%li,Idatarate=%li\n", 0x63646976UL,
            static_cast<unsigned long>(chosen), long{wanted.quality}, long{wanted.keyEvery}, 0L);
  if (!agreed || chosen < 0 || chosen >= static_cast<int32_t>(codecs.size())) return std::nullopt;
  wanted.codec = codecs[static_cast<size_t>(chosen)].code;
  return wanted;
}

}  // namespace

// Where nobody says otherwise, new movies lie beside the document, or beside the movie they are made of.
std::string CVivoCapDoc::homeFolder() const {
  if (!pathName().empty()) return folderOf(pathName());
  return movie && !movie->fileName.empty() ? folderOf(movie->fileName) : workingFolder();
}

std::string CVivoCapDoc::workFolder() {
  std::string folder = settings.getString("directories", "tempdir", "");
  if (folder.empty() || !folderExists(folder)) {
    // Where nobody answers, new movies lie at home.
    if (isUnattended()) return homeFolder();
    const auto chosen = host().choosers.chooseFolder(text::kSelectWorkFolder, folderOf(moviePath));
    if (!chosen || chosen->empty()) return "";
    folder = *chosen;
    settings.setString("directories", "tempdir", folder);
  }
  return withSeparator(folder);
}

std::string CVivoCapDoc::exportUncompressed() {
  if (!hasMovie()) return "";
  const std::string stem = withoutExtension(!pathName().empty()  ? pathName()
                                            : !moviePath.empty() ? moviePath
                                                                 : title());
  std::string name = stem + "-export.avi";
  if (const Outcome may = theApp().documents.mayOutputTo(name); !may) {
    report(may.why());
    return "";
  }
  logPrintf("converting %s\n", name.c_str());
  const WaitScope wait;
  std::string told;
  const bool done = movie->saveAVI(name, static_cast<int32_t>(std::lround(imagesPerSecond())), selectionFirst,
                                   selectionLast, 1, nullptr, told);
  refreshImage();
  updateAllViews();
  if (done) return name;
  if (!movie->wasCancelled()) report(format("%s could not be exported.\n%s", name.c_str(), told.c_str()));
  return "";
}

void CVivoCapDoc::exportUncompressedCommand() {
  const std::string name = exportUncompressed();
  if (!name.empty() && !process.quietMode) host().messages.show("Exported as " + name + ".");
}

void CVivoCapDoc::exportCompressedCommand() {
  const std::string stem = withoutExtension(pathName().empty() ? moviePath : pathName());
  const auto path =
      host().choosers.saveFile({"Export", "Videos (*.avi)|*.avi||", ".avi",
                                stem + (stem + ".z.avi" == moviePath ? "-export" : "") + ".z.avi"});
  if (!path || path->empty()) return;
  if (const Outcome may = theApp().documents.mayOutputTo(*path); !may) return report(may.why());
  const auto compression = askCompression();
  if (!compression) return;
  std::string told;
  const WaitScope wait;
  if (!movie->saveAVI(*path, static_cast<int32_t>(std::lround(imagesPerSecond())), selectionFirst,
                      selectionLast, std::max(1, selectionStep), &*compression, told) &&
      !movie->wasCancelled())
    report(format("%s could not be exported.\n%s", path->c_str(), told.c_str()));
  refreshImage();
  updateAllViews();
}

// Images that were taken at another rate than this video's are played and timed at this one's. A movie file
// tells no rate.
bool CVivoCapDoc::agreesToRate(const CZZMovie& other, const std::string& path) {
  constexpr double kSameRate = 0.002;  // 29.97 and 30 go for one
  if (other.mode != CZZMovie::kAvi || other.scale <= 0) return true;
  const double theirs = static_cast<double>(other.rate) / other.scale, mine = imagesPerSecond();
  if (std::abs(theirs - mine) <= kSameRate * mine) return true;
  const std::string words =
      format("%s has %.6g images a second, this video %.6g: they are timed at the rate of this video.",
             fileNameOf(path).c_str(), theirs, mine);
  if (isUnattended())
    host().messages.show(words);
  else if (host().messages.show(words + "\nAdd them all the same?", Buttons::YesNo, Icon::Question) !=
           Answer::Yes)
    return false;
  appendNotes(words + text::kLineEnd);
  return true;
}

// The frames of another movie after this one's; the first movie of an empty document is linked as it is.
bool CVivoCapDoc::importMovie(const std::string& path, bool avi) {
  const std::string words =
      avi ? "imported avi " + fileNameOf(path) + " imported" : "imported " + fileNameOf(path);
  if (!hasMovie()) {
    if (!moviePath.empty()) {
      report(format("%s can't be added: the movie of this video, %s, is away.", path.c_str(),
                    moviePath.c_str()));
      return false;
    }
    if (!takeVideo(path)) return false;
    appendNotes(words + text::kLineEnd);
    updateAllViews();
    return true;
  }
  CZZMovie other;
  if (!other.open(path)) {
    report(format("%s\n%s\n%s", text::kCouldNotLoadImage, path.c_str(), other.failure().c_str()));
    return false;
  }
  if (const std::string why = movie->whyNotAppended(other); !why.empty()) {
    report(format("%s can't be added to this video: %s.", path.c_str(), why.c_str()));
    return false;
  }
  if (!agreesToRate(other, path)) return false;
  return makeMovie(words, [&](CZZMovie& mine, const std::string& name) { return mine.append(other, name); });
}

// What somebody chooses comes in as what it is; images that would fit behind those of this video may go
// there. A script means the video in front.
void CVivoCapDoc::importCommand() {
  const auto path = host().choosers.openFile({"Import", text::kMoviesFilter, "", ""});
  if (!path || path->empty()) return;
  const bool isEmpty = !hasMovie() && moviePath.empty();
  if (isUnattended() || (isEmpty && (isMovieFile(*path) || isAviName(*path)))) {
    importMovie(*path, false);
    return;
  }
  const Answer adds = askToAdd(*path);
  if (adds == Answer::Yes)
    importMovie(*path, false);
  else if (adds == Answer::No)
    theApp().importFile(*path);
}

// No without a question where nothing could be added.
Answer CVivoCapDoc::askToAdd(const std::string& path) {
  CZZMovie other;
  if (!hasMovie() || !(isMovieFile(path) || isAviName(path)) || !other.open(path) ||
      !movie->whyNotAppended(other).empty())
    return Answer::No;
  return host().messages.show(
      format(
          "Add the %i images of %s behind the %i of this video?\nyes = a new movie of all %i is made, and both files stay as they are; no = it opens in a window of its own, and this video stays as it is.",
          other.count, fileNameOf(path).c_str(), imageCount(), other.count + imageCount()),
      Buttons::YesNoCancel, Icon::Question);
}

void CVivoCapDoc::importAviCommand() {
  const auto path = host().choosers.openFile({"Import AVI", text::kAviFilter, "", ""});
  if (!path || path->empty()) return;
  logPrintf("importing avi file=%s\n", path->c_str());
  importMovie(*path, true);
}

void CVivoCapDoc::toggleCompression() {
  compressoutput = !compressoutput;
  settings.setInt("Dynamic settings", "compressoutput", compressoutput);
}

void CVivoCapDoc::directories() {
  const auto chosen =
      host().choosers.chooseFolder(text::kSelectWorkFolder, settings.getString("directories", "tempdir", ""));
  if (chosen && !chosen->empty()) settings.setString("directories", "tempdir", *chosen);
}

}  // namespace tarnvisor
