// Functional capillary flow of a video: the run, its document and what is stored of it.
#include "archive/archive.h"
#include "dynamic/fcfview.h"
#include "dynamic/texts.h"
#include "movie/movierewrite.h"
#include "support/recordingcanvas.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

constexpr const char* kTable = "Functional Capillary Flow and Density Results";
constexpr const char* kChunk = "number of frames per FCD (-1 to use whole video or selection)";

class Flow : public VideoTest {
 protected:
  // Images of 16 x 8 that stand at 100; the left half goes 100, 120, 140, 100...
  CVivoCapDoc& openFlow(
      int32_t count, const std::function<void(CVivoCapDoc&)>& prepare = [](CVivoCapDoc&) {}) {
    useWorkFolder();
    const std::string path =
        writeMovieFile(folder.file("a.mve"), count, {16, 8}, [](CZZimage& image, int32_t k) {
          image.fill(100);
          for (int32_t y = 0; y < image.height; ++y)
            std::fill_n(image.row(y), 8, static_cast<uint8_t>(100 + k % 3 * 20));
        });
    auto& made = dynamic_cast<CVivoCapDoc&>(*app->openDocumentFile(path));
    prepare(made);
    return made;
  }
  fcfdoc& calculate(const char* chunk) {
    host.fill({{kChunk, chunk}});
    run("Calculate FCF");
    return front();
  }
  fcfdoc& front() { return dynamic_cast<fcfdoc&>(*app->documents.active()); }
  static size_t rowCount() { return findResultDocument(kTable) ? findResultDocument(kTable)->rowCount() : 0; }
  fcfdoc& reopened(const std::string& name) {
    EXPECT_TRUE(front().onSaveDocument(folder.file(name)));
    process.fcfTemplate->discard(front());
    return opened(name);
  }
  fcfdoc& opened(const std::string& name) {
    return dynamic_cast<fcfdoc&>(*app->openDocumentFile(folder.file(name)));
  }
};

TEST_F(Flow, MeasuresTheWholeAsOneRangeWithoutAMovie) {
  openFlow(7);
  const size_t documents = app->documents.documents().size();
  fcfdoc& map = calculate("-1");
  EXPECT_EQ(map.title(), "a-FCF");
  EXPECT_EQ(app->documents.documents().size(), documents + 2) << "the maps, and the table of results";
  EXPECT_EQ(map.roi, (Rect{0, 0, 16, 8}));
  const double conc = std::sqrt((88000 - 720.0 * 720 / 6) / 6), flux = std::sqrt(4800.0 / 6);
  EXPECT_DOUBLE_EQ(map.fcf[0], flux / conc);
  EXPECT_EQ(map.fcf[15], 0);
  EXPECT_EQ(map.theImage()->row(0)[0], static_cast<uint8_t>(flux / conc * 64));
  EXPECT_THAT(resultCells(0, 0, 7, kTable),
              ElementsAre("a-FCF", "pixel", "16.00", "8.00", "128", "0.758", "43.750"));
  EXPECT_THAT(map.notes,
              HasSubstr("fcf of " + folder.file("a.mve") + "\r\nThe video was not corrected for movement"));
  EXPECT_THAT(map.notes, HasSubstr("FCD 43.750 %"));
  EXPECT_EQ(settings.getString("FCF", "frames", ""), "-1");
}

TEST_F(Flow, GoesByChunksOfWhichTheLastIsShorter) {
  CVivoCapDoc& video = openFlow(8);
  video.fps = 30;
  EXPECT_TRUE(video.select(0, 7));
  calculate("4");
  EXPECT_EQ(rowCount(), 2U);
  auto* movie = dynamic_cast<CVivoCapDoc*>(process.videoTemplate->documents().back().get());
  EXPECT_EQ(movie->title(), "a-FCF");
  EXPECT_EQ(movie->imageCount(), 2);
  EXPECT_EQ(movie->fps, 7.5);
  EXPECT_EQ(movie->movie->recordOf(1).number, 2U);
  EXPECT_EQ(fileNameOf(movie->moviePath), "a.fcf.mve");
}

