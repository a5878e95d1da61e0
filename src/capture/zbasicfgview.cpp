#include "capture/zbasicfgview.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "camera/framegrabber.h"
#include "capture/commandids.h"
#include "capture/texts.h"
#include "capture/vivorecdoc.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "fgdoc";
constexpr Colour kRed = 0x0000ff, kGreen = 0x00ff00;
constexpr int32_t kTextMargin = 5, kTextAboveBottom = 50;
constexpr int32_t kMostTimedSaves = 999;       // of a name with three digits
constexpr int32_t kFramesThatWait = 60 * 120;  // of a sampled line, while a dialog stands open

// Each frame that the camera gives is sampled as it comes, shown or not.
void sampleFrames(const std::shared_ptr<LineQueue>& rows) {
  if (!rows) return fgSetFrameListener(nullptr);
  fgSetFrameListener([rows](const FrameHub::Frame& frame) {
    rows->sample(CZZchildimage(frame.width, frame.height, frame.block, frame.stride), frame.fields / 2);
  });
}

}  // namespace

ZBasicfgView::ZBasicfgView(ZBasicfgDoc& document)
    : ZBasicView(document),
      doc(document),
      rateTimer(theApp().loop, kRateTimer),
      checkTimer(theApp().loop, kCheckTimer),
      saveTimer(theApp().loop, kSaveTimer) {
  CBasicApp& app = theApp();
  app.liveView = this;
  app.camera = this;
  fgSetOnNews([&app] { app.loop.wakeFromAnyThread(); });
  feed.sampleElsewhere(kFramesThatWait, sampleFrames);
  controls.open();
}

ZBasicfgView::~ZBasicfgView() {
  CBasicApp& app = theApp();
  controls.storePlaces();
  storeZoom();
  fgFreeze();
  fgSetOnNews(nullptr);
  if (app.liveView == this) app.liveView = nullptr;
  if (app.camera == this) app.camera = nullptr;
}

// --- the camera's life

void ZBasicfgView::restoreZoom() {
  const int32_t whole = std::max(1, settings.getInt(kSection, "zoomx", 1));
  const int32_t num = settings.getInt(kSection, "zoomnum", whole),
                den = settings.getInt(kSection, "zoomden", 1);
  if (num > 0 && den > 0) setZoom(num, den);
}

void ZBasicfgView::storeZoom() const {
  const int32_t whole = std::max(1, zoomnum / std::max(1, zoomden));
  settings.setInt(kSection, "zoomx", whole);
  settings.setInt(kSection, "zoomy", whole);
  settings.setInt(kSection, "zoomnum", zoomnum);
  settings.setInt(kSection, "zoomden", zoomden);
  settings.setInt(kSection, "wright", windowSize().width);
  settings.setInt(kSection, "wbottom", windowSize().height);
}

void ZBasicfgView::restoreSize() {
  const Size content = contentSize();
  site().resizeFrame({settings.getInt(kSection, "wright", content.width),
                      settings.getInt(kSection, "wbottom", content.height)});
}

void ZBasicfgView::startCamera() {
  if (isLive() || !doc.start()) return;
  restoreZoom();
  if (!std::exchange(wasSized, true)) restoreSize();
  displayed = displayedAtTick = 0;
  tickedAt = steadySeconds();
  takeRate(fgState().actualFps);
  rateTimer.start(kRateMs, [this] { measureRate(); });
  if (settings.getInt(kSection, "dograbchk", 1))
    checkTimer.start(std::max(100, settings.getInt(kSection, "grabchkmsecs", 5000)),
                     [this] { checkFrames(); });
  redraw();
  host().windows.refreshBars();
}

void ZBasicfgView::stopTimers() {
  rateTimer.stop();
  checkTimer.stop();
  saveTimer.stop();
}

void ZBasicfgView::freeze() {
  if (!isLive()) return;
  storeZoom();
  stopTimers();
  doc.freeze();
  feed.pause();
  takeRate(0);
  controls.storePlaces();
  if (RecorderSink* recorder = theApp().recorder; recorder && recorder->isRecording())
    recorder->stopRecording();
  host().windows.refreshBars();
}

