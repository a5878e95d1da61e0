// The video document: its selection, processing of the selection, new movies and new images of it.

#include "charts/chartdoc.h"
#include "dynamic/commandids.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

using VideoDocument = VideoTest;

TEST_F(VideoDocument, ShowsTheImagesOfItsMovie) {
  CVivoCapDoc& doc = openMovie("a.mve", 5);
  EXPECT_EQ(doc.imageCount(), 5);
  EXPECT_EQ(doc.frameCount, 5);
  EXPECT_EQ(doc.title(), "a");
  EXPECT_TRUE(doc.isModified());
  EXPECT_EQ(doc.pathName(), "");
  doc.showImage(3);
  EXPECT_EQ(doc.theImage()->pixelAt(0, 0), 3);
  doc.showImage(5);
  EXPECT_EQ(doc.currentIndex(), 0) << "outside is image 0";
  doc.setColourset(3);
  doc.showImage(1);
  EXPECT_EQ(doc.theImage()->paletteIndex, 3) << "the view's palette goes along";
}

TEST_F(VideoDocument, RunsAStepOverTheSelectionWhoseEndIsExclusive) {
  CVivoCapDoc& doc = openMovie("a.mve", 6);
  EXPECT_TRUE(doc.select(1, 4));
  doc.showImage(5);
  run("Negative");
  EXPECT_THAT(levels(), ElementsAre(255 - 11, 255 - 12, 255 - 13)) << "a new movie of what was processed";
  EXPECT_EQ(doc.movie->fileName, folder.file("aA.mve"));
  EXPECT_EQ(doc.moviePath, doc.movie->fileName);
  EXPECT_EQ(doc.selection().size(), 3) << "a selection that no longer fits becomes the whole movie";
  EXPECT_EQ(doc.movie->recordOf(0).number, 2u) << "the records are those of the frames written";
  EXPECT_THAT(doc.notes, HasSubstr("Invert"));
  settings.setInt("Dynamic settings", "keepversions", 0);
  run("Negative");
  EXPECT_THAT(levels(), ElementsAre(11, 12, 13));
  EXPECT_EQ(doc.movie->fileName, folder.file("aA.mve")) << "a movie of its own is changed in place";
  EXPECT_TRUE(doc.select(1, -1));
  doc.movie->shared = 1;
  run("Negative");
  EXPECT_EQ(doc.selection().size(), 2) << "the new movie is what was selected, also up to the end";
  CZZMovie first;
  ASSERT_TRUE(first.open(folder.file("a.mve")));
  EXPECT_EQ(first.count, 6);
}

TEST_F(VideoDocument, ChangesNothingWhenAPassIsStopped) {
  useWorkFolder();
  CVivoCapDoc& doc = openMovie("a.mve", 5);
  host.stopAt = 2;
  run("Negative");
  host.answers = {Answer::Yes};
  EXPECT_TRUE(doc.select(1, 4));
  run("Delete nonselected images");
  host.paths = {folder.file("a-export.avi")};
  run("Export uncompressed avi");
  doc.moviePath.clear();
  EXPECT_FALSE(doc.onSaveDocument(folder.file("b.dtv")));
  doc.moviePath = doc.movie->fileName;
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12, 13, 14));
  EXPECT_EQ(doc.notes, "a.mve tells no rate: 30 frames a second are assumed\r\n");
  for (const char* none : {"aA.mve", "a-export.avi", "b.mve", "b.dtv"})
    EXPECT_FALSE(fileExists(folder.file(none))) << none;
  EXPECT_EQ(doc.theImage()->row(0)[1], 10 + doc.currentIndex()) << "read again";
  host.stopAt = INT64_MAX;
  run("Negative");
  EXPECT_EQ(levels().size(), 3u);
}

TEST_F(VideoDocument, AStepInPlaceThatIsStoppedSaysHowManyItChanged) {
  settings.setInt("Dynamic settings", "keepversions", 0);
  CVivoCapDoc& doc = openMovie("a.mve", 5);
  run("Negative");
  host.stopAt = 3;
  run("Negative");
  EXPECT_THAT(doc.notes, HasSubstr("the first 3 images: "));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12, 255 - 13, 255 - 14));
}

