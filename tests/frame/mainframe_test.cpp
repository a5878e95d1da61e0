// The main frame's commands: bars, placement, the acquisition chain, recording.
#include "frame/mainframe.h"

#include "app/recentfiles.h"
#include "assembly/assembly.h"
#include "frame/commandids.h"
#include "frame/hdrfileopendlg.h"
#include "image/zzimage.h"
#include "support/apptest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

struct PlainDocument : CDocument {
  void serialize(Archive&) override {}
};

struct LiveView : CView, LiveSink {
  explicit LiveView(CDocument& d) : CView(d) { theApp().liveView = this; }
  ~LiveView() override { theApp().liveView = nullptr; }
  void redrawNow() override {}
  void freezeAndSave(const std::string& path) override { calls.push_back("save " + path); }
  void startCamera() override { calls.emplace_back("camera on"); }
  void stopCamera() override { calls.emplace_back("camera off"); }
  std::vector<std::string> calls;
};

struct VelocityView : CView, VelocitySink {
  explicit VelocityView(CDocument& d) : CView(d) { theApp().flo1View = this; }
  ~VelocityView() override { theApp().flo1View = nullptr; }
  bool isRecording() const override { return recording; }
  void takeSamples(std::span<const int16_t>) override {}
  void start() override { recording = true; }
  void stop() override { recording = false; }
  bool recording = false;
};

struct RecorderView : CView, RecorderSink {
  explicit RecorderView(CDocument& d) : CView(d) { theApp().recorder = this; }
  ~RecorderView() override { theApp().recorder = nullptr; }
  bool isRecording() const override { return recording; }
  void startRecording() override { recording = true; }
  void stopRecording() override { recording = false; }
  bool recording = false;
};

std::unique_ptr<CDocument> makePlain() { return std::make_unique<PlainDocument>(); }
template <class View>
std::unique_ptr<CView> make(CDocument& document) {
  return std::make_unique<View>(document);
}

class Frame : public AppTest {
 protected:
  // Returns with the start's own windows open.
  void startFrame(const std::string& profileText, std::vector<DocumentRow> rows = {}) {
    frame.reset();  // of an application before
    writeProfile(profileText);
    table = std::move(rows);
    options.documentTable = table;
    makeApp();
    app->velocityInput = &device;
    ASSERT_TRUE(app->initInstance(options));
    frame = std::make_unique<CBasicMainFrame>(*app);
    frame->windowShown();
  }
  void startWithInputs(const std::string& text) {
    const std::string profileText = text + "[MainWindow]\nfg=1\n";
    using G = DocumentRow::Gate;
    startFrame(profileText, {{G::Live,
                              {1, "\nLive\n\n\n\n", "", "", "", &makePlain, &make<LiveView>},
                              &ProcessState::liveTemplate},
                             {G::Image,
                              {2, "\nRecorder\n\n\n\n", "", "", "", &makePlain, &make<RecorderView>},
                              &ProcessState::cytoTemplate},
                             {G::Velocity,
                              {3, "\nFLO\n\n\n\n", "", "", "", &makePlain, &make<VelocityView>},
                              &ProcessState::flo1Template}});
  }
  ~Frame() override {
    if (app) (void)app->documents.closeAll();
    frame.reset();
  }
  CommandResult run(int32_t id) { return app->runCommand(id); }
  LiveView& live() { return static_cast<LiveView&>(*app->liveView); }

  QuietInput device;
  std::vector<DocumentRow> table;
  std::unique_ptr<CBasicMainFrame> frame;
};