void ZBasicfgView::stopCamera() {
  if (!isLive()) return;
  freeze();
  doc.keepFrozen();
}

void ZBasicfgView::restart() {
  const bool ran = isLive();
  if (ran) freeze();
  if (!fgReopen()) {
    doc.report(text::kNoVideoInput);
    return;
  }
  if (ran) startCamera();
  doc.updateAllViews();
}

// --- the idle pass

uint32_t ZBasicfgView::status() {
  const bool was = isLive();
  const uint32_t events = fgCheckFrame();
  feed.takeUp();
  if (was && !isLive()) takeLostCamera();
  return events;
}

bool ZBasicfgView::isRunning() { return isLive(); }
double ZBasicfgView::frameRate() { return fgState().actualFps; }
int32_t ZBasicfgView::frameCounter() { return fgState().fieldCount / 2; }

// The camera stopped without being asked: it went away, or a recording was full.
void ZBasicfgView::takeLostCamera() {
  stopTimers();
  doc.freeze();
  feed.pause();
  takeRate(0);
  const std::string why = fgState().lostWords;
  host().windows.refreshBars();
  if (why.empty()) return;
  auto* recorder = dynamic_cast<CVivoRecDoc*>(theApp().recorder);
  const bool recorded = recorder && recorder->isRecording();
  if (recorded) recorder->stopRecording();
  host().messages.show(
      why + (recorded ? "\n" + recorder->keptWords() : "") + "\nStart tries the camera again.", Buttons::Ok,
      Icon::Warning);
}

bool ZBasicfgView::hasStoppedByItself() { return fgTakeStopFlag(); }

void ZBasicfgView::redrawNow() {
  ++displayed;
  CView::redrawNow();
}

void ZBasicfgView::takeRate(double measured) {
  rate = measured;
  controls.showRate(rateWords());
}

std::string ZBasicfgView::rateWords() const { return isLive() ? format("fps=%3.1f", rate) : std::string(); }

void ZBasicfgView::measureRate() {
  const double now = steadySeconds();
  if (now <= tickedAt) return;
  takeRate(static_cast<double>(displayed - displayedAtTick) / (now - tickedAt));
  displayedAtTick = displayed;
  tickedAt = now;
  site().panesChanged();
}

void ZBasicfgView::checkFrames() {
  if (asking) return;
  const std::string flaw = fgFrameCheck();
  if (flaw.empty()) return;
  logPrintf("%s\n", flaw.c_str());
  if (fgState().recording) return;
  if (isUnattended() || host().windows.asksSomething()) return;
  asking = true;
  tellOfLostFrames(flaw);
  asking = false;
}

// Where nothing can be done about them it is said once a start.
void ZBasicfgView::tellOfLostFrames(const std::string& flaw) {
  int32_t low = 0, high = 0, step = 0;
  const int32_t clock = fgGetPixelClockRange(low, high, step);
  if (high <= 0) {
    checkTimer.stop();
    host().messages.show(flaw, Buttons::Ok, Icon::Warning);
    return;
  }
  const Answer answer = host().messages.show(
      flaw + "\n\nYes: a lower pixel clock. No: go on. Cancel: go on, and check no more.",
      Buttons::YesNoCancel, Icon::Question);
  if (answer == Answer::Yes) {
    changeClock(clock * 9 / 10);
  } else if (answer == Answer::Cancel) {
    settings.setInt(kSection, "dograbchk", 0);
    checkTimer.stop();
  }
}

void ZBasicfgView::changeClock(int32_t megahertz) {
  const bool ran = isLive();
  if (ran) freeze();
  fgSetPixelClock(megahertz);
  if (ran) startCamera();
}

// --- drawing

