#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/commandids.h"
#include "archive/archive.h"
#include "base/clock.h"
#include "frame/mainframe.h"
#include "support/apptest.h"

namespace tarnvisor {
namespace {

struct PlainDocument : CDocument {
  void serialize(Archive& archive) override {
    if (archive.isStoring())
      archive.writeString(words);
    else
      words = archive.readString();
  }
  std::string words;
};

struct AutoLoadView : CView, AutoLoadSink {
  using CView::CView;
  void loadImageFile(const std::string& path) override { loaded.push_back(path); }
  bool isUntouched() const override { return !document().isModified(); }
  std::vector<std::string> loaded;
};

std::unique_ptr<CDocument> makePlain() { return std::make_unique<PlainDocument>(); }
std::unique_ptr<CView> makeAutoLoad(CDocument& document) { return std::make_unique<AutoLoadView>(document); }

const DocumentFace& switchedFace() {
  static const DocumentFace face{
      .startSwitches = {{'a', {33064, cmd::AppExit}}, {'m', {33110}}, {'P', {33076}}}};
  return face;
}

DocumentClass classOf(int32_t id, const char* resource, bool opens = true) {
  return {id,      resource, "D",          "V", "F", opens ? &makePlain : nullptr, &makeAutoLoad,
          nullptr, "",       &switchedFace};
}

// A table with each gate, and two rows for one ending.
std::vector<DocumentRow> smallTable() {
  using G = DocumentRow::Gate;
  using P = ProcessState;
  return {
      {G::Image, classOf(1, "\nImage\nImage\nImages (*.tv1)\n.tv1\nA\nB"), &P::imageTemplate},
      {G::Live, classOf(2, "\nVideo\n\nFrozen Video (*.tv1)\n.tv1\n\n"), &P::liveTemplate},
      {G::ImageOrVelocity, classOf(3, "\nChart\nChart\nChart files (*.zz1)\n.zz1\nA\nB"), &P::reviewTemplate},
      {G::Velocity, classOf(4, "\nFLO Input\n\nCharts (*.zz1)\n.zz1\n\n\n"), &P::flo1Template},
      {G::Dynamic, classOf(5, "\nLinescan\nL\nLinescans (*.zzl)\n.zzl\nA\nB"), &P::linescanTemplate, false},
      {G::Dynamic, classOf(6, "\nAVI Video\n\nAVI videos (*.avi)\n.avi\n\n\n", false)}};
}

class BasicApp : public AppTest {
 protected:
  void SetUp() override { options.documentTable = table; }
  std::vector<DocumentRow> table = smallTable();
};

TEST_F(BasicApp, WritesTheLogOfAStartAndEndInTheKnownOrder) {
  const FixedClock clock(795184889);  // Tue Mar 14 12:41:29 1995
  options.commandLine = "";
  ASSERT_TRUE(startWithData());
  app->exitInstance();
  stop();
  const std::string text = log();
  EXPECT_THAT(
      text,
      StartsWith(
          "\n\n\n****  start:Tue Mar 14 12:41:29 1995\n4-60-0-0 build:Sep  2 2025 14:40:32\n\nphysical "));
  EXPECT_THAT(
      text,
      ContainsRegex("load [0-9]+ %\n(.*\n)*opening db=(.*\n)*initinst ok\n(.*\n)*end:Tue Mar 14 12:41:29 "));
  EXPECT_EQ(text.find("end:"), text.rfind("end:"));
}

TEST_F(BasicApp, RegistersTypesBehindTheirGatesInOrder) {
  struct Case {
    const char* profile;
    bool velocityReady;
    std::vector<int32_t> ids;
  };
  const Case cases[] = {{"", false, {1, 2, 3, 6}},
                        {"[Settings]\nfgmode=0\n", false, {1, 3, 6}},
                        {"[Settings]\nvivocapEN=0\n", false, {1, 2, 3}},
                        {"[Settings]\ntarnvisorEN=0\n", false, {}},
                        {"[Settings]\ntarnvisorEN=0\nfloEN=1\n", false, {3}},
                        {"[Settings]\nfloEN=1\n", true, {1, 2, 3, 4, 6}}};
  for (const Case& c : cases) {
    writeProfile(c.profile);
    QuietInput device;
    makeApp();
    if (c.velocityReady) app->velocityInput = &device;
    ASSERT_TRUE(app->initInstance(options));
    std::vector<int32_t> ids;
    for (const auto& type : app->documents.types()) ids.push_back(type->id());
    EXPECT_EQ(ids, c.ids) << c.profile;
    const bool dynamic = !ids.empty() && ids.back() == 6;
    EXPECT_EQ(process.linescanTemplate != nullptr, dynamic);
    EXPECT_EQ(app->documents.typeFor("a.zzl"), nullptr) << "the unregistered row never competes";
    app->exitInstance();
    EXPECT_EQ(device.stopped, c.velocityReady);
    EXPECT_EQ(device.address, c.velocityReady ? 768 : 0);
    stop();
  }
}

TEST_F(BasicApp, OpensAFileWithTheFirstRowThatMatches) {
  ASSERT_TRUE(start());
  EXPECT_EQ(app->documents.typeFor("X.TV1")->id(), 1);
  EXPECT_EQ(app->documents.typeFor("x.zz1")->id(), 3);
  PlainDocument written;
  written.words = "hello";
  ASSERT_TRUE(written.onSaveDocument(folder.file("x.tv1")));
  CDocument* opened = app->openDocumentFile(folder.file("x.tv1"));
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(static_cast<PlainDocument*>(opened)->words, "hello");
  EXPECT_EQ(opened->title(), "x.tv1");
  EXPECT_EQ(app->openDocumentFile(folder.file("x.tv1")), opened) << "an open file is brought to the front";
  EXPECT_EQ(settings.getString("settings", "directory", ""), folder.path());
  EXPECT_EQ(app->openDocumentFile(folder.file("x.xyz")), nullptr);
  EXPECT_EQ(app->openDocumentFile(folder.file("missing.tv1")), nullptr);
  ASSERT_TRUE(replaceFile(folder.file("cut.tv1"), std::string_view("\x09"
                                                                   "abc")));
  EXPECT_EQ(app->openDocumentFile(folder.file("cut.tv1")), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("the file ends too early"));
  ASSERT_TRUE(replaceFile(folder.file("v.avi"), std::string_view("RIFF")));
  EXPECT_EQ(app->openDocumentFile(folder.file("v.avi")), nullptr) << "a row without makers opens nothing";
}

TEST_F(BasicApp, PostsWhatTheCommandLineAsksFor) {
  PlainDocument written;
  ASSERT_TRUE(written.onSaveDocument(folder.file("x.tv1")));
  const std::tuple<std::string, std::vector<int32_t>, int32_t, bool> cases[] = {
      {"", {}, 0, false},  // nobody can be chosen yet
      {"", {cmd::SelectSubject}, 0, false},
      {folder.file("x.tv1"), {}, 0, true},
      {"/a " + folder.file("x.tv1"), {33064, cmd::AppExit}, 1, true},
      {"/m " + folder.file("x.tv1"), {33110}, 1, true},
      {"/P " + folder.file("x.tv1"), {33076}, 1, true},
      {"/x " + folder.file("x.tv1"), {}, 1, true}};
  options.dataFolder = folder.file("data");
  for (const auto& [line, expectedPosted, quiet, opens] : cases) {
    options.commandLine = line;
    ASSERT_TRUE(start());
    std::vector<int32_t> posted;
    app->loop.onCommand = [&](int32_t id) { posted.push_back(id); };
    app->loop.onIdle = [&](int32_t) {
      posted.push_back(-1);
      return false;
    };
    EXPECT_FALSE(app->loop.turn());
    auto expected = expectedPosted;
    expected.push_back(-1);  // the first idle pass comes behind all that was posted
    EXPECT_EQ(posted, expected) << line;
    EXPECT_EQ(process.quietMode, quiet) << line;
    EXPECT_EQ(process.batchMode, quiet) << line;
    EXPECT_EQ(app->documents.active() != nullptr, opens) << line;
    if (app->db) app->db->newSubject("anna");
    stop();
  }
}

TEST_F(BasicApp, IsQuietForAsLongAsASwitchIsAtWork) {
  PlainDocument written;
  ASSERT_TRUE(written.onSaveDocument(folder.file("x.tv1")));
  options.commandLine = "/x " + folder.file("x.tv1");
  ASSERT_TRUE(start());
  (void)app->loop.turn();
  EXPECT_EQ(process.quietMode, 0) << "the window that is left is like any other";
  EXPECT_FALSE(app->startSwitchFailed());
  options.commandLine = "/P " + folder.file("x.tv1");
  ASSERT_TRUE(start());
  int ended = 0;
  app->onSwitchDone = [&] { ++ended; };
  (void)app->loop.turn();
  EXPECT_TRUE(app->startSwitchFailed()) << "nothing takes that command";
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(process.quietMode, 1) << "nobody watches";
}

TEST_F(BasicApp, ARunOnACopyOfTheSettingsLeavesTheProfile) {
  writeProfile("[settings]\nmark=1\n");
  options.settingsCopy = folder.file("copy.ini");
  ASSERT_TRUE(start());
  EXPECT_EQ(settings.getInt("settings", "mark", 0), 1);
  settings.setInt("settings", "mark", 2);
  app->exitInstance();
  EXPECT_EQ(profile(), "[settings]\nmark=1\n");
  options.settingsCopy = "";
  EXPECT_FALSE(start()) << "without a copy the profile would be written";
}

TEST_F(BasicApp, WritesBackAllKeysButTheChannels) {
  ASSERT_TRUE(start());
  EXPECT_EQ(settings.getInt("FLOcalcs", "ped3", -1), -1);
  app->expertMode = 0;
  process.recordDir = "/some where/";
  app->exitInstance();
  const std::string text = profile();
  for (
      const std::string& key : split(
          "cbvMethod=0 minThreshold=50 threshOfAv2=30 nOverThresh=4 LoCutOff=10 noisefloorRC=1 autonoise=0 ped1=10 "
          "ped2=60 ped3=90 keepDop=1 cutDopTop=0 FFTwindow=0 FSlinkthreshold=1 FSthreshold=0.500000 "
          "direct2disc=1 basename= triggermovie=0 expertmode=0 fgmode=1 adjustpaldark=70 adjustpallight=230",
          ' '))
    EXPECT_THAT(text, HasSubstr("\n" + key + "\n"));
  EXPECT_THAT(text, HasSubstr("\nrecorddir=/some where/\n"));
  for (const char* key : {"floEN", "tarnvisorEN", "vivocapEN", "showdb", "red", "green", "blue"})
    EXPECT_EQ(text.find(std::string("\n") + key + "="), std::string::npos) << key;
}

TEST_F(BasicApp, AsksForADataFolderWhenTheProfileNamesNone) {
  options.askForDataFolder = true;
  host.paths.push_back(folder.path());
  ASSERT_TRUE(start());
  EXPECT_EQ(settings.getString("Settings", "database", ""), folder.file("tarn.db"));
  EXPECT_EQ(app->dataFolder, folder.path());
  EXPECT_THAT(host.messages.front(), StartsWith("Open or create a new data folder\ncurrently "));
  EXPECT_THAT(log(), HasSubstr("choose db=" + folder.file("tarn.db") + "\n"));
  stop();
  host.paths.push_back(std::nullopt);
  settings.setString("Settings", "database", folder.file("gone.db"));
  ASSERT_TRUE(start());
  EXPECT_EQ(app->db, nullptr);
  EXPECT_EQ(settings.getString("Settings", "database", "x"), "");
}

TEST_F(BasicApp, GoesOnWithoutADatabaseThatCannotBeOpened) {
  ASSERT_TRUE(makeFolderPath(folder.file("data")));
  ASSERT_TRUE(replaceFile(folder.file("data/tarn.db"),
                          std::string_view("This is no database, but long enough to look like one.")));
  EXPECT_TRUE(startWithData());
  EXPECT_EQ(app->db, nullptr);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_THAT(host.messages[0], HasSubstr("not a database"));
}

TEST_F(BasicApp, AReadOnlyDataFolderIsToldAndLosesNothing) {
  const std::string data = folder.file("data");
  ASSERT_TRUE(makeFolderPath(data));
  if (::mount("tmpfs", data.c_str(), "tmpfs", MS_RDONLY, "size=64k") != 0)
    GTEST_SKIP() << "no right to mount a disc";
  EXPECT_TRUE(startWithData());
  EXPECT_EQ(app->db, nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("unable to open database file"));
  CDocument* document = process.imageTemplate->newDocument();
  document->setModified();
  EXPECT_FALSE(document->onSaveDocument(data + "/a.tv1"));
  EXPECT_THAT(host.messages.back(), HasSubstr("Read-only file system"));
  EXPECT_TRUE(document->isModified());
  stop();
  ::umount(data.c_str());
}

TEST_F(BasicApp, EndsWhenTheFrameCannotBeMade) {
  host.frameCanBeMade = false;
  EXPECT_FALSE(start());
}

struct ScriptedCamera : CameraPoll, LiveSink {
  uint32_t status() override { return statusBits; }
  bool isTriggered() override { return triggered; }
  bool isRunning() override { return running; }
  bool hasStoppedByItself() override { return stopped; }
  int32_t frameCounter() override { return 0; }
  void redrawNow() override { events.emplace_back("redraw"); }
  void freezeAndSave(const std::string& path) override { events.push_back("freeze " + path); }
  uint32_t statusBits = 0;
  bool triggered = false, running = false, stopped = false;
  std::vector<std::string> events;
};

TEST_F(BasicApp, TheIdlePassDrivesTheCamera) {
  ASSERT_TRUE(start());
  ScriptedCamera camera;
  app->camera = &camera;
  app->liveView = &camera;
  EXPECT_FALSE(app->onIdle(0));
  EXPECT_TRUE(camera.events.empty());
  camera.statusBits = 2;
  camera.running = camera.triggered = true;
  EXPECT_TRUE(app->onIdle(0));
  camera.statusBits = 1;
  camera.running = false;
  EXPECT_FALSE(app->onIdle(1));
  EXPECT_THAT(camera.events, ElementsAre("redraw"));
  EXPECT_THAT(posted(), ElementsAre(33033, 33033));
}

TEST_F(BasicApp, TheIdlePassReadsTheVelocityInput) {
  struct Input : QuietInput, VelocitySink {
    int32_t availableSamples() override { return waiting; }
    int32_t read(std::span<int16_t> buffer) override {
      reads.push_back(static_cast<int32_t>(buffer.size()));
      return static_cast<int32_t>(buffer.size());
    }
    bool isRecording() const override { return recording; }
    void takeSamples(std::span<const int16_t> samples) override {
      taken += static_cast<int32_t>(samples.size());
    }
    int32_t waiting = 0, taken = 0;
    bool recording = false;
    std::vector<int32_t> reads;
  } input;
  writeProfile("[Settings]\nfloEN=1\n");
  makeApp();
  app->velocityInput = &input;
  ASSERT_TRUE(app->initInstance(options));
  app->flo1View = &input;
  EXPECT_EQ(input.channels, 1);
  EXPECT_FALSE(app->onIdle(0));
  input.recording = true;
  EXPECT_TRUE(app->onIdle(0));  // what was pending is dropped by one read
  input.waiting = 700;
  EXPECT_TRUE(app->onIdle(1));
  EXPECT_THAT(input.reads, ElementsAre(512, 700));
  EXPECT_EQ(input.taken, 700);
  EXPECT_EQ(app->samplesRead, 700);
}

TEST_F(BasicApp, TwoLoadMessagesGoToTheSameView) {
  ASSERT_TRUE(start());
  app->receiveAutoLoad("one.bmp");
  app->receiveAutoLoad("two.bmp");
  ASSERT_EQ(app->documents.documents().size(), 1u);
  auto* view = static_cast<AutoLoadView*>(process.autoLoadView);
  EXPECT_THAT(view->loaded, ElementsAre("one.bmp", "two.bmp"));
  view->document().setModified();
  host.answers = {Answer::Cancel, Answer::No};
  app->receiveAutoLoad("cancelled.bmp");
  app->receiveAutoLoad("beside.bmp");
  EXPECT_EQ(view->loaded.size(), 2u) << "what was marked there stays with its picture";
  ASSERT_EQ(app->documents.documents().size(), 2u);
  view->document().setModified(false);
  ASSERT_TRUE(app->documents.closeAll());
  app->receiveAutoLoad("three.bmp");  // the view is gone: a new one
  EXPECT_EQ(app->documents.documents().size(), 1u);
}

TEST(InstanceLink, CarriesPathsOfUpTo259CharactersToThisUserOnly) {
  const TempFolder run;
  ASSERT_EQ(::chmod(run.path().c_str(), 0700), 0);
  ::setenv("XDG_RUNTIME_DIR", run.path().c_str(), 1);
  std::vector<std::string> got;
  const auto note = [&](InstanceMessage m, const std::string& path) {
    got.push_back(std::to_string(static_cast<int>(m)) + path);
  };
  EXPECT_FALSE(sendToInstance("TARNVISOR", InstanceMessage::AutoLoad, "nobody.bmp"))
      << "no instance is no error";
  {
    auto link = InstanceLink::listen("TARNVISOR");
    ASSERT_TRUE(link);
    EXPECT_FALSE(InstanceLink::listen("TARNVISOR")) << "the name is taken";
    const std::string longest(259, 'p');
    EXPECT_TRUE(sendToInstance("TARNVISOR", InstanceMessage::AutoLoad, longest));
    EXPECT_TRUE(sendToInstance("TARNVISOR", InstanceMessage::FreezeSave, ""));
    EXPECT_FALSE(sendToInstance("TARNVISOR", InstanceMessage::Saving, longest + "p"));
    link->poll(note);
    EXPECT_THAT(got, ElementsAre("1" + longest, "2"));
    struct stat facts {};
    ASSERT_EQ(::stat(run.file("tarnvisor.socket").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 077, 0u);
  }
  ASSERT_EQ(::chmod(run.path().c_str(), 0755), 0);
  EXPECT_FALSE(InstanceLink::listen("TARNVISOR")) << "a folder that others can enter is not trusted";
  ::unsetenv("XDG_RUNTIME_DIR");
}

}  // namespace
}  // namespace tarnvisor