TEST_F(Flow, TheMovieOfItsRangesGoesUnlessItIsSaved) {
  std::filesystem::create_directory(folder.file("exam"));
  const std::string made = folder.file("a.fcf.mve");
  const auto calculated = [&]() -> CVivoCapDoc& {
    app->documents.activate(*process.videoTemplate->documents().front());
    calculate("4");
    return dynamic_cast<CVivoCapDoc&>(*process.videoTemplate->documents().back());
  };
  openFlow(8);
  process.videoTemplate->discard(calculated());
  EXPECT_FALSE(fileExists(made)) << "nobody wanted it";
  CVivoCapDoc& saved = calculated();
  ASSERT_TRUE(saved.onSaveDocument(folder.file("exam/x.dtv")));
  EXPECT_EQ(saved.moviePath, folder.file("exam/a.fcf.mve"));
  EXPECT_FALSE(fileExists(made)) << "it came along";
  CVivoCapDoc& later = calculated();
  ASSERT_EQ(later.moviePath, made);
  process.videoTemplate->discard(saved);
  EXPECT_TRUE(fileExists(folder.file("exam/a.fcf.mve")));
  EXPECT_TRUE(fileExists(made)) << "another one's by now";
  ASSERT_NE(app->openDocumentFile(made), nullptr);
  process.videoTemplate->discard(later);
  EXPECT_TRUE(fileExists(made)) << "another window shows it";
}

TEST_F(Flow, LeavesOutAnEndTooShortToTellOfFlow) {
  openFlow(8);
  EXPECT_THAT(calculate("3").notes, HasSubstr("images from 6 on are left out"));
  EXPECT_EQ(rowCount(), 2U);
}

TEST_F(Flow, FollowsTheOffsetsAndMeasuresWhatAllImagesShare) {
  openFlow(6, [](CVivoCapDoc& video) {
    video.movie->setOrigin(1, {-2, 1});
    video.movie->setOrigin(5, {-2, 1});
  });
  fcfdoc& map = calculate("-1");
  EXPECT_EQ(map.roi, (Rect{0, 1, 14, 8}));
  EXPECT_EQ(map.imageOrigin(), (Point{-2, 0}));
  EXPECT_EQ(map.maps.width, 18);
  EXPECT_EQ(map.maps.height, 9);
  EXPECT_THAT(map.notes, Not(HasSubstr("not corrected")));
  EXPECT_DOUBLE_EQ(map.shownValueAt({0, 1}), map.fcf[18 + 2]);
}

TEST_F(Flow, OfAHalfCorrectedVideoIsMeasuredOnlyWhenWantedAndItsNotesTell) {
  CVivoCapDoc& video = openFlow(9, [](CVivoCapDoc& each) {
    for (int32_t i = 1; i < 5; ++i) each.movie->setOrigin(i, {i % 2, 1});
  });
  const std::string told = "images from 5 on were not corrected";
  host.answers = {Answer::No};
  host.fill({{kChunk, "-1"}});
  run("Calculate FCF");
  EXPECT_THAT(host.messages.back(), HasSubstr(told));
  EXPECT_EQ(app->documents.active(), &video) << "nothing was measured";
  host.answers = {Answer::Yes};
  EXPECT_THAT(calculate("-1").notes, HasSubstr(told));
  app->documents.activate(video);
  ASSERT_TRUE(video.select(0, 5));
  EXPECT_THAT(calculate("-1").notes, Not(HasSubstr("not corrected"))) << "only what was";
  app->documents.activate(video);
  ASSERT_TRUE(video.select(-1, -1));
  process.quietMode = 1;
  run("Calculate FCF");
  process.quietMode = 0;
  EXPECT_THAT(front().notes, HasSubstr(told));
  EXPECT_THAT(host.messages.back(), HasSubstr(told)) << "a script prints it";
}

