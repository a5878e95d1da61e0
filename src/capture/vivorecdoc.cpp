#include "capture/vivorecdoc.h"

#include <algorithm>
#include <array>

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "camera/framegrabber.h"
#include "capture/commandids.h"
#include "capture/texts.h"
#include "capture/zbasicfgview.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

// What does not touch the images.
constexpr std::array kWhileRecording{cmd::FileSave, cmd::FileSaveAs,    cmd::Stop,
                                     cmd::Trigger,  cmd::TriggerButton, cmd::RecordSequence};

// The time of a day and a time.
std::string withoutDate(const std::string& when) { return when.substr(when.rfind(' ') + 1); }

}  // namespace

ZBasicfgDoc* liveDocument() {
  auto* view = dynamic_cast<ZBasicfgView*>(theApp().liveView);
  return view ? &view->liveDocument() : nullptr;
}

Rect liveSource() {
  const GrabberState& camera = fgState();
  const Rect whole{0, 0, camera.imageWidth, camera.imageHeight};
  const ZBasicfgDoc* live = liveDocument();
  const Rect part = live ? live->roi.intersected(whole) : Rect{};
  return part.isEmpty() ? whole : part;
}

bool CVivoRecDoc::onNewDocument() {
  if (!CVivoCapDoc::onNewDocument()) return false;
  loadSettings();
  theApp().recorder = this;
  return true;
}

void CVivoRecDoc::onCloseDocument() {
  stopRecording();
  if (theApp().recorder == this) theApp().recorder = nullptr;
  CVivoCapDoc::onCloseDocument();
}

DocumentType* CVivoRecDoc::storedType() const {
  return process.videoTemplate ? process.videoTemplate : CVivoCapDoc::storedType();
}

// While it records, the part of the live picture that is recorded.
CZZimage* CVivoRecDoc::theImage() {
  if (!recordingNow) return CVivoCapDoc::theImage();
  CZZimage* live = fgState().liveImage.get();
  if (!live) return nullptr;
  shownPart.usedataof(live, recordedPart);
  shownPart.xOrigin = shownPart.yOrigin = 0;
  return &shownPart;
}

bool CVivoRecDoc::refuses(int32_t command) const {
  return CVivoCapDoc::refuses(command) ||
         (recordingNow && std::ranges::find(kWhileRecording, command) == kWhileRecording.end());
}

std::string CVivoRecDoc::whyOff(int32_t command, const char* usual) const {
  return recordingNow && refuses(command) ? text::kUnderWay : CVivoCapDoc::whyOff(command, usual);
}

int32_t CVivoRecDoc::framesRecorded() const {
  return recordingNow ? static_cast<int32_t>(fgCounts().recorded) : recordedFrames;
}

bool CVivoRecDoc::onSaveDocument(const std::string& path) {
  stopRecording();
  return CVivoCapDoc::onSaveDocument(path);
}

void CVivoRecDoc::beforeClosing() { stopRecording(); }

TakenName CVivoRecDoc::takeRecordingName() const {
  if (!sequence.toDisc) return {};
  return takeLetterName(ZBasicfgDoc::automaticStem("-%Y%m%d_%H%M%S"), sequence.compress ? ".z.avi" : ".mve");
}

void CVivoRecDoc::takeFromLive(ZBasicfgDoc& live, const Rect& source) {
  takeScale(live);
  recordedPart = {source.left, source.top, source.left + source.width() / 4 * 4, source.bottom};
  originx = source.left;
  originy = source.top;
  capturetime = static_cast<int32_t>(currentTime());
  notes = "Captured " + longDateTime(capturetime);
}

// Memory that is promised and not there would end the program in the middle of a recording.
bool CVivoRecDoc::hasRoomFor(const SequenceSettings& wanted, const Rect& source) {
  const double bytes = wanted.bytes({source.width() / 4 * 4, source.height()});
  if (wanted.toDisc || bytes <= static_cast<double>(recordingMovie->memorySize) ||
      bytes < 0.9 * static_cast<double>(memoryStatus().availablePhysical))
    return true;
  logPrintf("failed to realloc\n");
  report("There is not enough memory for so many frames. Record fewer, or to the disc.");
  return false;
}

