#include "capture/zbasicfgdoc.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <memory>
#include <string_view>
#include <utility>

#include "analysis/autoflash.h"
#include "app/asked.h"
#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "camera/framegrabber.h"
#include "capture/commandids.h"
#include "capture/texts.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "fgdoc";
constexpr const char* kBinningOn = "binning on\r\n";
constexpr const char* kBinningOff = "binning off\r\n";
// What needs a picture that stays.
constexpr std::array kNeedAStill{cmd::FilePrint,
                                 cmd::FilePrintPreview,
                                 cmd::DuplicateImage,
                                 cmd::Import,
                                 cmd::ImportDimensions,
                                 cmd::Undo,
                                 cmd::Redo,
                                 cmd::Paste,
                                 cmd::FindCapillaries,
                                 cmd::VoronoiRegions,
                                 cmd::ThresholdCapillaries,
                                 cmd::Find8Regions,
                                 cmd::MinimaWithinWindow,
                                 cmd::MinimaWithinTolerance,
                                 cmd::WalkToMinima,
                                 cmd::ConvertToGrey,
                                 cmd::ThresholdPreprocessCheck};

// One that was drawn in another examination would cut recordings of this one.
Rect storedRegion(const Rect& present) {
  if (settings.getInt(kSection, "srcexam", -1) != theExams().examId()) return {};
  return {settings.getInt(kSection, "srcleft", present.left),
          settings.getInt(kSection, "srctop", present.top),
          settings.getInt(kSection, "srcright", present.right),
          settings.getInt(kSection, "srcbottom", present.bottom)};
}

void storeRegion(const Rect& region, int32_t exam) {
  settings.setInt(kSection, "srcexam", exam);
  settings.setInt(kSection, "srcleft", region.left);
  settings.setInt(kSection, "srctop", region.top);
  settings.setInt(kSection, "srcright", region.right);
  settings.setInt(kSection, "srcbottom", region.bottom);
}

Size sizeOfPictures() { return {fgState().imageWidth, fgState().imageHeight}; }

}  // namespace

TakenName takeLetterName(const std::string& stem, const std::string& ending) {
  return TakenName([&](int number) {
    const bool isLetter = number > 0 && number <= 26;
    const std::string letter = isLetter     ? std::string(1, static_cast<char>('a' + number - 1))
                               : number > 0 ? format("-%i", number)
                                            : "";
    return stem + letter + ending;
  });
}

bool ZBasicfgDoc::onNewDocument() {
  if (!ZBasicDoc::onNewDocument()) return false;
  const WaitScope wait;
  fgSetOnError([this](const std::string& words) { report(words); });
  if (!fginit()) {
    fgSetOnError(nullptr);
    logPrintf("nofg\n");
    report(text::kNoVideoInput);
    return false;
  }
  (void)followBinning();
  whole = sizeOfPictures();
  openedUnder = theExams().examId();
  setRoi(storedRegion(roi));
  timerint = settings.getInt(kSection, "timerint", timerint);
  timerN = settings.getInt(kSection, "timerN", timerN);
  frameSkip = settings.getInt("Dynamic settings", "skip frames", 0);
  settings.setInt("MainWindow", "fg", 1);  // in use from now on: a new examination brings it again
  theApp().postMainCommand(cmd::AcquisitionStartCamera);
  return true;
}

ImageFacts ZBasicfgDoc::imageFacts() const {
  ImageFacts facts = ZBasicDoc::imageFacts();
  const double rate = fgState().actualFps;
  if (isLive() && rate > 0) facts.period = 1.0 / rate;
  return facts;
}

// The scale is that of the pixels that come.
bool ZBasicfgDoc::followBinning() {
  const int32_t now = fgState().set.binning;
  if (now == binned) return false;
  const double before = standardPixels();
  binned = now;
  const double factor = before / standardPixels();
  magx *= factor;
  magy *= factor;
  return true;
}