TEST_F(Flow, CancelKeepsWhatIsDone) {
  openFlow(12);
  host.stopAt = 4;
  calculate("4");
  EXPECT_EQ(rowCount(), 1U);
  EXPECT_EQ(dynamic_cast<CVivoCapDoc&>(*process.videoTemplate->documents().back()).imageCount(), 1);
  app->documents.activate(*process.videoTemplate->documents().front());
  host.stopAt = 1;
  const size_t documents = app->documents.documents().size();
  host.fill({{kChunk, "4"}});
  run("Calculate FCF");
  EXPECT_EQ(app->documents.documents().size(), documents) << "nothing was done: nothing is left";
  EXPECT_FALSE(fileExists(folder.file("a.fcfA.mve")));
}

TEST_F(Flow, EndsWhereItsMapIsClosedMeanwhile) {
  CVivoCapDoc& video = openFlow(400);
  app->documents.drivesJobs = [] { return true; };
  fcfdoc& map = calculate("3");
  EXPECT_TRUE(video.isBusy());
  process.fcfTemplate->discard(map);
  while (app->documents.turnJobs()) continue;
  EXPECT_FALSE(video.isBusy());
  EXPECT_EQ(process.videoTemplate->documents().size(), 1U);
}

TEST_F(Flow, SpectraReadTheirImagesWhileTheWindowLives) {
  CVivoCapDoc& video = openFlow(40);
  app->documents.drivesJobs = [] { return true; };
  for (const char* command : {"FFT per pixel sequence", "Calculate Flux conc & speed"}) {
    const auto begin = [&] {
      host.fill({});
      run(command);
      EXPECT_TRUE(video.isBusy()) << command;
    };
    begin();
    video.stopWork();
    EXPECT_TRUE(host.messages.empty());
    begin();
    std::filesystem::resize_file(video.moviePath, 300);
    while (app->documents.turnJobs()) continue;
    EXPECT_THAT(host.messages.back(), HasSubstr("can't be read"));
    EXPECT_EQ(app->documents.documents().size(), 1U);
    host.messages.clear();
  }
}

TEST_F(Flow, RefusesInWordsWhatItCannotMeasure) {
  CVivoCapDoc& video = openFlow(4);
  EXPECT_TRUE(video.select(1, 2));
  host.fill({{kChunk, "-1"}});
  run("Calculate FCF");
  EXPECT_EQ(host.messages.back(), "Three images at least must be selected.");
  host.fill({{kChunk, "1"}});
  run("Calculate FCF");
  EXPECT_THAT(host.messages.back(), StartsWith("A range needs three images"));
  const CZZimage form(16, 8, -1, 0, kColour);
  ASSERT_TRUE(video.movie->rewrite(
      folder.file("c.mve"),
      rewritePlan(formLike(form), 2, [&](int32_t, CZZimage& made) { return made.copyImage(form); })));
  for (const char* command : {"Speed by rms", "rms of whole sequence"}) {
    if (command[0] == 'S') host.fill({});
    run(command);
    EXPECT_THAT(host.messages.back(), StartsWith("Flow is measured on grey images")) << command;
  }
}

TEST_F(Flow, TakesNoRangeForAnother) {
  openFlow(8);
  for (const char* wrong : {"-5", "40.5", "abc", "", "99999999999"}) {
    host.fills.emplace_back([&](const Form& form) {
      EXPECT_NE(form.find(text::kFramesPerFcd)->take(wrong), "") << wrong;
      return false;
    });
    run("Calculate FCF");
  }
  process.quietMode = 1;
  settings.setString("FCF", "frames", "-5");  // as it was once kept
  run("Calculate FCF");
  EXPECT_THAT(host.messages.back(), HasSubstr("-1 takes all"));
  EXPECT_EQ(rowCount(), 0U);
}

TEST_F(Flow, OfFieldsCountsRowsTwice) {
  openFlow(3);
  run("Split images into fields");
  fcfdoc& map = calculate("-1");
  EXPECT_EQ(map.maps.height, 8);
  EXPECT_EQ(map.roi, (Rect{0, 0, 16, 8}));
  EXPECT_EQ(map.fcf[0], map.fcf[16]);
  EXPECT_THAT(map.notes, HasSubstr("The images are fields"));
}

