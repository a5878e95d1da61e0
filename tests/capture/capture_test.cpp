// The live picture and the recorder.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ranges>

#include "base/clock.h"
#include "capture/texts.h"
#include "capturetest.h"
#include "exams/subjectselection.h"
#include "imagedoc/magnification.h"
#include "imagedoc/texts.h"
#include "linescan/zlinescandoc.h"
#include "support/fulldisc.h"

namespace tarnvisor {
namespace {

TEST_F(Capture, WithoutACameraThereAreWordsAndNoWindow) {
  plugged = false;
  runCommand(cmd::LiveVideo);
  EXPECT_EQ(host.messages.back(), text::kNoVideoInput);
  EXPECT_EQ(app->liveView, nullptr);
  EXPECT_THAT(log(), HasSubstr("no cameras found\n"));
  EXPECT_THAT(log(), HasSubstr("nofg\n"));
}

TEST_F(Capture, ALivePictureIsFrozenMeasuredAndSavedAsAStill) {
  openLive();
  EXPECT_EQ(live().title(), "Live Video Input");
  frames(3);
  EXPECT_EQ(live().theImage()->frameNumber, 6);
  EXPECT_EQ(fgState().shownFrames, 1) << "the newest alone is shown";
  EXPECT_TRUE(live().refuses(cmd::FilePrint));
  EXPECT_FALSE(live().holdsPixels());
  EXPECT_EQ(app->runCommand(cmd::Negative), CommandResult::Disabled);
  runCommand(cmd::FreezeVideo);
  EXPECT_EQ(live().title(), "Frozen Video Input");
  EXPECT_THAT(live().notes, ContainsRegex("Captured .*\r\nflash=[0-9]+\r\nbright=0\r\n"));
  EXPECT_THAT(live().notes, HasSubstr("fps=30.00\r\nauto flash\r\n"));
  const auto kept = pixelsOf(*live().theImage());
  runCommand(cmd::Negative);
  EXPECT_NE(pixelsOf(*live().theImage()), kept);
  host.paths = {folder.file("still.tv1")};
  host.answers = {Answer::Yes};
  runCommand(cmd::FileSaveAs);
  EXPECT_THAT(host.messages.back(), StartsWith("Open the new file?"));
  EXPECT_EQ(fileNameOf(app->documents.active()->pathName()), "still.tv1");
  EXPECT_THAT(image()->notes, HasSubstr("Invert"));
  EXPECT_EQ(live().pathName(), "") << "the next save asks again";
  EXPECT_FALSE(live().isModified());
  view().startCamera();
  frames(1);
  EXPECT_EQ(live().notes, "");
  EXPECT_EQ(live().theImage()->frameNumber, 2);
}

TEST_F(Capture, ALineIsSampledInEveryFrameThoughAFormStandsOpen) {
  openLive();
  frames(1);
  live().addDimension({10, 20}, CDimList::kLine);
  live().addPointToDimension(0, {60, 20});
  view().selected = 0;
  runCommand(cmd::MeasuringLine);
  const ZlineScanDoc& scan = *theLinescan();
  const uint32_t before = scan.traceSet().scan2D->origin;
  const int32_t shownBefore = fgState().shownFrames;
  host.fills.push_back([this](Form&) {
    camera->step(30);
    return false;
  });
  app->documents.activate(live());
  runCommand(cmd::TimedSaves);
  turn();
  const LinescanTraces set = scan.traceSet();
  EXPECT_EQ(fgState().shownFrames, shownBefore + 1);
  ASSERT_EQ(set.scan2D->origin, before + 30);
  EXPECT_DOUBLE_EQ(set.scan2D->period, 1.0 / fgState().actualFps);
  const auto isFull = [&](uint32_t row) { return set.scan2D->extent(row) == 50.0; };
  EXPECT_TRUE(std::ranges::all_of(std::views::iota(before, before + 30), isFull));
  EXPECT_EQ(set.scan2D->data->at(before + 29, 3), live().theImage()->pixelAt(13, 20)) << "in order";
  view().stopCamera();
  EXPECT_FALSE(scan.isCapturing());
}

TEST_F(Capture, SavesByTheTimeAndByTheTimer) {
  const FixedClock noon(1000000000);
  openLive();
  frames(1);
  frame->examList();
  runCommand(cmd::SaveImage);
  const std::string first = live().saveName;
  EXPECT_THAT(first, ContainsRegex("/hand-[0-9]{12}_000\\.tv1$"));
  runCommand(cmd::SaveImage);
  EXPECT_EQ(live().saveName, withoutExtension(first) + "a.tv1") << "a name that is taken";
  host.fill({{"number of images", "2"}, {"interval (seconds)", "1"}});
  runCommand(cmd::TimedSaves);
  runCommand(cmd::SaveImage);
  EXPECT_THAT(live().saveName, EndsWith("a_000.tv1"));
  EXPECT_TRUE(app->loop.hasTimer(ZBasicfgView::kSaveTimer));
  EXPECT_EQ(settings.getInt("fgdoc", "timerint", 0), 1);
  host.calls.clear();
}

TEST_F(Capture, TimedSavesEndWithThePicture) {
  openLive();
  frames(1);
  live().timerN = 3;
  view().freezeAndSave("");
  ASSERT_TRUE(app->loop.hasTimer(ZBasicfgView::kSaveTimer));
  runCommand(cmd::FreezeVideo);
  EXPECT_FALSE(app->loop.hasTimer(ZBasicfgView::kSaveTimer));
  view().freezeAndSave("");
  EXPECT_FALSE(app->loop.hasTimer(ZBasicfgView::kSaveTimer)) << "a picture that stays is saved once";
}

TEST_F(Capture, WhatIsTypedIntoTheNotesGoesWithEachSave) {
  openLive();
  frames(1);
  live().notes = "left hand\r\n";
  view().freezeAndSave("");
  EXPECT_EQ(live().notes, "left hand\r\n");
}

TEST_F(Capture, NotesTellOnlyWhatTheCameraIsSetTo) {
  for (const char* key : {"grabcolour", "gamma", "LUTenabled"}) settings.setInt("ueyeP", key, 1);
  openLive();
  frames(1);
  EXPECT_THAT(live().inputParameters(), EndsWith("fps=30.00\r\nauto flash\r\n"));
}

TEST_F(Capture, RecordsEachFrameToTheDiscAndToTheMemory) {
  sequence(3, 0, 0, 1);
  openLive();
  frames(2);
  live().setRoi({8, 4, 31, 24});
  live().magx = 2.5;
  runCommand(cmd::Trigger);
  EXPECT_TRUE(recorder().isRecording());
  EXPECT_TRUE(recorder().refuses(cmd::Negative));
  frames(5);
  EXPECT_FALSE(recorder().isRecording()) << "full";
  EXPECT_FALSE(live().isLive());
  EXPECT_THAT(numbersOf(recorder()), ElementsAre(6, 8, 10));
  EXPECT_EQ(recorder().theImage()->width, 20) << "down to a multiple of 4";
  EXPECT_EQ(recorder().theImage()->height, 20);
  EXPECT_EQ(recorder().magx, 2.5);
  EXPECT_THAT(recorder().title(), StartsWith("Recorded Video Sequence hand-"));
  EXPECT_TRUE(fileExists(withoutExtension(recorder().moviePath) + ".dtv"));
  EXPECT_FALSE(recorder().isModified());
  const CVivoRecDoc* before = &recorder();
  sequence(2, 2, 1, 0);
  runCommand(cmd::Trigger);
  EXPECT_EQ(before, &recorder()) << "what was saved makes room";
  frames(10);
  runCommand(cmd::Trigger);
  EXPECT_THAT(numbersOf(recorder()), ElementsAre(14, 20)) << "each third, the newest two";
  EXPECT_EQ(recorder().fps, 10);
  EXPECT_TRUE(recorder().isModified());
  EXPECT_EQ(recorder().pathName(), "");
  runCommand(cmd::Trigger);
  EXPECT_NE(before, &recorder()) << "what was not saved stays";
  runCommand(cmd::Trigger);
}

TEST_F(Capture, ALoopKeepsTheNumbersOfItsFrames) {
  for (const int32_t toDisc : {0, 1}) {
    sequence(3, 0, 1, toDisc);
    openLive();
    runCommand(cmd::Trigger);
    frames(5);
    runCommand(cmd::Trigger);
    EXPECT_THAT(numbersOf(recorder()), ElementsAre(6, 8, 10));
    const std::string path = toDisc ? recorder().pathName() : folder.file("loop.dtv");
    ASSERT_TRUE(recorder().onSaveDocument(path));
    app->documents.discardAll();
    app->openDocumentFile(path);
    EXPECT_THAT(numbersOf(dynamic_cast<CVivoCapDoc&>(*app->documents.active())), ElementsAre(6, 8, 10));
    app->documents.discardAll();
  }
}

// The frames so far, in the first round of a loop and in its second.
TEST_F(Capture, AKilledRecordingOpensWithItsFrames) {
  for (const auto& [count, numbers] : {std::pair{3, std::vector<uint32_t>{4, 6, 8}}, {6, {8, 10, 12, 14}}}) {
    process.baseName = "killed" + std::to_string(count);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      sequence(4, 0, 1, 1);
      openLive();
      frames(1);
      runCommand(cmd::Trigger);
      frames(count);
      (void)!::write(ends[1], "x", 1);
      for (;;) ::pause();
    }
    ::close(ends[1]);
    char told = 0;
    EXPECT_EQ(::read(ends[0], &told, 1), 1);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    for (const auto& file : std::filesystem::directory_iterator(folder.path()))
      if (file.path().filename().string().starts_with(process.baseName) && file.path().extension() == ".mve")
        app->openDocumentFile(file.path());
    auto* opened = dynamic_cast<CVivoCapDoc*>(app->documents.active());
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(numbersOf(*opened), numbers);
    EXPECT_THAT(host.messages.back(), HasSubstr("was cut off"));
    const std::string beside = opened->movie->fileName + ".numbers";
    EXPECT_TRUE(fileExists(beside));
    ASSERT_TRUE(opened->onSaveDocument(folder.file("saved.dtv")));
    EXPECT_FALSE(fileExists(beside));
    app->documents.discardAll();
  }
}

TEST_F(Capture, AFullDiscKeepsWhatWasRecordedAndTellsWhere) {
  sequence(100, 0, 0, 1);
  openLive();
  for (const int64_t room : {5 * 128 * 64 + 100, 100}) {
    view().startCamera();
    runCommand(cmd::Trigger);
    {
      const FullDisc full(room);
      frames(9);
    }
    EXPECT_FALSE(recorder().isRecording());
    EXPECT_THAT(host.messages.back(), HasSubstr("The recording ended: File too large."));
    EXPECT_THAT(host.messages.back(),
                HasSubstr(room > 100 ? "5 images were recorded and are kept in " + recorder().movie->fileName
                                     : "Nothing was recorded before."));
    if (room == 100) continue;
    CZZMovie kept;
    EXPECT_TRUE(kept.open(recorder().movie->fileName));
    EXPECT_EQ(kept.count, 5);
    EXPECT_EQ(kept.recoveredFrames(), 0);
    EXPECT_FALSE(view().document().refuses(cmd::StartVideo)) << "the live picture is there";
  }
}

TEST_F(Capture, ARecordingThatCannotBeginSaysSoOnce) {
  sequence(100, 0, 0, 1);
  openLive();
  process.recordDir = folder.file("none");
  runCommand(cmd::Trigger);
  EXPECT_THAT(host.messages.back(), StartsWith("failed to start recording!\nNo such file"));
  const size_t told = host.messages.size();
  runCommand(cmd::Trigger);
  EXPECT_FALSE(recorder().isRecording());
  EXPECT_EQ(host.messages.size(), told);
}

TEST_F(Capture, TheRecorderShowsThePartThatIsRecorded) {
  sequence(100, 0, 0, 1);
  openLive();
  frames(1);
  live().setRoi({8, 4, 31, 24});
  runCommand(cmd::Trigger);
  frames(1);
  const CZZimage& shown = *recorder().theImage();
  EXPECT_EQ(shown.frameRect(), (Rect{0, 0, 20, 20}));
  EXPECT_EQ(shown.row(0), fgState().liveImage->row(4) + 8);
  runCommand(cmd::Trigger);
}

TEST_F(Capture, ACameraThatGoesLeavesWhatWasRecorded) {
  useCamera({.vanishesAfter = 4});
  sequence(100, 0, 0, 1);
  openLive();
  runCommand(cmd::Trigger);
  frames(6);
  EXPECT_FALSE(recorder().isRecording());
  EXPECT_EQ(recorder().imageCount(), 4);
  EXPECT_THAT(host.messages, Contains(HasSubstr("4 images were recorded and are kept in " + folder.path())));
  EXPECT_THAT(host.messages, Contains(HasSubstr("Start tries the camera again")));
  ASSERT_NE(app->liveView, nullptr) << "the window stays";
  EXPECT_GT(live().theImage()->width, 0);
  plugged = false;
  view().startCamera();
  EXPECT_THAT(host.messages.back(), HasSubstr("The camera is not there."));
  plugged = true;
  useCamera({});
  view().startCamera();
  frames(1);
  EXPECT_TRUE(live().isLive());
}

TEST_F(Capture, FramesThatAreLostAreTold) {
  useCamera({.losesEvery = 3});
  sequence(4, 0, 0, 0);
  openLive();
  runCommand(cmd::Trigger);
  frames(8);
  EXPECT_THAT(recorder().notes, ContainsRegex("4 frames recorded, [12] missed"));
  EXPECT_THAT(host.messages.back(), HasSubstr("frames were missed"));
  EXPECT_THAT(fgFrameCheck(), ContainsRegex("[0-9]+ of [0-9]+ frames of the camera did not arrive."));
}

TEST_F(Capture, TheWindowsOfLightAndFocusLeaveEachOtherAlone) {
  openLive();
  runCommand(cmd::AutoBrightnessControl);
  ShownForm& light = *host.shownForms.back();
  light.change("min (usec)", "77");
  runCommand(cmd::AutoFocusControl);
  EXPECT_EQ(light.value("min (usec)"), "77");
  flashControl.lastGood = 1234;
  light.press("Apply");
  EXPECT_EQ(flashControl.lastGood, 1234) << "found by the picture, not by the user";
  focusControl.position = 9;
  host.shownForms.back()->press("Apply");
  EXPECT_EQ(focusControl.position, 9);
}

TEST_F(Capture, FocusIsMeasuredFromTheFirstPictureOn) {
  openLive();
  runCommand(cmd::AutoFocusControl);
  ShownForm& form = *host.shownForms.back();
  EXPECT_EQ(form.value(""), "") << "the camera still fills the block";
  frames(1);
  form.refresh();
  EXPECT_THAT(form.value(""), StartsWith("focus="));
}

TEST_F(Capture, AFrozenPictureStaysAsItWasTaken) {
  const Rect part{8, 4, 40, 28};
  openLive();
  frames(1);
  runCommand(cmd::FreezeVideo);
  live().setRoi(part);
  const std::string before = live().notes;
  runCommand(cmd::HalfResolution);
  EXPECT_EQ(live().notes, before);
  EXPECT_EQ(live().roi, part);
  view().startCamera();
  EXPECT_EQ(live().notes, "binning on\r\n");
  EXPECT_EQ(live().roi, Rect{});
  live().setRoi(part);
  frames(1);
  runCommand(cmd::FreezeVideo);
  host.fill({{"whole sensor", "0"}, {"width (pixels)", "32"}, {"height (pixels)", "16"}});
  runCommand(cmd::GrabImageSize);
  EXPECT_EQ(live().roi, part);
  view().startCamera();
  EXPECT_EQ(live().roi, Rect{}) << "the next is of another size";
  host.fill({{"whole sensor", "1"}});
  runCommand(cmd::GrabImageSize);
  runCommand(cmd::HalfResolution);
}

TEST_F(Capture, LostFramesOfferALowerClockThanThatInUse) {
  settings.setInt("fgdoc", "grabchkmsecs", 100);
  useCamera({.losesEvery = 3});
  openLive();
  ASSERT_TRUE(camera->set(CameraRole::PixelClock, 20));
  host.answers = {Answer::Yes};
  frames(8);
  awaitCheck();
  EXPECT_EQ(camera->value(CameraRole::PixelClock), 18);
  EXPECT_TRUE(live().isLive());
}

TEST_F(Capture, LostFramesAreOnlyToldWithoutAClock) {
  settings.setInt("fgdoc", "grabchkmsecs", 100);
  useCamera({.without = {CameraRole::PixelClock}, .losesEvery = 3});
  openLive();
  frames(8);
  awaitCheck();
  EXPECT_THAT(host.messages.back(), EndsWith("did not arrive."));
}

TEST_F(Capture, LostFramesDoNotDisturbARecording) {
  settings.setInt("fgdoc", "grabchkmsecs", 100);
  useCamera({.losesEvery = 3});
  sequence(4, 0, 1, 0);
  openLive();
  runCommand(cmd::Trigger);
  frames(8);
  awaitCheck();
  EXPECT_THAT(host.messages, IsEmpty());
  runCommand(cmd::Trigger);
}

TEST_F(Capture, HalfResolutionTakesTheScaleAlong) {
  openLive();
  live().magx = live().magy = 1.5;
  runCommand(cmd::HalfResolution);
  frames(1);
  EXPECT_EQ(live().theImage()->width, 64);
  EXPECT_EQ(live().magx, 3.0);
  EXPECT_THAT(log(), HasSubstr("set binning\n"));
  process.liveTemplate->discard(live());
  openLive();
  EXPECT_EQ(live().magx, 2.0) << "the next live picture is binned from the start";
  ASSERT_TRUE(live().setScale(3.0, 3.0, "10x", 0, true, true));
  MagnificationEntry kept;
  readDefaultMagnification(kept);
  EXPECT_EQ(kept.magx, 1.5) << "what new pictures begin with is not binned";
  host.fill({{"action", "2"}, {"row", "0"}});
  runCommand(cmd::Magnification);
  EXPECT_EQ(live().magx, 3.0) << "nor is the table";
  live().setModified(false);
  runCommand(cmd::HalfResolution);
  EXPECT_EQ(live().magy, 1.5);
}

TEST_F(Capture, TheRateIsShownBesideThePictureToo) {
  openLive();
  runCommand(cmd::VideoInputControl);
  host.shownForms.back()->refresh();
  EXPECT_EQ(host.shownForms.back()->value("shown"), "fps=30.0");
  runCommand(cmd::FreezeVideo);
  host.shownForms.back()->refresh();
  EXPECT_EQ(host.shownForms.back()->value("shown"), "");
}

TEST_F(Capture, LightIsSetByStrobeExposureOrNothing) {
  openLive();
  flashControl.on = 0;
  EXPECT_EQ(fgState().exposureUs, 10000);
  EXPECT_EQ(fgSetFlash(50, false), fgState().flashUs) << "no strobe is so short";
  EXPECT_NE(fgState().flashUs, 50);
  fgSetFlash(700, false);
  EXPECT_EQ(fgState().flashUs, 700);
  EXPECT_EQ(camera->value(CameraRole::StrobeEnd), 700 - 10000);
  fgSetStrobeUse(true, false);
  fgSetFlash(900, false);
  EXPECT_EQ(fgState().exposureUs, 900);
}

// A camera before another, which does what is not told otherwise.
class OddCamera : public CameraDriver {
 public:
  CameraInfo info() const override { return inner->info(); }
  std::optional<CameraRange> range(CameraRole role) override { return inner->range(role); }
  std::optional<double> value(CameraRole role) override { return inner->value(role); }
  Outcome set(CameraRole role, double value) override { return inner->set(role, value); }
  Size sensor() const override { return inner->sensor(); }
  Rect area() const override { return inner->area(); }
  Outcome setArea(const Rect& area) override { return inner->setArea(area); }
  int32_t bufferCount() const override { return inner->bufferCount(); }
  int64_t bufferSize() const override { return inner->bufferSize(); }
  Outcome announce(uint8_t* block, int64_t bytes) override { return inner->announce(block, bytes); }
  void revokeAll() override { inner->revokeAll(); }
  void requeue(uint8_t* block) override { inner->requeue(block); }
  Outcome start(FrameReceiver& receiver) override { return inner->start(receiver); }
  void stop() override { inner->stop(); }