void ZBasicfgView::draw(Canvas& canvas) {
  ZBasicView::draw(canvas);
  const GrabberState& camera = fgState();
  if (camera.recording) canvas.text({kTextMargin, kTextMargin}, "RECORDING", kRed);
  if (!text) return;
  const int32_t line = canvas.textSize("0").height;
  Point at{kTextMargin, std::max(0, windowSize().height - std::max(kTextAboveBottom, 2 * line))};
  canvas.text(at, format("fps %f", camera.actualFps), kGreen);
  at.y += line;
  canvas.text(
      at, format("Flash=%i delay=%i exp=%i gaini=%i", camera.flashUs, 0, camera.exposureUs, camera.set.gain),
      kGreen);
}

std::vector<StatusPane> ZBasicfgView::panes() const {
  std::vector<StatusPane> all = ZBasicView::panes();
  const LocalTime now = localTime(currentTime());
  all.push_back({"clock", format("%02i:%02i", now.hour, now.minute)});
  all.push_back({"rate", rateWords()});
  return all;
}

// --- saving

void ZBasicfgView::freezeAndSave(const std::string& path) {
  if (!path.empty() || doc.timerN < 1 || !isLive()) {
    (void)doc.saveStill(path);
    return;
  }
  startTimedSaves();
}

// A run that is under way begins anew.
void ZBasicfgView::startTimedSaves() {
  saveTimer.stop();
  saved = 0;
  const std::string stem = ZBasicfgDoc::automaticStem("-%y%m%d%H%M%S");
  saveStem = stem;
  char letter = 'a';
  while (fileExists(saveStem + format("_%03i", 0) + doc.storedType()->filterExtension()))
    saveStem = stem + letter++;
  saveTimer.start(std::max(1, doc.timerint) * 1000, [this] { saveTimed(); });
  saveTimed();
}

void ZBasicfgView::saveTimed() {
  const bool done = doc.saveStill(saveStem + format("_%03i", saved++));
  if (!done || saved >= doc.timerN) saveTimer.stop();
}

// --- commands

void ZBasicfgView::zoomInLive() {
  zoomAbout({windowSize().width / 2, windowSize().height / 2}, true);
  storeZoom();
}

void ZBasicfgView::zoomOutLive() {
  zoomAbout({windowSize().width / 2, windowSize().height / 2}, false);
  storeZoom();
}

bool ZBasicfgView::canChangeCamera() const { return !fgState().recording; }

void ZBasicfgView::pixelClock() {
  int32_t low = 0, high = 0, step = 0;
  int32_t clock = fgGetPixelClockRange(low, high, step);
  if (high <= 0) return doc.report("The pixel clock of this camera can't be set.");
  Form form("Pixel clock");
  form.addNote(
          "Set Pixel Clock (MHz)\n\nUse a lower value if the computer cannot handle the USB data, or with "
          "problematic Intel USB3 controllers.  A lower pixel clock will also mean a lower maximum frame rate.  "
          "Alternatively use half resolution, or a reduced grab image size to increase frame rate.\n")
      .addNote(format("min clk = %i MHz\nmax clk = %i MHz\ninc = %i MHz", low, high, step))
      .add("Pixel clock (MHz)", clock, {static_cast<double>(low), static_cast<double>(high), {}});
  if (!host().forms.run(form)) return;
  settings.setInt(kSection, "dograbchk", 1);
  changeClock(clock);
}

bool ZBasicfgView::isFlickerless() const { return fgState().set.flickerless != 0; }

void ZBasicfgView::flickerless() {
  fgSetFlickerless(!isFlickerless());
  restart();
}

bool ZBasicfgView::isHalfResolution() const { return fgState().set.binning != 0; }

void ZBasicfgView::halfResolution() {
  const bool was = isHalfResolution(), ran = isLive();
  if (ran) freeze();
  const bool is = fgSetBinning();
  if (is == was) doc.report("This camera has no half resolution.");
  if (ran) startCamera();
  doc.updateAllViews();
}