// What was changed while a picture stood still is told of, and holds for, the next ones.
void ZBasicfgDoc::followCamera() {
  if (followBinning()) appendNotes(binned ? kBinningOn : kBinningOff);
  const Size before = std::exchange(whole, sizeOfPictures());
  if (whole != before) setRoi({});
}

void ZBasicfgDoc::onCloseDocument() {
  if (RecorderSink* recorder = theApp().recorder; recorder && recorder->isRecording()) {
    fgFreeze();
    recorder->stopRecording();
  }
  storeRegion(roi, openedUnder);
  fgterm();
  fgSetOnError(nullptr);
}

bool ZBasicfgDoc::isLive() const { return fgState().grabbing; }

CZZimage* ZBasicfgDoc::theImage() {
  return isLive() || !frozen ? fgState().liveImage.get() : ZBasicDoc::theImage();
}

bool ZBasicfgDoc::refuses(int32_t command) const {
  // The scale that it doubles is that of the pictures that follow.
  return ZBasicDoc::refuses(command) || command == cmd::Bin ||
         (isLive() && std::ranges::find(kNeedAStill, command) != kNeedAStill.end());
}

// A live picture is grey: what is said to need that needs one that stays.
std::string ZBasicfgDoc::whyOff(int32_t command, const char* usual) const {
  if (command == cmd::Bin) return text::kBinTheSaved;
  const bool needsAStill = refuses(command) || std::string_view(usual) == text::kNeedsGrey;
  return isLive() && needsAStill ? text::kFreezeFirst : ZBasicDoc::whyOff(command, usual);
}

bool ZBasicfgDoc::start() {
  if (isLive()) return true;
  if (frozen && isModified() && changeCount() != keptAt && !saveModified()) return false;
  if (!fggrab(true)) {
    report(fgState().lostWords);
    return false;
  }
  if (!isLive()) {
    report(text::kNoVideoInput + ("\n" + fgState().lostWords));
    return false;
  }
  const bool measured = std::exchange(frozen, false);  // marks on it are no other picture's
  forgetPixels();
  if (measured)
    for (CDimList& list : dimlists) list.items.clear();
  notes.clear();
  followCamera();
  resultText.clear();
  capturetime = 0;
  setModified(false);
  setTitle(text::kLiveTitle);
  updateAllViews();
  return true;
}

// What is shown lies in the camera's memory.
void ZBasicfgDoc::keepPicture() {
  const CZZimage* shown = fgState().liveImage.get();
  auto kept = std::make_unique<CZZimage>();
  if (fgState().shownFrames > 0 && shown && !shown->empty() && kept->copyImage(*shown))
    image = std::move(kept);
}

void ZBasicfgDoc::freeze() {
  if (frozen) return;
  fgFreeze();
  keepPicture();
  frozen = true;
  forgetOwner();
  imagedirty = 1;
  describe();
  setTitle(text::kFrozenTitle);
  updateAllViews();
}

void ZBasicfgDoc::keepFrozen() {
  if (!frozen || isModified()) return;
  setModified();
  keptAt = changeCount();
}

std::string ZBasicfgDoc::inputParameters() const {
  const GrabberState& camera = fgState();
  std::string words = format("\r\nflash=%i\r\nbright=%i\r\ncont=%i\r\nexp=%i\r\ngain=%i\r\nfps=%.2f\r\n",
                             camera.flashUs, camera.set.blacklevel, camera.set.whitelevel, camera.exposureUs,
                             camera.set.gain, camera.actualFps);
  if (flashControl.on) words += "auto flash\r\n";
  if (isColoured())
    words += format("red=%i\r\ngreen=%i\r\nblue=%i\r\n", camera.set.redLevel, camera.set.greenLevel,
                    camera.set.blueLevel);
  return words;
}

void ZBasicfgDoc::describe() {
  if (capturetime == 0) {
    capturetime = static_cast<int32_t>(currentTime());
    notes += "Captured " + longDateTime(capturetime);
  }
  notes += inputParameters();
  if (binned && notes.find(kBinningOn) == std::string::npos) notes += kBinningOn;
}