TEST_F(Frame, BarsFollowExpertModeChannelsAndTheirCommands) {
  const std::tuple<const char*, std::vector<int32_t>, bool, bool, bool> cases[] = {
      {"", {}, true, true, true},
      {"expertmode=0\n", {}, false, false, false},
      {"expertmode=0\n", {cmd::ExpertMode}, true, true, true},
      {"fgmode=0\n", {}, true, true, false},
      {"tarnvisorEN=0\n", {}, true, false, true},
      {"", {cmd::Toolbar}, false, false, true},
      {"", {cmd::Toolbar, cmd::ExpertMode, cmd::ExpertMode}, true, true, true},
      {"", {cmd::RecordBar}, true, true, false},
      {"", {cmd::ToggleOpsGroup1, cmd::ToggleOpsGroup2}, true, true, true},
      {"", {cmd::ToggleOpsGroup1, cmd::ToggleOpsGroup2, cmd::ToggleOpsGroup3}, true, false, true},
      {"",
       {cmd::ToggleOpsGroup1, cmd::ToggleOpsGroup2, cmd::ToggleOpsGroup3, cmd::ToggleOpsGroup1},
       true,
       true,
       true},
      {"", {cmd::Toolbar, cmd::ToggleOpsGroup3}, false, true, true},
  };
  for (const auto& [keys, commands, main, ops, record] : cases) {
    startFrame(std::string("[ueyeP]\ncamera=simulated\n[Settings]\n") + keys);
    for (const int32_t id : commands) EXPECT_EQ(run(id), CommandResult::Done) << id;
    const Bars bars = frame->bars();
    EXPECT_EQ(bars.main, main) << keys << commands.size();
    EXPECT_EQ(bars.ops, ops) << keys << commands.size();
    EXPECT_EQ(bars.record, record) << keys << commands.size();
    frame.reset();
    stop();
  }
}

TEST_F(Frame, TheRecordBarIsThereOnlyWithACamera) {
  startFrame("");
  EXPECT_FALSE(frame->bars().record);
  EXPECT_EQ(run(cmd::RecordBar), CommandResult::Disabled);
  startWithInputs("");
  EXPECT_TRUE(frame->bars().record) << "the live window is open";
}

TEST_F(Frame, TheDemonstrationLeavesTheUsersDataFolderInTheProfile) {
  startFrame("");
  const std::string before = settings.getString("Settings", "database", "");
  ::setenv("XDG_DATA_HOME", folder.path().c_str(), 1);
  std::vector<std::string> started;
  host.program = [&](const std::vector<std::string>& arguments) {
    started = arguments;
    return 0;
  };
  EXPECT_EQ(run(cmd::Demonstration), CommandResult::Done);
  EXPECT_EQ(app->dataFolder, folder.file("tarnvisor/demonstration/"));
  EXPECT_EQ(started.back(), app->dataFolder);
  EXPECT_EQ(settings.getString("Settings", "database", ""), before);
  started.clear();
  const std::string own = folder.file("own/");
  settings.setString("Settings", "database", own + "tarn.db");
  run(cmd::Demonstration);
  EXPECT_EQ(app->dataFolder, own) << "back";
  run(cmd::Demonstration);
  EXPECT_TRUE(started.empty()) << "it is made once";
  ::unsetenv("XDG_DATA_HOME");
}

TEST_F(Frame, AboutTellsVersionLicenceAndLibraries) {
  startFrame("");
  run(cmd::AppAbout);
  for (const char* told : {"4.60.0.0", "free disc space", "GNU General Public License", "Qt 6.", "SQLite 3."})
    EXPECT_THAT(host.messages.back(), HasSubstr(told));
}

TEST_F(Frame, CytoModeLeavesTheOpsBarAlone) {
  startFrame("");
  process.cytoMode = 1;
  run(cmd::Toolbar);
  EXPECT_FALSE(frame->bars().main);
  EXPECT_TRUE(frame->bars().ops);
}

TEST_F(Frame, TheStatusBarIsHiddenUntilSomebodyWantsIt) {
  startFrame("");
  EXPECT_FALSE(frame->bars().statusBar);
  run(cmd::StatusBar);
  frame->windowShown();
  EXPECT_TRUE(frame->bars().statusBar);
  run(cmd::AlwaysOnTop);
  run(cmd::StatusWindow);
  EXPECT_TRUE(frame->bars().alwaysOnTop);
  EXPECT_TRUE(frame->bars().statusWindow);
}

TEST_F(Frame, PlacementComesFromTheProfileAndStaysOnTheScreen) {
  startFrame("");
  const Placement first = readPlacement({1920, 1080});
  EXPECT_EQ(first.width, 1920);
  EXPECT_EQ(first.height, 1080);
  EXPECT_EQ(first.status, (Point{100, 100}));
  frame->storePlacement({40, 30, 800, 600, {1500, 90}}, false);
  frame->storePlacement({1, 2, 3, 4, {5, 6}}, true);  // minimised: the one before stays
  const Placement again = readPlacement({1400, 1080});
  EXPECT_EQ(again.left, 40);
  EXPECT_EQ(again.width, 800);
  EXPECT_EQ(again.status, (Point{0, 90})) << "beyond the screen's width";
  EXPECT_EQ(settings.getInt("MainWindow", "FLO1", 9), 0);
  EXPECT_EQ(settings.getInt("MainWindow", "fg", 9), 0);
  frame->storePlacement({2000, 30, 800, 600, {-1, 1080}}, false);
  EXPECT_EQ(readPlacement({1400, 1080}).left, 0) << "the other screen is gone";
  EXPECT_EQ(readPlacement({1400, 1080}).status, (Point{0, 0}));
  EXPECT_EQ(readPlacement({4000, 2000}).left, 2000);
}