TEST_F(Flow, OfFieldsTellsWhatTheirEvenRowsRounded) {
  CVivoCapDoc& video = openFlow(3, [](CVivoCapDoc& moved) {
    moved.movie->setOrigin(0, {0, 2});
    moved.movie->setOrigin(1, {0, 3});
    moved.movie->setOrigin(2, {1, -1});
  });
  run("Split images into fields");
  EXPECT_THAT(video.notes, HasSubstr("split into fields; the y offsets of 2 images were odd"));
  EXPECT_EQ(video.movie->recordOf(2).yOrigin, 2);
  run("Merge into frames");
  EXPECT_THAT(video.notes, EndsWith("merged into frames\r\n"));
  run("Split images into fields");
  video.movie->setOrigin(4, {0, 5});
  run("Merge into frames");
  EXPECT_THAT(video.notes, HasSubstr("merged into frames; the y offsets of 1 images were odd"));
}

TEST_F(Flow, AStepOfTheThresholdIsAnsweredAndOfThisMapAlone) {
  openFlow(7);
  fcfdoc& map = calculate("-1");
  map.threshold = 27.9;
  map.autoThreshold = 1;
  run("threshold up");
  EXPECT_EQ(map.autoThreshold, 0);
  EXPECT_NEAR(map.threshold, 28.1, 1e-6);
  EXPECT_EQ(settings.getDouble("fcf", "threshold", -1), -1) << "the next map begins as this one did";
  EXPECT_DOUBLE_EQ(map.figures().fcd, 43.75) << "seven columns of 28.28";
  map.threshold = 28.2;
  run("threshold up");
  EXPECT_EQ(map.figures().fcd, 0);
  EXPECT_EQ(map.notes.find("FCD"), map.notes.rfind("FCD")) << "the last figures alone";
  map.resultText = "counted";
  map.notes += "counted\r\n";
  run("Use CONC threshold");
  run("threshold down");
  EXPECT_EQ(map.useConc, 1);
  EXPECT_THAT(map.notes, HasSubstr("counted\r\nFCD "));
  EXPECT_EQ(rowCount(), 1U);
  run("Add FCD to results");
  EXPECT_EQ(rowCount(), 2U);
}

TEST_F(Flow, AThresholdStepsDownToZeroAndNoFurther) {
  openFlow(7);
  fcfdoc& map = calculate("-1");
  map.threshold = 0.3;
  run("threshold down");
  run("threshold down");
  EXPECT_EQ(map.threshold, 0);
  map.setModified(false);
  run("threshold down");
  EXPECT_EQ(map.threshold, 0);
  EXPECT_FALSE(map.isModified());
}

TEST_F(Flow, MeasuresOfFlowShareNoThreshold) {
  CVivoCapDoc& video = openFlow(8);
  host.fill({{"threshold", "2"}, {"gain", "50"}});
  run("Speed by rms");
  app->documents.activate(video);
  host.fill({{text::kMovementLevel, "0.3"}, {text::kFftPoints, "4"}});
  run("Calculate Flux conc & speed");
  app->documents.activate(video);
  const fcfdoc& map = calculate("-1");
  EXPECT_EQ(map.threshold, 5);
  EXPECT_EQ(map.gain, 64);
  EXPECT_THAT(map.notes, HasSubstr("by MASK threshold 5, gain 64\r\n"));
  host.fill({{text::kThresholdLabel, "7"}});
  run("Recalculate");
  EXPECT_EQ(settings.getDouble("fcf", "threshold", 0), 7) << "the form's is where the next map begins";
  app->documents.activate(video);
  host.fills.emplace_back([](const Form& form) {
    EXPECT_EQ(form.find("threshold")->value(), "2");
    return false;
  });
  run("Speed by rms");
}

TEST_F(Flow, RecalculateFindsThresholdAndGain) {
  openFlow(7);
  fcfdoc& map = calculate("-1");
  host.fill({{"Auto threshold", "1"}, {"Auto Gain", "1"}});
  run("Recalculate");
  EXPECT_DOUBLE_EQ(map.gain, 255 / map.fcf[0]);
  EXPECT_DOUBLE_EQ(map.threshold, 2 * map.maps.mask[0] / 255) << "all smoothed counts are 0: peak 1, low 0";
  run("CONC");
  EXPECT_EQ(map.theImage()->row(0)[0], 255);
  EXPECT_EQ(map.theImage()->row(0)[15], 0);
  EXPECT_FALSE(isEnabled("Negative"));
}