TEST_F(VideoDocument, ProcessesOneImageAndARegion) {
  CVivoCapDoc& one = openMovie("one.mve", 1);
  one.roi = {4, 2, 8, 6};
  run("Negative");
  EXPECT_EQ(one.theImage()->pixelAt(4, 2), 245);
  EXPECT_EQ(one.theImage()->pixelAt(3, 2), 10);
  host.fill({{"threshold", "100"}});
  run("Simple threshold");
  EXPECT_EQ(one.theImage()->pixelAt(4, 2), 255);
  EXPECT_EQ(settings.getInt("movie", "simpleimagethreshold", 0), 100);
  EXPECT_FALSE(isEnabled("Bin"));
  one.addDimension({1, 1}, CDimList::kPoint);
  run("Clear all dimensions");
  run("Undo");
  EXPECT_EQ(one.currentDims().size(), 1);
}

TEST_F(VideoDocument, LeavesEverythingWhereThereIsNoMovie) {
  auto* doc = static_cast<CVivoCapDoc*>(process.videoTemplate->newDocument());
  EXPECT_EQ(doc->theImage(), nullptr);
  doc->processImages("words", [](CZZimage&) { ADD_FAILURE(); });
  EXPECT_EQ(doc->notes, "words") << "what was asked for is told all the same";
  doc->averageSelection();
  EXPECT_EQ(app->documents.active(), doc);
  for (const CommandRow& row : doc->commands()->rows())
    if (row.id == cmd::MergeFields || row.id == cmd::AverageSequence ||
        row.id == cmd::ExportUncompressedAvi || row.id == cmd::DeleteSelectedImages) {
      EXPECT_FALSE(row.enabled(*doc)) << row.text;
    }
}

// What is made of many images, each by a command that begins it.
class VideoWork : public VideoTest {
 protected:
  void SetUp() override {
    VideoTest::SetUp();
    app->documents.drivesJobs = [] { return true; };
    doc = &openMovie("a.mve", 5);
  }
  void begin(const std::string& command) {
    app->documents.activate(*doc);
    if (command == "Average all in focus") host.fill({});
    run(command);
    EXPECT_TRUE(doc->isBusy()) << "the window lives on";
  }
  void finish() {
    while (app->documents.turnJobs()) continue;
  }
  CVivoCapDoc* doc = nullptr;
};
constexpr const char* kImageCommands[] = {"Average whole sequence", "Average all in focus",
                                          "rms of whole sequence", "Focus check video"};

TEST_F(VideoWork, IsBegunByACommandAndEndsWithANewDocumentOfTheSameExam) {
  std::tie(doc->patientId, doc->examIdOfDoc) = std::pair("of the video", 7);
  for (const char* command : kImageCommands) {
    SCOPED_TRACE(command);
    begin(command);
    finish();
    const auto* made = dynamic_cast<CdbDocument*>(app->documents.active());
    EXPECT_NE(made, doc);
    EXPECT_EQ(made->measuredFor().subject, "of the video");
  }
}