TEST_F(Frame, WithoutInputsTheChainAndItsButtonsDoNothing) {
  startFrame("");
  for (const int32_t id : {cmd::AcquisitionChain, cmd::AcquisitionStartVelocity, cmd::AcquisitionShowLive,
                           cmd::AcquisitionStartCamera})
    EXPECT_EQ(run(id), CommandResult::Done);
  for (const int32_t id : {cmd::LiveVideo, cmd::OpenAcquisitionWindows, cmd::RunStop, cmd::Stop, cmd::Trigger,
                           cmd::SaveImage, cmd::RecordSequence, cmd::Flo1Monitor})
    EXPECT_EQ(run(id), CommandResult::Disabled) << id;
  while (app->loop.hasPosted()) (void)app->loop.turn();
  EXPECT_THAT(host.messages, IsEmpty());
  EXPECT_THAT(app->documents.documents(), IsEmpty());
}

// A start looks for no camera that was not in use, and says nothing about it.
TEST_F(Frame, TypesThatOpenNothingCountAsAbsent) {
  startFrame("[Settings]\nfloEN=1\nfgmode=0\n[MainWindow]\nFLO1=0\n",
             {documentTable().begin(), documentTable().end()});
  EXPECT_EQ(run(cmd::LiveVideo), CommandResult::Disabled);
  EXPECT_EQ(run(cmd::AcquisitionChain), CommandResult::Done);
  EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(Frame, TheChainStartsTheVelocityInputAndThenTheCamera) {
  startWithInputs("[Settings]\nfloEN=1\n");
  ASSERT_TRUE(app->liveView) << "open at the start";
  ASSERT_TRUE(app->flo1View);
  EXPECT_EQ(run(cmd::RunStop), CommandResult::Done);
  EXPECT_EQ(app->documents.active(), &static_cast<VelocityView*>(app->flo1View)->document());
  (void)app->loop.turn();
  EXPECT_TRUE(app->flo1View->isRecording());
  ASSERT_TRUE(app->loop.hasTimer(CBasicMainFrame::kAcquisitionTimer));
  EXPECT_THAT(live().calls, IsEmpty());
  run(cmd::AcquisitionShowLive);  // as the timer does
  EXPECT_FALSE(app->loop.hasTimer(CBasicMainFrame::kAcquisitionTimer));
  EXPECT_EQ(app->documents.active(), &live().document());
  (void)app->loop.turn();
  EXPECT_THAT(live().calls, ElementsAre("camera on"));
  run(cmd::RunStop);
  EXPECT_FALSE(app->flo1View->isRecording());
  EXPECT_THAT(live().calls, ElementsAre("camera on", "camera off"));
}

TEST_F(Frame, AMissingVelocityInputIsToldAtTheStartAndWhenAskedFor) {
  writeProfile("");
  startFrame("[Settings]\nfloEN=1\n");
  process.flo1Available = 0;
  run(cmd::Flo1Monitor);
  EXPECT_THAT(host.messages, ElementsAre("The velocity input is not available."));
  settings.setInt("MainWindow", "FLO1", 0);
  frame->windowShown();
  EXPECT_EQ(host.messages.size(), 1u);
}

TEST_F(Frame, ATriggerSavesAnImageOrRecords) {
  startWithInputs("");
  run(cmd::Trigger);
  EXPECT_THAT(live().calls, ElementsAre("save "));
  frame->takeRecordBar({"/records", "base", 0, 1});
  EXPECT_EQ(settings.getString("directories", "basename", ""), "base");
  EXPECT_EQ(settings.getInt("Dynamic settings", "direct2disc", 9), 0);
  EXPECT_EQ(settings.getInt("Dynamic settings", "triggermovie", 9), 1);
  run(cmd::TriggerButton);
  ASSERT_NE(app->recorder, nullptr) << "opened by the first recording";
  EXPECT_TRUE(app->recorder->isRecording());
  run(cmd::Trigger);
  EXPECT_FALSE(app->recorder->isRecording());
  EXPECT_EQ(process.cytoTemplate->documents().size(), 1u);
}

TEST_F(Frame, TheRecordingFolderIsChosenOnlyWithACamera) {
  startFrame("[Settings]\nfgmode=1\n");
  host.paths.push_back(folder.file("records"));
  run(cmd::RecordFolder);
  EXPECT_EQ(settings.getString("directories", "recorddir", ""), folder.file("records"));
  EXPECT_THAT(host.messages, ElementsAre("Select Recording folder"));
  EXPECT_THAT(frame->statusText(), HasSubstr("Recording folder  " + folder.file("records")));
  app->fgMode = 0;
  EXPECT_EQ(run(cmd::RecordFolder), CommandResult::Disabled);
}

TEST_F(Frame, PopupsOpenAtTheirPlace) {
  startFrame("");
  run(cmd::MainPopup);
  run(cmd::SecondPopup);
  run(cmd::WindowCascade);
  EXPECT_THAT(std::vector(host.calls.end() - 3, host.calls.end()),
              ElementsAre("popup 10017 100,100", "popup 10026 100,100", "cascade"));
}

TEST_F(Frame, AnotherDataFolderIsOpenedOnceAllDocumentsAreClosed) {
  options.dataFolder = folder.file("one");
  startFrame("", {documentTable().begin(), documentTable().end()});
  exams->selectSubject("S", "");
  exams->selectExam(3, "S-left");
  CDocument* open = process.imageTemplate->newDocument();
  open->setModified();
  host.paths.push_back(folder.file("two"));
  host.answers.push_back(Answer::Cancel);
  run(cmd::DataFolder);
  EXPECT_EQ(app->dataFolder, folder.file("one/")) << "a document stays open";
  EXPECT_EQ(exams->subjectId(), "S");
  open->setModified(false);
  host.paths.push_back(folder.file("two"));
  run(cmd::DataFolder);
  EXPECT_THAT(app->documents.documents(), IsEmpty());
  EXPECT_EQ(settings.getString("Settings", "database", ""), folder.file("two/tarn.db"));
  EXPECT_EQ(exams->subjectId(), "");
  EXPECT_EQ(exams->examId(), -1);
  EXPECT_EQ(process.recordDir, folder.file("two/"));
  ASSERT_TRUE(app->db);
  // One that can't be used: the present one stays.
  ASSERT_TRUE(replaceFile(folder.file("file"), std::string_view("x")));
  host.paths.push_back(folder.file("file"));
  run(cmd::DataFolder);
  EXPECT_THAT(host.messages.back(), HasSubstr("can't be made"));
  EXPECT_EQ(app->dataFolder, folder.file("two/"));
  EXPECT_TRUE(app->db);
  EXPECT_EQ(settings.getString("Settings", "database", ""), folder.file("two/tarn.db"));
}

TEST_F(Frame, AFolderWithinADataFolderIsNoDataFolderUnasked) {
  options.dataFolder = folder.file("one");
  startFrame("", {documentTable().begin(), documentTable().end()});
  ASSERT_TRUE(makeFolderPath(folder.file("other/S-left")));
  ASSERT_TRUE(replaceFile(folder.file("other/tarn.db"), std::string_view("")));
  host.paths = {folder.file("other/S-left")};
  host.answers = {Answer::Cancel};
  run(cmd::DataFolder);
  EXPECT_EQ(app->dataFolder, folder.file("one/"));
  host.paths = {folder.file("other/S-left")};
  host.answers = {Answer::Yes};
  run(cmd::DataFolder);
  EXPECT_EQ(app->dataFolder, folder.file("other/"));
  EXPECT_FALSE(fileExists(folder.file("other/S-left/tarn.db")));
}

TEST_F(Frame, TwentyFilesAreKeptAsRecent) {
  startFrame("", {documentTable().begin(), documentTable().end()});
  std::vector<std::string> paths;
  for (int i = 0; i < 21; ++i) {
    paths.push_back(folder.file("f" + std::to_string(i) + ".csv"));
    ASSERT_TRUE(replaceFile(paths.back(), std::string_view("\"Subject ID\",\"\",\r\n")));
    ASSERT_NE(app->openDocumentFile(paths.back()), nullptr);
  }
  EXPECT_THAT(recentFiles(), ElementsAreArray(std::vector<std::string>(paths.rbegin(), paths.rend() - 1)));
  EXPECT_EQ(settings.getString("Recent File List", "File20", ""), paths[1]);
  ASSERT_NE(app->openDocumentFile(folder.file("./f20.csv")), nullptr) << "one file in other words";
  EXPECT_EQ(recentFiles().size(), 20u);
  EXPECT_EQ(recentFileLabel(recentFiles(), 1), "&2 f19.csv");
  EXPECT_EQ(recentFileLabel(recentFiles(), 9), "10 f11.csv");
  EXPECT_EQ(recentFileLabel({"/a/x&y", "/b/x&y"}, 0), "&1 /a/x&&y") << "two of one name";
  run(cmd::RecentFile3);
  EXPECT_EQ(app->documents.active()->pathName(), paths[18]);
  EXPECT_EQ(recentFiles()[0], paths[18]);
  EXPECT_EQ(recentFiles()[1], paths[20]);
  run(cmd::FileClose);
  ASSERT_EQ(std::remove(paths[18].c_str()), 0);
  run(cmd::RecentFile1);
  EXPECT_THAT(host.messages.back(), HasSubstr("taken off the list"));
  EXPECT_EQ(recentFiles().front(), paths[20]);
  app->openRecentFile(size_t{19});  // no such entry
  addRecentFile("/" + std::string(250, 'p'));
  EXPECT_EQ(recentFiles().size(), 19u) << "the profile could not hold it whole";
  process.quietMode = 1;
  ASSERT_NE(app->openDocumentFile(paths[3]), nullptr);
  EXPECT_EQ(recentFiles().front(), paths[20]);
}

TEST_F(Frame, SavedAndImportedFilesAreRecentAndSavingIsTold) {
  startFrame("", {documentTable().begin(), documentTable().end()});
  CDocument& document = *process.imageTemplate->newDocument();
  ASSERT_TRUE(document.onSaveDocument(folder.file("hand.tv1")));
  EXPECT_THAT(recentFiles(), ElementsAre(folder.file("hand.tv1")));
  EXPECT_THAT(host.notices, ElementsAre("Saved hand.tv1"));
  ASSERT_TRUE(CZZimage(8, 6).save(folder.file("odd.bmp")));
  ASSERT_NE(app->importFile(folder.file("odd.bmp")), nullptr);
  EXPECT_EQ(recentFiles().front(), folder.file("odd.bmp"));
  app->documents.active()->setModified(false);
}

TEST_F(Frame, AnyViewGoesOutAsAMetafile) {
  using G = DocumentRow::Gate;
  startFrame("", {{G::Image,
                   {1, "\nPlain\n\n\n\n", "", "", "", &makePlain, &make<CView>},
                   &ProcessState::imageTemplate}});
  EXPECT_NE(run(cmd::ExportMetafile), CommandResult::Done) << "without a view";
  ASSERT_NE(process.imageTemplate->newDocument(), nullptr);
  RecordingCanvas canvas;
  host.pictureCanvas = &canvas;
  host.paths = {folder.file("a.wmf")};
  EXPECT_EQ(run(cmd::ExportMetafile), CommandResult::Done);
}

TEST(HeaderChooser, ShowsTheHeaderOfWhatIsSelected) {
  const TempFolder folder;
  ASSERT_TRUE(replaceFile(folder.file("a.hdr"), std::string_view("WIDTH 6\r\nHEIGHT 2")));
  ASSERT_TRUE(replaceFile(folder.file("b.hdr"), std::string_view("WIDTH none")));
  EXPECT_EQ(HdrFileOpenDlg::headerOf(folder.file("a.hdr")), "WIDTH 6  HEIGHT 2");
  EXPECT_EQ(HdrFileOpenDlg::headerOf(folder.file("a.raw")), "WIDTH 6  HEIGHT 2");
  EXPECT_THAT(HdrFileOpenDlg::headerOf(folder.file("b.hdr")), HasSubstr("Its WIDTH is \"none\""));
  EXPECT_THAT(HdrFileOpenDlg::headerOf(folder.file("c.raw")), HasSubstr("640 by 480"));
}

}  // namespace
}  // namespace tarnvisor