TEST_F(Flow, ShowsValuesAndALegend) {
  openFlow(7);
  fcfdoc& map = calculate("-1");
  auto& view = dynamic_cast<fcfview&>(*map.views().front());
  view.position = {0, 0};
  std::map<std::string, std::string> panes;
  for (const StatusPane& pane : view.panes()) panes[pane.name] = pane.text;
  EXPECT_EQ(panes["pixel"], "pixel=110 gain=64.000000");
  EXPECT_EQ(panes["value"], "FCF=1.7321 1/frame");
  EXPECT_EQ(panes["fcd"], "FCD=43.75% threshold=5.00");
  RecordingCanvas canvas;
  view.draw(canvas);
  EXPECT_THAT(canvas.calls, Contains(HasSubstr("FCF [1/frame]")));
  EXPECT_THAT(canvas.calls, Contains(HasSubstr("3.98")));
}

TEST_F(Flow, TheLegendLeavesThePictureToBeSeen) {
  openFlow(7);
  fcfdoc& map = calculate("-1");
  auto& view = dynamic_cast<fcfview&>(*map.views().front());
  const auto legendAt = [&](int32_t zoom, Size window) {
    view.setWindowSize(window);
    view.zoomnum = zoom;
    view.zoomden = 1;
    RecordingCanvas canvas;
    view.draw(canvas);
    std::erase_if(canvas.calls, [](const std::string& call) { return !call.ends_with(" 202020"); });
    return canvas.calls.empty() ? "" : canvas.calls.front();
  };
  EXPECT_EQ(view.contentSize(), (Size{228, 8 + 96}));
  EXPECT_EQ(legendAt(1, view.contentSize()), "fill 12,20-216,88 202020") << "below 16 x 8";
  EXPECT_EQ(legendAt(40, {1200, 320}), "fill 652,12-856,80 202020") << "beside 640 x 320";
  EXPECT_EQ(view.contentSize(), (Size{640, 320}));
  EXPECT_EQ(legendAt(40, {640, 500}), "fill 12,332-216,400 202020") << "below";
  EXPECT_EQ(legendAt(40, {640, 320}), "fill 12,240-216,308 202020") << "on it";
}

TEST_F(Flow, StoresMapsBesideTheDocument) {
  openFlow(7);
  calculate("-1").threshold = 7.5;
  const FlowMaps maps = front().maps;
  fcfdoc& again = reopened("x.zzfcf");
  EXPECT_EQ(again.maps.mask, maps.mask);
  EXPECT_EQ(again.threshold, 7.5);
  EXPECT_EQ(again.theImage()->row(0)[0], 110);
  EXPECT_FALSE(again.isModified());
  const Bytes raw = *readWholeFile(folder.file("x.zzrawfcf"));
  ASSERT_EQ(raw.size(), 3 * 128 * sizeof(double));
  EXPECT_EQ(std::memcmp(raw.data() + 128 * sizeof(double), maps.conc.data(), 128 * sizeof(double)), 0);
  MemoryStream memory(*readWholeFile(folder.file("x.zzfcf")));
  Archive archive(memory, Archive::Direction::Loading);
  ZBasicDoc image;
  image.serialize(archive);
  EXPECT_EQ(archive.getInt(), 1001);
  EXPECT_EQ(archive.getDouble(), 7.5);
  EXPECT_EQ(archive.getDouble(), 64);
  EXPECT_EQ(archive.getInt(), 16);
  EXPECT_EQ(archive.getInt(), 8);
  EXPECT_EQ(archive.remaining(), 0U);
}