TEST_F(VideoWork, ThatIsStoppedMakesNothing) {
  for (const char* command : kImageCommands) {
    begin(command);
    doc->stopWork();
    EXPECT_EQ(app->documents.documents().size(), 1U) << command;
  }
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(VideoWork, GoesWithItsDocument) {
  for (const char* command : kImageCommands) {
    begin(command);
    process.videoTemplate->discard(*doc);
    doc = &openMovie("a.mve", 5);
  }
  begin("Negative");
  process.videoTemplate->discard(*doc);
  EXPECT_TRUE(app->documents.documents().empty());
}

TEST_F(VideoWork, EndsInWordsWhereTheMovieIsCutOff) {
  for (const char* command : {"Average whole sequence", "Average all in focus", "rms of whole sequence"}) {
    begin(command);
    std::filesystem::resize_file(doc->moviePath, 300);
    finish();
    EXPECT_EQ(host.messages.back(), "image 2 can't be read") << command;
    EXPECT_EQ(app->documents.documents().size(), 1U) << command;
    process.videoTemplate->discard(*doc);
    doc = &openMovie("a.mve", 5);
  }
}

TEST_F(VideoWork, SavesACopyAndThenTheDocument) {
  const auto saveAs = [&](const char* name) {
    host.answers = {Answer::No};
    host.paths = {folder.file(name)};
    begin("Save As");
    EXPECT_FALSE(fileExists(folder.file(name))) << "its movie comes first";
  };
  saveAs("stopped.dtv");
  doc->stopWork();
  saveAs("taken.dtv");
  ASSERT_TRUE(replaceFile(folder.file("taken.dtv"), std::string_view("another's")));
  finish();
  EXPECT_THAT(host.messages.back(), HasSubstr("taken.dtv was written meanwhile by another document."));
  EXPECT_EQ(readWholeText(folder.file("taken.dtv")), "another's");
  EXPECT_EQ(doc->moviePath, folder.file("a.mve"));
  for (const char* none : {"stopped.mve", "stopped.dtv", "taken.mve"})
    EXPECT_FALSE(fileExists(folder.file(none))) << none;
  saveAs("copy.dtv");
  finish();
  EXPECT_EQ(doc->moviePath, folder.file("copy.mve"));
  EXPECT_EQ(doc->pathName(), folder.file("copy.dtv"));
  EXPECT_FALSE(doc->isModified());
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12, 13, 14));
}

TEST_F(VideoWork, ThatSavesOrExportsGoesOnUnlessTheUserStopsIt) {
  const auto keeps = [&](const std::string& told) {
    host.answers = {Answer::No};
    EXPECT_FALSE(app->documents.closeAll());
    EXPECT_EQ(host.messages.back(), told);
    finish();
  };
  host.answers = {Answer::No};
  host.paths = {folder.file("copy.dtv")};
  begin("Save As");
  keeps("copy.dtv is still being saved. Stop it?");
  EXPECT_TRUE(fileExists(folder.file("copy.dtv")));
  host.paths = {folder.file("copy-export.avi")};
  begin("Export uncompressed avi");
  keeps("copy-export.avi is still being exported. Stop it?");
  EXPECT_TRUE(fileExists(folder.file("copy-export.avi")));
}

TEST_F(VideoWork, IsSavedInOneGoWhereItCloses) {
  doc->moviePath.clear();
  doc->setPathName(folder.file("b.dtv"));
  host.answers = {Answer::Yes};
  EXPECT_TRUE(app->documents.close(*doc));
  EXPECT_TRUE(fileExists(folder.file("b.mve")));
  EXPECT_TRUE(fileExists(folder.file("b.dtv")));
}

TEST_F(VideoWork, OfAPanoramaFollowsOneAfterTheOther) {
  begin("create nailfold panoramic image");
  finish();
  EXPECT_EQ(app->documents.active()->title(), "aAv0-5");
  EXPECT_EQ(doc->panoramicPending, 0);
  EXPECT_EQ(app->documents.documents().size(), 3U);
  begin("create nailfold panoramic image");
  doc->stopWork();
  EXPECT_FALSE(doc->isBusy()) << "nothing follows what was stopped";
  EXPECT_EQ(app->documents.documents().size(), 3U);
}

TEST_F(VideoDocument, DeletesImagesIntoANewMovieAfterAsking) {
  useWorkFolder();
  CVivoCapDoc& doc = openMovie("a.mve", 6);
  EXPECT_TRUE(doc.select(2, 4));
  host.answers = {Answer::No, Answer::Yes};
  run("Delete selected images");
  EXPECT_EQ(doc.imageCount(), 6);
  EXPECT_EQ(host.messages.back(), "delete all images from image 2 upto image 4?");
  run("Delete selected images");
  EXPECT_THAT(levels(), ElementsAre(10, 11, 14, 15));
  EXPECT_EQ(doc.frameCount, 4);
  EXPECT_EQ(doc.selectionFirst, -1);
  EXPECT_TRUE(doc.select(1, 3));
  host.answers = {Answer::Yes};
  run("Delete nonselected images");
  EXPECT_EQ(host.messages.back(), "delete all images except image 1 upto image 3?");
  EXPECT_THAT(levels(), ElementsAre(11, 14));
}