DocumentType* ZBasicfgDoc::storedType() const {
  return process.imageTemplate ? process.imageTemplate : ZBasicDoc::storedType();
}

// The picture that is saved has the name; the live one stays without.
void ZBasicfgDoc::setPathName(const std::string&) {}

std::string ZBasicfgDoc::defaultPathName() const {
  const std::string ofExam = folderOf(ZBasicDoc::defaultPathName());
  const std::string stem = automaticStem("-%y%m%d%H%M%S");
  return (ofExam.empty() ? folderOf(stem) : ofExam) + fileNameOf(stem) + storedType()->filterExtension();
}

std::string ZBasicfgDoc::automaticStem(const char* timePattern, int64_t seconds) {
  const auto now = static_cast<std::time_t>(seconds);
  std::tm parts{};
  ::localtime_r(&now, &parts);
  char time[40] = {};
  (void)std::strftime(time, sizeof time, timePattern, &parts);
  std::string folder = process.recordDir;
  if (folder.empty()) folder = theExams().folder();
  if (folder.empty()) folder = theApp().dataFolder;
  const bool isNamed = !process.baseName.empty();
  return withSeparator(folder) + process.baseName + (isNamed || *time != '-' ? time : time + 1);
}

bool ZBasicfgDoc::saveStill(const std::string& stem) {
  const std::string ending = storedType()->filterExtension();
  const bool named = equalIgnoringCase(extensionOf(stem), ending.substr(1));
  TakenName taken;
  if (!named) {
    if (isLive()) forgetOwner();  // the picture is of now
    const std::string wanted = stem.empty() ? automaticStem("-%y%m%d%H%M%S") + "_000" : stem;
    // Once agreed to, it is not asked again for each picture of a series.
    const std::string subject = theExams().examId() < 0 ? theExams().subjectId() : std::string();
    const bool agreed = isLive() && !subject.empty() && subject == unfiledFor;
    const auto folder = agreed ? std::optional(folderOf(wanted)) : folderForUnnamed(folderOf(wanted));
    if (!folder) return false;
    unfiledFor = subject;
    taken = takeLetterName(*folder + fileNameOf(wanted), ending);
    saveName = taken.path();
  } else {
    saveName = stem;
  }
  automatic = true;
  const bool saved = onSaveDocument(saveName);
  automatic = false;
  if (saved) host().windows.beep();
  return saved;
}

bool ZBasicfgDoc::onSaveDocument(const std::string& path) {
  const bool live = isLive();
  if (live && fgState().shownFrames == 0) (void)fgCheckFrame();
  if (!hasImage() || (live && fgState().shownFrames == 0)) {
    report(text::kNoPicture);
    return false;
  }
  const std::string typed = notes;
  if (live) {
    forgetOwner();  // the picture is of now
    describe();
  }
  auto still = std::make_unique<ZBasicDoc>();
  still->setTitle(withoutExtension(fileNameOf(path)));
  still->silent = silent;
  bool saved = still->copyFrom(*this);
  if (saved) {
    still->madeFrom(*this);
    still->notes = notes;
    still->imagefile.clear();
    still->imagedirty = 1;
    still->keepwhole = 1;
    saved = still->onSaveDocument(path);
  } else {
    report("There is not enough memory to save the picture.");
  }
  still.reset();
  if (live) {
    notes = typed;
    capturetime = 0;
  }
  if (!saved) return false;
  setModified(false);
  sendToInstance(settings.getString(kSection, "listener", text::kListener), InstanceMessage::Saving, path);
  if (!automatic && !isUnattended() && offersToOpen(path)) theApp().openDocumentFile(path);
  return true;
}

bool ZBasicfgDoc::offersToOpen(const std::string& path) {
  return host().messages.show(text::kOpenNewFile + ("\n" + path), Buttons::YesNo, Icon::Question) ==
         Answer::Yes;
}

// A live picture changes for ever; only what a user froze or measured is asked about, and the next picture
// takes the place of one that was frozen alone.
void ZBasicfgDoc::beforeClosing() {
  if (isLive()) setModified(false);
}

}  // namespace tarnvisor