TEST_F(Flow, OpensWithZerosWhereTheMapsDontFitOrAreAway) {
  openFlow(7);
  calculate("-1");
  ASSERT_TRUE(front().onSaveDocument(folder.file("x.zzfcf")));
  process.fcfTemplate->discard(front());
  for (const size_t bytes : {3 * 1024 - 1, 3 * 1024 + 8, 0}) {
    ASSERT_TRUE(replaceFile(folder.file("x.zzrawfcf"), std::string_view(std::string(bytes, 'x'))));
    const fcfdoc& map = opened("x.zzfcf");
    EXPECT_THAT(host.messages.back(), HasSubstr("x.zzrawfcf")) << bytes;
    EXPECT_FALSE(map.hasMaps()) << bytes;
    EXPECT_EQ(front().theImage()->width, 16);
    EXPECT_EQ(front().theImage()->row(0)[0], 0);
    ASSERT_TRUE(front().onSaveDocument(folder.file("x.zzfcf")));
    EXPECT_EQ(readWholeFile(folder.file("x.zzrawfcf"))->size(), bytes) << "left alone";
    process.fcfTemplate->discard(front());
  }
}

TEST_F(Flow, WhoseMapsAreAwayTakesNoOthers) {
  openFlow(7);
  calculate("-1");
  for (const char* name : {"x.zzfcf", "y.zzfcf"}) ASSERT_TRUE(front().onSaveDocument(folder.file(name)));
  process.fcfTemplate->discard(front());
  ASSERT_TRUE(std::filesystem::remove(folder.file("x.zzrawfcf")));
  ASSERT_TRUE(std::filesystem::remove(folder.file("y.zzfcf")));
  opened("x.zzfcf");
  EXPECT_FALSE(front().onSaveDocument(folder.file("y.zzfcf")));
  EXPECT_THAT(host.messages, Contains(HasSubstr("y.zzrawfcf holds the maps of another measurement")));
  EXPECT_TRUE(front().onSaveDocument(folder.file("z.zzfcf")));
}

TEST_F(Flow, OfTheFirstVersionHasNoMask) {
  openFlow(7);
  calculate("-1").maps.mask.clear();
  front().recomputeFcf();
  fcfdoc& old = reopened("x.zzfcf");
  EXPECT_EQ(readWholeFile(folder.file("x.zzrawfcf"))->size(), 2U * 1024);
  EXPECT_EQ(old.useConc, 1);
  EXPECT_DOUBLE_EQ(old.figures().fcd, 50);
  EXPECT_FALSE(isEnabled("Use MASK threshold"));
}

TEST_F(Flow, RmsAndSpectraOpenImages) {
  CVivoCapDoc& video = openFlow(8);
  EXPECT_TRUE(video.select(0, 3));
  run("rms of whole sequence");
  EXPECT_EQ(image()->title(), "arms0to3");
  EXPECT_EQ(image()->theImage()->row(0)[0], 16);
  app->documents.activate(video);
  host.fill({{"threshold", "2"}, {"gain", "50"}});
  run("Speed by rms");
  EXPECT_EQ(image()->title(), "aSpeedBy-rms0to3");
  EXPECT_EQ(image()->theImage()->row(0)[15], 0);
  app->documents.activate(video);
  host.fill({{"Number of FFT points. Must be a Power of 4.  First n*2 images are used.", "4"}});
  run("Calculate Flux conc & speed");
  EXPECT_EQ(image()->title(), "FCF_of_a");
  EXPECT_EQ(settings.getInt("FCF", "HFcutoff", 0), 16);
  app->documents.activate(video);
  host.fill({{"number of FFT points (must be a power of 4)", "16"}});
  run("FFT per pixel sequence");
  EXPECT_THAT(host.messages.back(), HasSubstr("32 images"));
  host.fill({{"number of FFT points (must be a power of 4)", "4"}});
  run("FFT per pixel sequence");
  EXPECT_EQ(video.imageCount(), 8);
  EXPECT_EQ(fileNameOf(video.moviePath), "aA.mve");
  CZZimage each;
  video.movie->getImage(1, each);
  EXPECT_EQ(each.row(0)[15], 0) << "nothing changed there";
  video.movie->getImage(4, each);
  EXPECT_EQ(each.row(0)[15], 100) << "behind the bins";
}

}  // namespace
}  // namespace tarnvisor
