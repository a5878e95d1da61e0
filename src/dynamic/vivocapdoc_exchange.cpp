// Movies that come in and go out, and the work folder.
#include <cmath>
#include <optional>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "dicom/dicomwriter.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "host/host.h"
#include "imagedoc/otherpictures.h"
#include "imagedoc/texts.h"
#include "movie/movieexport.h"
#include "movie/movieoutput.h"
#include "settings/log.h"
#include "settings/settings.h"
#include "video/videowriter.h"

namespace tarnvisor {

namespace {

// Codec and quality; nothing when the user cancels. A codec that leaves the pixels as they are is one, too.
std::optional<CZZMovie::Compression> askCompression(const std::string& room) {
  const std::vector<VideoCodec> codecs = videoCodecs();
  std::vector<std::string> labels;
  int32_t chosen = 0;
  for (const VideoCodec& codec : codecs) {
    if (codec.code == kRecordingCodec) chosen = static_cast<int32_t>(labels.size());
    labels.push_back(codec.label);
  }
  CZZMovie::Compression wanted;
  // A script's movies stay exact. People export for others to look at, and few players show H.264 without
  // loss.
  constexpr int32_t kPlayedAnywhere = 95;
  if (!isUnattended()) wanted.quality = kPlayedAnywhere;
  Form form("Video Compression");
  form.addChoice("Compressor", chosen, labels);
  form.add("Quality (100: nothing is lost)", wanted.quality, {.low = 0, .high = 100});
  form.add("Key frame every", wanted.keyEvery, {.low = 1, .high = 1000}).withUnit("images");
  form.addNote(
      "At 100 H.264 keeps each grey level, but few players show such a movie. At 95 nearly all do; the video itself stays as it is.");
  form.addNote(room);
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

class CVivoCapDoc::ExportJob : public Job {
 public:
  // compression: null for none
  ExportJob(CVivoCapDoc& video, const std::string& name, CZZMovie::Range range, int32_t step,
            const CZZMovie::Compression* compression, std::function<void(const Outcome&)> whenDone)
      : doc(video),
        path(name),
        exporting(*video.movie, name, video.imagesPerSecond(), range, step, compression),
        done(std::move(whenDone)) {}
  ExportJob(CVivoCapDoc& video, const std::string& name, CZZMovie::Range range, int32_t step,
            const MovieExport::MakeSink& makeSink, std::function<void(const Outcome&)> whenDone)
      : doc(video),
        path(name),
        exporting(*video.movie, name, range, step, makeSink),
        done(std::move(whenDone)) {}
  std::string title() const override { return "Exporting " + fileNameOf(path); }
  std::string lostIfStopped() const override { return fileNameOf(path) + " is still being exported."; }
  Progress progress() const override { return {title(), exporting.done(), exporting.total()}; }
  bool step() override { return exporting.next(); }
  void end(bool cancelled) override {
    if (cancelled) exporting.stop();
    const bool made = exporting.finish();
    doc.refreshImage();
    doc.updateAllViews();
    if (cancelled)
      done(Outcome::failure(""));
    else
      done(made ? Outcome::success()
                : Outcome::failure(
                      format("%s could not be exported.\n%s", path.c_str(), exporting.report().c_str())));
  }

 private:
  CVivoCapDoc& doc;
  std::string path;
  MovieExport exporting;
  std::function<void(const Outcome&)> done;
};

namespace {

// A name that no file has yet is offered, and told what of the video goes there.
std::optional<std::string> askExportName(const CVivoCapDoc& document, const std::string& stem,
                                         const std::string& ending) {
  const std::string free = TakenName(stem, ending).path();
  const CZZMovie::Range range = document.selection();
  const int32_t all = document.imageCount();
  const std::string what = range.size() < all ? format("Export the chosen part: images %d to %d of %d",
                                                       range.first, range.last - 1, all)
                                              : format("Export all %d images", all);
  const auto path = document.askExportPath({what, "Videos (*.avi)|*.avi||", ".avi", free});
  return path && !path->empty() ? path : std::nullopt;
}

}  // namespace

// Beside the document, unless the user says where.
void CVivoCapDoc::exportUncompressedCommand() {
  const std::string stem = withoutExtension(!pathName().empty()  ? pathName()
                                            : !moviePath.empty() ? moviePath
                                                                 : title()) +
                           "-export";
  const TakenName taken = process.quietMode ? TakenName(stem, ".avi") : TakenName();
  std::string name = process.quietMode ? taken.path() : stem + ".avi";
  if (!isUnattended()) {
    const auto path = askExportName(*this, stem, ".avi");
    if (!path) return;
    name = *path;
  }
  if (const Outcome may = theApp().documents.mayOutputTo(name); !may) return report(may.why());
  // A chooser has asked that.
  if (isUnattended() && !process.quietMode && fileExists(name) &&
      host().messages.show(name + " already exists. Replace it?", Buttons::YesNo, Icon::Careful) !=
          Answer::Yes)
    return;
  if (!hasRoomFor(folderOf(name), exportBytes(1))) return;
  logPrintf("converting %s\n", name.c_str());
  exportMovie(name, 1, nullptr, true);
}

void CVivoCapDoc::exportMovie(const std::string& path, int32_t step, const CZZMovie::Compression* compression,
                              bool tells) {
  start(std::make_unique<ExportJob>(*this, path, CZZMovie::Range{selectionFirst, selectionLast}, step,
                                    compression, [this, path, tells](const Outcome& made) {
                                      if (made || !made.why().empty()) tellExported(made, path);
                                      if (made && tells && isUnattended() && !process.quietMode)
                                        host().messages.show("Exported as " + path + ".");
                                    }));
}

void CVivoCapDoc::exportCompressedCommand() {
  const std::string stem = withoutExtension(pathName().empty() ? moviePath : pathName());
  const auto path = askExportName(*this, stem + (stem + ".z.avi" == moviePath ? "-export" : ""), ".z.avi");
  if (!path) return;
  if (const Outcome may = theApp().documents.mayOutputTo(*path); !may) return report(may.why());
  const int32_t step = std::max(1, selectionStep);
  if (const auto compression = askCompression("At most " + roomInWords(folderOf(*path), exportBytes(step))))
    exportMovie(*path, step, &*compression, false);
}

// For scripts: the words of a failure, or none for an export that was stopped.
Outcome CVivoCapDoc::exportAvi(const std::string& path) {
  Outcome result = Outcome::success();
  const CZZMovie::Range range = selection();
  if (Outcome room = roomFor(folderOf(path), exportBytes(1)); !room) return room;
  runToEnd(std::make_unique<ExportJob>(*this, path, range, 1, nullptr,
                                       [&result](const Outcome& made) { result = made; }));
  return result;
}

namespace {

MovieExport::MakeSink dicomOf(const DicomFacts& facts) {
  return [facts](const std::string& path, const MovieExport::Pictures& pictures,
                 std::string& why) -> std::unique_ptr<FrameSink> {
    return DicomWriter::create(path, facts, pictures.size, pictures.colour, pictures.count, why);
  };
}

}  // namespace

std::unique_ptr<Job> CVivoCapDoc::dicomJob(const std::string& path, DicomFacts facts,
                                           std::function<void(const Outcome&)> done) {
  const int32_t step = std::max(1, selectionStep);
  facts.frameSeconds = step / imagesPerSecond();
  return std::make_unique<ExportJob>(*this, path, selection(), step, dicomOf(facts), std::move(done));
}

void CVivoCapDoc::exportDicomAs(const std::string& path, const DicomFacts& facts) {
  if (!hasRoomFor(folderOf(path), exportBytes(std::max(1, selectionStep)))) return;
  start(dicomJob(path, facts, [this, path](const Outcome& made) {
    if (made || !made.why().empty()) tellExported(made, path);
  }));
}

Outcome CVivoCapDoc::exportDicomSequence(const std::string& path, const DicomFacts& facts) {
  if (Outcome room = roomFor(folderOf(path), exportBytes(std::max(1, selectionStep))); !room) return room;
  Outcome result = Outcome::success();
  runToEnd(dicomJob(path, facts, [&result](const Outcome& made) { result = made; }));
  return result;
}

namespace {

// Images a second; 0 for a movie file, which tells none.
double rateOf(const CZZMovie& movie) {
  return movie.mode == CZZMovie::kAvi && movie.scale > 0 ? static_cast<double>(movie.rate) / movie.scale : 0;
}

}  // namespace

// Images that were taken at another rate than this video's are played and timed at this one's.
bool CVivoCapDoc::agreesToRate(double theirs, const std::string& path) {
  constexpr double kSameRate = 0.002;  // 29.97 and 30 go for one
  const double mine = imagesPerSecond();
  if (theirs <= 0 || std::abs(theirs - mine) <= kSameRate * mine) return true;
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
  if (!mayTakeFrom(path)) return false;
  if (!hasMovie()) {
    if (!moviePath.empty()) {
      report(format("%s can't be added: the movie of this video, %s, is away.", path.c_str(),
                    moviePath.c_str()));
      return false;
    }
    if (isSequenceFile(path)) {
      const bool isSomebodys = !measuredFor().subject.empty();
      if (!takeSequence(path)) return false;
      if (isSomebodys) subjectOfFile.clear();  // who it is of was settled
      return true;
    }
    if (!takeVideo(path)) return false;
    appendNotes(words + text::kLineEnd);
    updateAllViews();
    return true;
  }
  auto other = std::make_unique<CZZMovie>();
  std::string problem;
  ToldScale told;
  if (isSequenceFile(path)) {
    auto pictures = tarnvisor::openPictures(path, problem);
    if (pictures) told = pictures->scale();
    if (pictures && !other->openStills(std::move(pictures), path)) problem = other->failure();
  } else if (!other->open(path)) {
    problem = other->failure();
  }
  if (!problem.empty()) {
    report(format("%s\n%s\n%s", text::kCouldNotLoadImage, path.c_str(), problem.c_str()));
    return false;
  }
  if (const std::string why = movie->whyNotAppended(*other); !why.empty()) {
    report(format("%s can't be added to this video: %s.", path.c_str(), why.c_str()));
    return false;
  }
  if (!agreesToRate(told.interval > 0 ? 1 / told.interval : rateOf(*other), path)) return false;
  tellOfOtherScale(path, told);
  if (const std::string shortage = other->shortage(); !shortage.empty())
    host().messages.show(shortage + " and are added.");
  CZZMovie& added = *other;
  return makeMovie(words, appendedFrames(*movie, added, std::move(other)));
}

// What somebody chooses comes in as what it is; images that would fit behind those of this video may go
// there. A script means the video in front.
void CVivoCapDoc::importCommand() {
  const auto path = host().choosers.openFile({"Import", text::kMoviesFilter, "", ""});
  if (!path || path->empty()) return;
  const bool isEmpty = !hasMovie() && moviePath.empty();
  if (isUnattended() || (isEmpty && isMovieOrAvi(*path))) {
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
  if (!hasMovie() || !isMovieOrAvi(path) || !other.open(path) || !movie->whyNotAppended(other).empty())
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