void CVivoRecDoc::startRecording() {
  auto* view = dynamic_cast<ZBasicfgView*>(theApp().liveView);
  if (!view) return;
  if (recordingNow) return stopRecording();
  if (view->isRunning()) view->storeZoom();
  // Not without the picture: a frozen one that was measured may be wanted first.
  view->startCamera();
  if (!view->liveDocument().isLive()) return;
  if (hasMovie() && isModified() && process.cytoTemplate) {
    theApp().recorder = nullptr;
    auto* next = dynamic_cast<CVivoRecDoc*>(process.cytoTemplate->newDocument());
    if (next && recordingMovie && recordingMovie->memorySize > 0)
      next->recordingMovie = std::move(recordingMovie);
    if (theApp().recorder) theApp().recorder->startRecording();
    return;
  }
  if (!mayStopWork()) return;
  stopWork();
  deleteContents();
  forgetOwner();
  forgetPathName();
  sequence = {};
  sequence.load();
  frameCount = sequence.frames;
  skipFrames = sequence.skip;
  setTitle(text::kRecordingTitle);
  const Rect source = liveSource();
  takeFromLive(view->liveDocument(), source);
  recordingNow = 1;
  begun = begin(source);
  host().windows.beep();
  host().windows.refreshBars();
  updateAllViews();
  if (begun) return;
  report(text::kFailedToStart +
         (recordingMovie->failure().empty() ? std::string() : "\n" + recordingMovie->failure()));
}

bool CVivoRecDoc::begin(const Rect& source) {
  if (!recordingMovie) recordingMovie = std::make_unique<CZZMovie>();
  CZZMovie& to = *recordingMovie;
  to.forgetFailure();
  to.source = fgSource();
  to.ringMode = sequence.loop;
  fgSetSkip(sequence.skip);
  if (!to.source || !hasRoomFor(sequence, source)) return false;
  const TakenName name = takeRecordingName();
  return to.record(sequence.frames, name.path(), source.left, source.top, source.width(), source.height(),
                   true) &&
         to.isRecording() && fgState().recording;
}

void CVivoRecDoc::noteCounts() {
  const FrameHub::Counts counts = fgCounts();
  std::string words = format("\r\n%i frames recorded", recordedFrames);
  const int64_t older = counts.recorded - recordedFrames - (fgRecordingFailure().empty() ? 0 : 1);
  if (older > 0) words += format(", %lld older ones overwritten", static_cast<long long>(older));
  if (counts.missed > 0) words += format(", %lld missed", static_cast<long long>(counts.missed));
  notes += words + "\r\n";
}

void CVivoRecDoc::tellOfLosses(const std::string& failure) {
  std::string flaw;
  if (!failure.empty())
    flaw = "The recording ended: " + failure + (failure.ends_with('.') ? "\n" : ".\n") + keptWords();
  if (const int64_t missed = fgCounts().missed; missed > 0)
    flaw += format("%s%lld frames were missed: the camera, its cable or the disc was too slow.",
                   flaw.empty() ? "" : "\n", static_cast<long long>(missed));
  if (!flaw.empty()) report(flaw);
}

std::string CVivoRecDoc::keptWords() const {
  if (!hasMovie()) return "Nothing was recorded before.";
  const std::string& place = movie->fileName;
  return format("%i images were recorded and are kept", recordedFrames) +
         (place.empty() ? " in the memory until the video is saved." : " in " + place + ".");
}