 protected:
  std::unique_ptr<SimulatedCamera> inner =
      openSimulatedCamera({.sensor = {128, 64}, .pace = CameraPace::Step});
};

// One that takes any exposure, and slows down for it.
struct PatientCamera final : OddCamera {
  std::optional<CameraRange> range(CameraRole role) override {
    return role == CameraRole::Exposure ? CameraRange{20, 1e6, 1} : inner->range(role);
  }
  std::optional<double> value(CameraRole role) override {
    return role == CameraRole::Exposure ? exposure : inner->value(role);
  }
  Outcome set(CameraRole role, double value) override {
    if (role == CameraRole::Exposure) exposure = value;
    return inner->set(role, value);
  }
  double exposure = 0;
};

struct FailingCamera final : OddCamera {
  Outcome set(CameraRole, double) override { return Outcome::failure("no"); }
  Outcome setArea(const Rect&) override { return Outcome::failure("no"); }
  Outcome announce(uint8_t* block, int64_t bytes) override {
    return ++announced > 8 ? Outcome::failure("no") : inner->announce(block, bytes);
  }
  int announced = 0;
};

TEST_F(Capture, AllErrorsAreShownEachOnce) {
  for (const char* key : {"ShowErrors", "binning", "grabarea"}) settings.setInt("ueyeP", key, 1);
  settings.setInt("ueyeP", "usergrabwidth", 32);
  settings.setInt("ueyeP", "usergrabHeight", 16);
  fgOpenWith([](const std::string&, std::string&) { return std::make_unique<FailingCamera>(); });
  openLive();
  fgSetFlash(700, true);
  fgSetFlash(800, true);
  sequence(9, 0, 0, 0);
  runCommand(cmd::Trigger);
  for (const char* flaw : {"set binning failed no", "set pixelclk 35 failed no", "set roi failed no",
                           "announce buffer 8 failed=no"})
    EXPECT_THAT(host.messages, Contains(flaw));
  EXPECT_THAT(host.messages, Contains(StartsWith("flash end=")).Times(1));
  EXPECT_THAT(host.messages, Contains(StartsWith("set exp failed=")).Times(1));
}

TEST_F(Capture, WhatTheCameraDoesNotGiveIsInTheLog) {
  EXPECT_FALSE(fgAllocbufs(1, 8, 8));
  EXPECT_THAT(log(), HasSubstr("fgAllocbufs. new recimage exception!\n"));
  useCamera({.without = {CameraRole::StrobeEnd}});
  openLive();
  EXPECT_THAT(log(), HasSubstr("flashend get range fail=1\n"));
}

TEST_F(Capture, AnAreaBeginsAtAMultipleOfFourTimesTheZoom) {
  settings.setInt("ueyeP", "grabarea", 1);
  settings.setInt("ueyeP", "usergrabwidth", 40);
  settings.setInt("ueyeP", "usergrabHeight", 16);
  for (const auto& [zoom, left] : {std::pair{0, 44}, {1, 44}, {2, 40}}) {
    settings.setInt("ueyeP", "zoomx", zoom);
    openLive();
    EXPECT_EQ(camera->area().left, left);
    process.liveTemplate->discard(live());
  }
}

TEST_F(Capture, TheDialogOfCamerasTellsWhichIsInUse) {
  openLive();
  host.fills.push_back([](Form& form) {
    std::string all;
    for (const FormField& field : form.fields()) all += field.label + "\n";
    EXPECT_THAT(all, HasSubstr("In use: ueye-1 Simulated finger (ueyezz)"));
    return false;
  });
  runCommand(cmd::SelectCamera);
}

TEST_F(Capture, TheFlickerlessWindowHasItsSizeBackAfterARecording) {
  struct Site final : ViewSite {
    void resizeFrame(Size content) override { size = content; }
    Size size;
  } site;
  sequence(9, 0, 0, 0);
  for (const int32_t flickerless : {0, 1}) {
    settings.setInt("ueyeP", "flessEN", flickerless);
    openLive();
    view().setWindowSize({300, 200});
    runCommand(cmd::Trigger);
    view().attach(&site);
    frames(1);
    runCommand(cmd::Trigger);
    EXPECT_EQ(site.size, (flickerless ? Size{300, 200} : Size{}));
    view().attach(nullptr);
    app->documents.discardAll();
  }
}

TEST_F(Capture, CommandsSayThatThePictureIsLive) {
  openLive();
  frames(1);
  EXPECT_EQ(live().whyOff(cmd::Negative, text::kNeedsGrey), text::kFreezeFirst);
  EXPECT_EQ(live().whyOff(cmd::FilePrint, ""), text::kFreezeFirst);
  EXPECT_EQ(live().whyOff(cmd::Copy, "other"), "other");
  view().stopCamera();
  EXPECT_EQ(live().whyOff(cmd::Negative, text::kNeedsGrey), text::kNeedsGrey);
}

TEST_F(Capture, AStillOfABinnedPictureHasItsScaleAndSaysSo) {
  openLive();
  live().magx = live().magy = 1.5;
  runCommand(cmd::HalfResolution);
  frames(1);
  ASSERT_TRUE(live().saveStill(folder.file("half")));
  app->openDocumentFile(folder.file("half.tv1"));
  EXPECT_EQ(image()->theImage()->width, 64);
  EXPECT_EQ(image()->magx, 3.0);
  EXPECT_EQ(image()->magy, 3.0);
  EXPECT_THAT(image()->notes, HasSubstr("binning on"));
}

TEST_F(Capture, AFastRateIsNotSlowedByTheExposure) {
  fgOpenWith([](const std::string&, std::string&) { return std::make_unique<PatientCamera>(); });
  openLive();
  fgSetStrobeUse(false, false);
  fgSetFps(125);
  EXPECT_EQ(fgState().exposureUs, 8000 - 50);
  fgSetFps(30);
}

TEST_F(Capture, TheLightStaysWhatItIsWhenTheRateChanges) {
  openLive();
  flashControl.on = 0;
  fgSetFlash(500, false);
  for (const double rate : {120.0, 30.0}) {
    fgSetFps(rate);
    frames(3);
    const auto truth = camera->truthOf(fgState().liveImage->frameNumber / 2 - 1);
    ASSERT_TRUE(truth);
    EXPECT_NEAR(truth->lightMicroseconds, 500, 1) << rate << " a second";
  }
}

TEST_F(Capture, WhatWasMeasuredOnAFrozenPictureIsAskedAboutAndGoesWithIt) {
  openLive();
  frames(1);
  view().freezeAndSave("");
  runCommand(cmd::FreezeVideo);
  live().addDimension({1, 1}, 0);
  live().setModified();
  host.answers = {Answer::Cancel, Answer::Cancel, Answer::No};
  view().startCamera();
  EXPECT_FALSE(live().isLive());
  runCommand(cmd::RecordSequence);
  EXPECT_FALSE(recorder().isRecording()) << "nor behind the frozen picture";
  view().startCamera();
  EXPECT_TRUE(live().isLive());
  EXPECT_EQ(live().currentDims().size(), 0);
}

TEST_F(Capture, NothingBringsBackThePictureBeforeThatOfNow) {
  openLive();
  frames(1);
  runCommand(cmd::FreezeVideo);
  runCommand(cmd::Negative);
  ASSERT_TRUE(live().canUndo());
  EXPECT_TRUE(live().refuses(cmd::Bin)) << "the scale is that of the next pictures too";
  live().setModified(false);
  view().startCamera();
  runCommand(cmd::FreezeVideo);
  EXPECT_FALSE(live().canUndo());
}

TEST_F(Capture, NothingIsSavedBeforeTheFirstPictureOfAStart) {
  openLive();
  frames(1);
  runCommand(cmd::FreezeVideo);
  live().setModified(false);
  view().startCamera();
  host.messages.clear();
  view().freezeAndSave("");
  EXPECT_THAT(host.messages, Contains(HasSubstr("has not given a picture yet")));
}

TEST_F(Capture, CancelledSettingsOfASequenceAreNotThoseOfTheNext) {
  openLive();
  runCommand(cmd::RecordSequence);
  std::string shown;
  host.fills.push_back([](Form& form) {
    EXPECT_EQ(form.find("Number of frames to aquire")->take("7"), "");
    return false;
  });
  host.fills.push_back([&shown](Form& form) {
    shown = form.find("Number of frames to aquire")->value();
    return false;
  });
  recorder().editSettings();
  recorder().editSettings();
  EXPECT_NE(shown, "7");
}

TEST_F(Capture, ASubjectWithoutAnExaminationIsAskedAboutOnce) {
  app->db->newSubject("A");
  theExams().selectSubject("A", "");
  openLive();
  frames(1);
  host.answers = {Answer::No};
  view().freezeAndSave("");
  EXPECT_THAT(host.messages, Contains(HasSubstr("No examination of subject A is selected")));
  host.answers = {Answer::Yes};
  for (int k = 0; k < 2; ++k) view().freezeAndSave("");
}

struct Subjects final : SubjectDialogFace {
  SubjectDialog::Result run(SubjectDialog&) override { return result; }
  SubjectDialog::Result result = SubjectDialog::Result::Cancel;
};

TEST_F(Capture, AFrozenPictureIsAskedAboutBeforeAnotherSubjectIsSelected) {
  Subjects face;
  openLive();
  frames(1);
  runSelectSubject(face);
  EXPECT_TRUE(live().isLive()) << "as before";
  runCommand(cmd::FreezeVideo);
  host.answers = {Answer::Cancel};
  runSelectSubject(face);
  EXPECT_THAT(host.messages.back(), HasSubstr("Save changes to Frozen Video Input?"));
  host.answers = {Answer::Yes, Answer::No};
  host.paths = {folder.file("kept.tv1")};
  face.result = SubjectDialog::Result::ViewExaminations;
  runSelectSubject(face);
  EXPECT_TRUE(fileExists(folder.file("kept.tv1")));
  EXPECT_EQ(app->liveView, nullptr);
  openLive();
  frames(1);
  runCommand(cmd::FreezeVideo);
  view().startCamera();
  EXPECT_TRUE(live().isLive()) << "the next picture takes its place";
  runSelectSubject(face);
  EXPECT_EQ(app->liveView, nullptr) << "unasked";
}

TEST_F(Capture, PicturesAndRecordingsAreOfTheExamThatIsSelectedWhenTheyAreTaken) {
  sequence(2, 0, 0, 1);
  app->db->newSubject("A");
  theExams().selectSubject("A", "");
  for (const char* site : {"left", "right"}) {
    const std::string below = std::string("A-") + site;
    const int32_t exam = app->db->newExam("A", site, "", below);
    ASSERT_TRUE(makeFolderPath(app->dataFolder + below));
    theExams().selectExam(exam, below);
    theExams().setRecordingFolder(app->dataFolder + below);
    if (!app->liveView) openLive();
    view().startCamera();
    frames(1);
    runCommand(cmd::SaveImage);
    runCommand(cmd::RecordSequence);
    frames(3);
    EXPECT_EQ(recorder().examIdOfDoc, exam);
    EXPECT_EQ(app->db->resultsOf(exam).size(), 2u) << site;
    EXPECT_EQ(app->documents.active(), &recorder()) << "what was recorded is in front";
  }
}

// The exams 1 and 2 of a subject, in folders of their own.
class CaptureForTwo : public Capture {
 protected:
  void SetUp() override {
    Capture::SetUp();
    app->db->newSubject("A");
    theExams().selectSubject("A", "");
    for (const char* below : {"A-left", "A-right"}) {
      app->db->newExam("A", below, "", below);
      ASSERT_TRUE(makeFolderPath(app->dataFolder + below));
    }
    theExams().selectExam(1, "A-left");
    openLive();
    frames(1);
  }
  size_t resultsOf(int32_t exam) { return app->db->resultsOf(exam).size(); }
};

TEST_F(CaptureForTwo, AFrozenPictureIsSavedUnaskedInTheFolderOfTheExamThatItIsOf) {
  runCommand(cmd::FreezeVideo);
  theExams().selectExam(2, "A-right");
  host.answers = {Answer::Cancel};
  runCommand(cmd::SaveImage);
  EXPECT_THAT(host.messages.back(), HasSubstr("was not saved"));
  host.answers = {Answer::No};
  for (const size_t times : {1u, 2u}) {  // asked about once
    runCommand(cmd::SaveImage);
    EXPECT_EQ(folderOf(live().saveName), app->dataFolder + "A-left/");
    EXPECT_EQ(resultsOf(1), times);
  }
  view().startCamera();
  frames(1);
  runCommand(cmd::FreezeVideo);
  theExams().selectExam(1, "A-left");
  host.answers = {Answer::Yes};
  runCommand(cmd::SaveImage);
  EXPECT_EQ(resultsOf(1), 3u);
  EXPECT_EQ(resultsOf(2), 0u);
}

TEST_F(CaptureForTwo, ARecordingToTheDiscGoesToTheExamThatItIsGivenTo) {
  sequence(9, 0, 0, 1);
  runCommand(cmd::RecordSequence);
  frames(3);
  theExams().selectExam(2, "A-right");
  host.answers = {Answer::Yes};
  runCommand(cmd::RecordSequence);
  EXPECT_EQ(folderOf(recorder().pathName()), app->dataFolder + "A-right/");
  EXPECT_EQ(folderOf(recorder().moviePath), app->dataFolder + "A-right/");
  EXPECT_EQ(resultsOf(2), 1u);
}

TEST_F(Capture, ClosingTheLivePictureEndsItsRecording) {
  sequence(100, 0, 0, 1);
  openLive();
  runCommand(cmd::Trigger);
  frames(3);
  process.liveTemplate->discard(live());
  EXPECT_FALSE(recorder().isRecording());
  EXPECT_EQ(recorder().imageCount(), 3);
  EXPECT_THAT(recorder().notes, HasSubstr("flash="));
  EXPECT_TRUE(fileExists(recorder().pathName()));
}

}  // namespace
}  // namespace tarnvisor