void ZBasicfgView::grabImageSize() {
  const GrabberState& camera = fgState();
  int32_t whole = camera.set.grabArea ? 0 : 1;
  int32_t width = camera.set.userGrabWidth, height = camera.set.userGrabHeight;
  Form form("Grab image size");
  form.addCheck("whole sensor", whole)
      .add("width (pixels)", width, {4, 65536, {}})
      .add("height (pixels)", height, {2, 65536, {}})
      .addNote(
          "The middle of the sensor, rounded down to multiples of 4 and 2. A smaller area allows more frames a second.");
  if (!host().forms.run(form)) return;
  fgSetGrabSize(width, height, whole != 0);
  restart();
}

void ZBasicfgView::timerCommand() {
  Form form("Timer");
  form.addNote(theExams().words());
  form.add("number of images", doc.timerN, {0, static_cast<double>(kMostTimedSaves), {}})
      .add("interval (seconds)", doc.timerint, {1, 86400, {}})
      .addNote("0 images: Save Image saves one. Otherwise it saves so many, one at each interval.");
  if (!host().forms.run(form)) return;
  settings.setInt(kSection, "timerN", doc.timerN);
  settings.setInt(kSection, "timerint", doc.timerint);
}

void ZBasicfgView::frameSkipCommand() {
  doc.frameSkip = settings.getInt("Dynamic settings", "skip frames", 0);
  Form form("Frame Skip");
  form.add("frames to skip between each saved frame", doc.frameSkip, {0, 100000, {}});
  if (!host().forms.run(form)) return;
  settings.setInt("Dynamic settings", "skip frames", doc.frameSkip);
}

void ZBasicfgView::selectCamera() {
  std::vector<CameraChoice> found;
  {
    const WaitScope wait;
    found = findCameras();
  }
  std::vector<std::string> words{"the first that is found"};
  int32_t chosen = 0;
  for (const CameraChoice& camera : found) {
    if (camera.id == fgState().set.camera) chosen = static_cast<int32_t>(words.size());
    words.push_back(camera.words);
  }
  const int32_t before = chosen;
  Form form("Select camera");
  form.addChoice("Camera", chosen, words);
  if (std::string inUse; fgDriverInfo(0, inUse))
    form.addNote(format("In use: %s (%s)", inUse.c_str(), fgBoardName(0)));
  if (!host().forms.run(form) || chosen == before) return;
  fgSetCamera(chosen == 0 ? std::string() : found[static_cast<size_t>(chosen - 1)].id);
  restart();
}

bool ZBasicfgView::showsAllErrors() const { return fgState().set.showErrors != 0; }
void ZBasicfgView::showAllErrors() { fgSetShowErrors(!showsAllErrors()); }

void ZBasicfgView::toggleText() {
  text = !text;
  redraw();
}

// There is no drive behind them.
void ZBasicfgView::focusDrive() {}