void CVivoRecDoc::stopRecording() {
  if (!recordingNow) return;
  const double rate = fgState().actualFps / (sequence.skip + 1.0);
  if (recordingMovie && recordingMovie->isRecording()) {
    const WaitScope wait;
    recordingMovie->stopRecording();
  }
  recordingNow = 0;
  recordedFrames = recordingMovie ? recordingMovie->count : 0;
  std::string failure = fgRecordingFailure();
  if (failure.empty() && recordingMovie) failure = recordingMovie->failure();
  if (auto* view = dynamic_cast<ZBasicfgView*>(theApp().liveView)) {
    notes += view->liveDocument().inputParameters();
    if (fgState().set.flickerless) view->restoreSize();
  }
  setTitle(text::kRecordedTitle + withoutDate(longDateTime(capturetime)));
  if (!recordingMovie || !recordingMovie->isOpen()) {
    recordingMovie.reset();
    updateAllViews();
    if (begun) tellOfLosses(failure);
    return;
  }
  adoptMovie(std::move(recordingMovie), {}, rate);
  noteCounts();
  if (!moviePath.empty()) {
    std::string stem = withoutExtension(moviePath);
    if (endsWithIgnoringCase(stem, ".z")) stem.resize(stem.size() - 2);
    if (const auto folder = folderForUnnamed(folderOf(stem))) saveRecording(*folder + fileNameOf(stem));
  }
  host().windows.beep();
  host().windows.refreshBars();
  theApp().documents.activate(*this);
  updateAllViews();
  tellOfLosses(failure);
}

void CVivoRecDoc::saveRecording(const std::string& stem) {
  const TakenName taken(stem, ".dtv");
  const std::string& path = taken.path();
  movie->shared = 0;  // no document knows of it yet: it moves along
  const bool saved = CVivoCapDoc::onSaveDocument(path);
  movie->shared = 1;
  if (!saved) return;
  setPathName(path);
  setTitle(text::kRecordedTitle + fileNameOf(path));
  setModified(false);
}

std::string CVivoRecDoc::defaultPathName() const {
  if (!pathName().empty()) return CVivoCapDoc::defaultPathName();
  const std::string folder = folderOf(CVivoCapDoc::defaultPathName());
  const std::string stem = ZBasicfgDoc::automaticStem("-%Y%m%d_%H%M%S", capturetime);
  return (folder.empty() ? folderOf(stem) : folder) + fileNameOf(stem) + storedType()->filterExtension();
}

void CVivoRecDoc::editSettings() {
  SequenceSettings wanted;
  wanted.load();
  if (!askSequenceSettings(wanted, liveSource(), fgState().actualFps)) return;
  wanted.store();
  sequence = wanted;
  if (!hasMovie()) {
    frameCount = sequence.frames;
    skipFrames = sequence.skip;
  }
  host().windows.refreshBars();
  updateAllViews();
}

// For a recording to memory: touched beforehand, so that its first frames come at once.
void CVivoRecDoc::allocateMemory() {
  sequence = {};
  sequence.load();
  const Rect source = liveSource();
  const WaitScope wait;
  SequenceSettings toMemory = sequence;
  toMemory.toDisc = 0;
  auto prepared = std::make_unique<CZZMovie>();
  recordingMovie = std::make_unique<CZZMovie>();
  if (!hasRoomFor(toMemory, source)) return;
  if (!prepared->reserve(sequence.frames, source.width() / 4 * 4, source.height()))
    return report("There is not enough memory for so many frames.");
  recordingMovie = std::move(prepared);
  host().messages.show(format("Memory for %i frames of %i x %i pixels is ready.", sequence.frames,
                              source.width() / 4 * 4, source.height()));
}

const CommandTableBase& CVivoRecDoc::commandTable() {
  using D = CVivoRecDoc;
  static const CommandTable<D> table{
      {{cmd::ImageSequence, "&Image sequence...", &D::editSettings, &D::isIdle},
       {cmd::AllocateMemory,
        "&Alloc memory",
        &D::allocateMemory,
        &D::isIdle,
        {.tip = "allocate memory ready for recording",
         .status = "Makes the memory for a recording ready, so that it begins at once.",
         .whyOff = text::kUnderWay}},
       {cmd::Stop, "", &D::stopRecording, &D::isRecording}},
      &CVivoCapDoc::commandTable()};
  return table;
}

}  // namespace tarnvisor