TEST_F(VideoDocument, SplitsMergesAndExchangesFields) {
  useWorkFolder();
  CVivoCapDoc& doc = openMovie("a.mve", 2);
  run("Split images into fields");
  EXPECT_EQ(doc.imageCount(), 4);
  EXPECT_EQ(doc.frameCount, 2) << "frames, not fields";
  EXPECT_TRUE(doc.theImage()->isField());
  EXPECT_EQ(doc.imagesPerSecond(), 60);
  run("Switch field order");
  doc.showImage(0);
  EXPECT_EQ(doc.theImage()->interlace, 2);
  run("Switch field order");
  run("Merge into frames");
  EXPECT_EQ(doc.imageCount(), 2);
  EXPECT_EQ(doc.theImage()->height, 8);
  EXPECT_TRUE(doc.select(1, -1));
  doc.processImages("", [](CZZimage& each) {
    for (int32_t y = 0; y < 8; ++y) each.row(y)[2] = static_cast<uint8_t>(y);
  });
  EXPECT_TRUE(doc.select(1, -1));
  run("Switch lines");
  doc.showImage(1);
  std::vector<int> rows;
  for (int32_t y = 0; y < 4; ++y) rows.push_back(doc.theImage()->row(y)[2]);
  EXPECT_THAT(rows, ElementsAre(1, 0, 3, 2));
}

TEST_F(VideoDocument, ComparesImagesWithOthers) {
  useWorkFolder();
  CVivoCapDoc& doc = openMovie("a.mve", 4);
  CZZimage a(16, 8), b(16, 8);
  a.fill(13);
  b.fill(11);
  a.squaredDifference(b);
  doc.showImage(1);
  EXPECT_TRUE(doc.select(1, 4));
  run("Square of differences to current image");
  EXPECT_EQ(levels().size(), 3u);
  EXPECT_EQ(levels()[0], 0);
  EXPECT_EQ(levels()[2], a.row(0)[1]);
  CVivoCapDoc& other = openMovie("b.mve", 4);
  EXPECT_TRUE(other.select(1, 4));
  run("Square of differences");
  EXPECT_EQ(levels().size(), 2u) << "one less than the selection has";
}

TEST_F(VideoDocument, AveragesTheSelectionOnTheCanvasOfItsOffsets) {
  CVivoCapDoc& doc = openMovie("a.mve", 4);
  doc.movie->setOrigin(1, {3, -2});
  EXPECT_TRUE(doc.select(0, 2));
  run("Average whole sequence");
  ASSERT_NE(image(), &doc);
  EXPECT_EQ(image()->title(), "aAv0-2");
  const CZZimage& mean = *image()->theImage();
  EXPECT_EQ(mean.width, 19);
  EXPECT_EQ(mean.height, 10);
  EXPECT_EQ(mean.row(0)[0], 0) << "no image covers it";
  EXPECT_EQ(mean.row(0)[4], 11);
  EXPECT_EQ(mean.row(9)[1], 10);
  EXPECT_EQ(mean.row(4)[5], 10) << "(10 + 11) / 2, cut";
  EXPECT_EQ(image()->imageOrigin(), (Point{0, -2}));
  app->documents.activate(doc);
  EXPECT_TRUE(doc.select(-1, -1));
  run("Average whole sequence");
  EXPECT_EQ(image()->title(), "aAv0-4");
}

TEST_F(VideoDocument, KeepsTheHeightOfAnAverageOfFields) {
  useWorkFolder();
  compressoutput = 1;
  openMovie("a.mve", 2);
  run("Split images into fields");
  EXPECT_EQ(video().moviePath, folder.file("aA.avi"));
  run("Average whole sequence");
  EXPECT_EQ(image()->theImage()->frameHeight(), 8);
  reopen("mean.tv1");
  EXPECT_EQ(image()->theImage()->frameHeight(), 8) << "in a file that can hold fields";
}