const CommandTableBase& ZBasicfgView::commandTable() {
  using V = ZBasicfgView;
  static constexpr const char* kNoDrive = "This camera has no focus drive.";
  static constexpr const char* kRecording = text::kUnderWay;
  static const CommandTable<V> table{
      {{cmd::StartVideo,
        "&Start video",
        &V::startCamera,
        &V::isFrozen,
        {.tip = "Start the live video",
         .status = "Starts the live picture of the camera.",
         .whyOff = "It is running."}},
       {cmd::FreezeVideo,
        "Free&ze video",
        &V::stopCamera,
        &V::isLive,
        {.tip = "Freeze the live video",
         .status = "Stops the camera and keeps its last picture, to be measured and saved.",
         .whyOff = "The camera is not running."}},
       {cmd::VideoInputControl,
        "&Video Input Control",
        &V::videoControl,
        nullptr,
        &V::shows<LiveControls::Video>,
        {.tip = "Video input control", .status = "Shows or hides flash, exposure, gain and frame rate."}},
       {cmd::BigBrightness,
        "&Big Brightness slider",
        &V::bigBrightness,
        nullptr,
        &V::shows<LiveControls::Brightness>,
        {.tip = "Big brightness slider", .status = "Shows or hides a large slider of the light."}},
       {cmd::AutoBrightnessControl,
        "Auto Brightness control",
        &V::autoBrightness,
        nullptr,
        &V::shows<LiveControls::AutoBrightness>,
        {.tip = "Auto brightness",
         .status = "Shows or hides the control that holds the picture's brightness."}},
       {cmd::AutoFocusControl,
        "Auto focus control",
        &V::autoFocus,
        nullptr,
        &V::shows<LiveControls::AutoFocus>,
        {.tip = "Auto focus", .status = "Shows or hides the measure of focus."}},
       {cmd::PixelClock,
        "Set pixel clock",
        &V::pixelClock,
        &V::canChangeCamera,
        {.tip = "Pixel clock",
         .status = "Sets how fast the camera reads its sensor.",
         .whyOff = kRecording,
         .asks = true}},
       {cmd::Flickerless,
        "Flickerless",
        &V::flickerless,
        &V::canChangeCamera,
        &V::isFlickerless,
        {.tip = "Flickerless",
         .status = "A rate and height at which room light does not flicker.",
         .whyOff = kRecording}},
       {cmd::LiveZoomIn,
        "&Zoom In",
        &V::zoomInLive,
        {.tip = "Zoom in", .status = "Shows the live picture larger."}},
       {cmd::LiveZoomOut,
        "&Zoom out",
        &V::zoomOutLive,
        {.tip = "Zoom out", .status = "Shows the live picture smaller."}},
       {cmd::HalfResolution,
        "&Half resolution",
        &V::halfResolution,
        &V::canChangeCamera,
        &V::isHalfResolution,
        {.tip = "Half resolution",
         .status = "Two by two pixels of the sensor make one: brighter and faster.",
         .whyOff = kRecording}},
       {cmd::GrabImageSize,
        "Set grab image si&ze",
        &V::grabImageSize,
        &V::canChangeCamera,
        {.tip = "Grab image size",
         .status = "Which part of the sensor is read.",
         .whyOff = kRecording,
         .asks = true}},
       {cmd::TimedSaves,
        "&Timer...",
        &V::timerCommand,
        {.tip = "Timer", .status = "How many pictures Save Image saves, and how often."}},
       {cmd::FrameSkip,
        "&Frame skip",
        &V::frameSkipCommand,
        {.tip = "Frame skip", .status = "How many frames a recording leaves out between two.", .asks = true}},
       {cmd::SelectCamera,
        "&Select camera...",
        &V::selectCamera,
        &V::canChangeCamera,
        {.tip = "Select camera",
         .status = "Chooses among the cameras that are there.",
         .whyOff = kRecording}},
       {cmd::ShowAllErrors,
        "Show all &errors",
        &V::showAllErrors,
        nullptr,
        &V::showsAllErrors,
        {.tip = "Show all errors", .status = "Shows each message of the camera, beside the log."}},
       {cmd::LiveText,
        "Text over the picture",
        &V::toggleText,
        nullptr,
        &V::showsText,
        {.tip = "Text over the picture",
         .status = "Writes rate, flash, exposure and gain over the live picture."}},
       {cmd::FocusPlusPlus,
        "&Focus + +",
        &V::focusDrive,
        &V::hasFocusDrive,
        {.tip = "Focus + +", .status = "Drives the focus forward.", .whyOff = kNoDrive}},
       {cmd::FocusMinusMinus,
        "Focus- -",
        &V::focusDrive,
        &V::hasFocusDrive,
        {.tip = "Focus - -", .status = "Drives the focus back.", .whyOff = kNoDrive}},
       {cmd::SetFocusZero,
        "Set Focus o",
        &V::focusDrive,
        &V::hasFocusDrive,
        {.tip = "Set focus 0", .status = "Makes the present focus the middle.", .whyOff = kNoDrive}},
       {cmd::FocusRamp,
        "&Focus ramp",
        &V::focusDrive,
        &V::hasFocusDrive,
        {.tip = "Focus ramp", .status = "Drives the focus through its range.", .whyOff = kNoDrive}}},
      &ZBasicView::commandTable()};
  return table;
}

}  // namespace tarnvisor