TEST_F(VideoDocument, RefusesASelectionOfNoImages) {
  CVivoCapDoc& doc = openMovie("a.mve", 9);
  struct Case {
    int32_t first, last;
  } const none[] = {{5, 5}, {8, 3}, {-1, 0}, {0, 0}};
  for (const Case& c : none) {
    SCOPED_TRACE(c.first);
    EXPECT_THAT(doc.select(c.first, c.last).why(), HasSubstr("are none"));
    host.fill({{"first", std::to_string(c.first)}, {"last", std::to_string(c.last)}});
    run("Select images");
    EXPECT_THAT(host.messages.back(), HasSubstr("are none"));
    EXPECT_THAT(doc.selectRange(c.first, c.last).why, HasSubstr("are none"));
  }
  EXPECT_FALSE(doc.selectRange(9, -1).ok) << "behind the last";
  EXPECT_EQ(doc.selection().size(), 9);
}

TEST_F(VideoDocument, TakesATracesChangesOffTheBrightness) {
  CVivoCapDoc& doc = openMovie("a.mve", 3);
  doc.fps = 2;
  auto trace = std::make_unique<CTrace>(kDoubleCode, 3);
  trace->period = 0.5;
  for (uint32_t i = 0; i < 3; ++i) trace->data->putval(i, 100.0 + i);
  doc.overlayTraces.items.push_back(std::move(trace));
  host.fill({});
  run("Subtract trace");
  EXPECT_THAT(levels(), ElementsAre(11, 11, 11)) << "levels rise as the trace does, about its mean";
}

TEST_F(VideoDocument, OpensTheCurrentImageAlone) {
  CVivoCapDoc& doc = openMovie("a.mve", 4);
  doc.showImage(2);
  run("Duplicate image in new window");
  EXPECT_EQ(image()->title(), "a-0002");
  EXPECT_EQ(image()->theImage()->pixelAt(0, 0), 2);
  EXPECT_TRUE(image()->imagefile.empty());
}

TEST_F(VideoDocument, EditsSelectionPropertiesAndFolders) {
  CVivoCapDoc& doc = openMovie("a.mve", 9);
  host.fill({{"first", "2"}, {"last", "7"}, {"step", "2"}});
  run("Select images");
  EXPECT_EQ(doc.selection().first, 2);
  EXPECT_EQ(doc.selection().last, 7);
  EXPECT_EQ(doc.selectionStep, 2);
  std::map<std::string, std::string> told;
  host.fills.push_back([&told](Form& form) {
    for (const FormField& field : form.fields()) told[field.label] = field.value();
    return false;
  });
  run("Properties");
  EXPECT_EQ(told["Size"], "16 x 8 pixels, 8 bit grey");
  EXPECT_EQ(told["Images"], "9");
  EXPECT_EQ(told["Duration"], "0:00.30 at 30 images a second");
  EXPECT_EQ(told["Codec"], "none: the pixels as they are");
  EXPECT_THAT(told["Disc space"], StartsWith("1.2 kB, "));
  host.fill({{"Frames per second", "60"}, {"avi rate", "60"}, {"avi scale", "1"}});
  run("Properties");
  EXPECT_EQ(doc.fps, 60);
  EXPECT_EQ(doc.playPeriod, 16) << "1000 / 60, cut";
  EXPECT_EQ(doc.movie->rate, 60);
  host.paths = {folder.path()};
  run("Directories");
  EXPECT_EQ(doc.workFolder(), withSeparator(folder.path()));
  run("compress video output");
  EXPECT_EQ(settings.getInt("Dynamic settings", "compressoutput", 0), 1);
  host.paths = {std::nullopt};
  settings.setString("directories", "tempdir", "");
  EXPECT_TRUE(doc.select(0, 2));
  host.answers = {Answer::Yes};
  run("Delete selected images");
  EXPECT_EQ(host.messages.back(), "Select Temporary work folder");
  EXPECT_EQ(doc.imageCount(), 9) << "nothing is done without a folder";
}

}  // namespace
}  // namespace tarnvisor
