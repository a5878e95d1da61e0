// Whole scripts, as a user writes them.
#include "batch/runner.h"

#include "base/text.h"
#include "batch/demonstration.h"
#include "charts/chartview.h"
#include "dynamic/vivocapdoc.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"
#include "support/runnertest.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

TEST_F(Runner, ASubjectSelectedAgainLeavesItsExamAndTheExamsRecordingFolder) {
  EXPECT_TRUE(run("subject A-1\nexam left\nsubject A-1\n").ok);
  EXPECT_FALSE(exams.hasExam());
  EXPECT_EQ(process.recordDir, app.dataFolder);
}

TEST_F(Runner, AStillBecomesARowAndATable) {
  EXPECT_TRUE(
      run("subject A-1\nexam \"left finger\" first\nopen $shot.bmp\ncommand \"Find Capillaries\"\nsave shot.tv1\n"
          "command \"Calculate average of selection\"\nexport $r.csv\n")
          .ok);
  const auto rows = app.db->resultsOf(exams.examId());
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].filename, "shot.tv1");
  EXPECT_THAT(rows[0].result, HasSubstr("capillary density"));
  EXPECT_TRUE(fileExists(folder.file("data/A-1-left_finger/shot.tv1")));
  EXPECT_TRUE(fileExists(folder.file("data/A-1-left_finger/shot.bmp"))) << "the picture comes along";
  const double density = static_cast<double>(truth.capillaries.size()) * 1e6 / (1280 * 1024);
  EXPECT_THAT(readWholeText(folder.file("r.csv")).value_or(""), HasSubstr(format(",%8.3f,", density)));
  EXPECT_THAT(run("print dims").text, HasSubstr("1,circle,"));
  EXPECT_THAT(run("results \"image results\"").text, HasSubstr("shot.tv1"));
  EXPECT_TRUE(run("export " + folder.file("named.csv") + " \"image results\"").ok);
  EXPECT_EQ(run("export no.csv \"no such\"").why, "there is no result table \"no such\"");
  // A second exam closes the still and keeps the table.
  EXPECT_TRUE(run("exam right").ok);
  EXPECT_EQ(app.documents.documents().size(), 1u);
}

TEST_F(Runner, StepsThatFailSayWhy) {
  CZZimage colour(99, 70, -1, 0, kColour);
  ASSERT_TRUE(colour.save(folder.file("colour.bmp")));
  const std::pair<const char*, const char*> cases[] = {
      {"save", "no document is open"},
      {"open $none.bmp", "does not exist"},
      {"exam x", "no subject is selected"},
      {"command nonsense", "no such command"},
      {"results x", "no result table"},
      {"open $shot.bmp\ncommand \"Convert to grey\"", "not enabled"},
      {"open $colour.bmp\ncommand Blur", "not enabled now. Needs an image of grey levels"},
      {"open $colour.bmp\ncommand Bin", "Convert to grey"},
      {"open $shot.bmp\ncommand Magnification \"action=Set as default\"", "has no row 0"},
      {"open $shot.bmp\ncommand \"High pass filter\" window=abc", "is not a number"},
      {"open $shot.bmp\ncommand Negative yes", "nothing asked for the answer"},
      {"open $shot.bmp\ncommand \"Subtract image\"", "asks for a file"},
      {"open $shot.bmp\nroi 5,5,5,90", "empty or lies outside"},
      {"open $shot.bmp\nroi 2000,5,2100,90", "empty or lies outside"},
      {"open $shot.bmp\ncommand \"Custom Filter\" custom0=3 factor=x", "is not a number"},
      {"open $shot.bmp\nprint traces", "has no traces"},
      {"open $shot.bmp\nframe 3", "has nothing for"},
      {"open $shot.bmp\nexport $x.xyz", "Error saving image."},
      {"subject A\nopen $shot.bmp\ncommand Negative\nexam b", "has changes"}};
  for (const auto& [lines, words] : cases) {
    const StepResult result = run(lines);
    EXPECT_FALSE(result.ok) << lines;
    EXPECT_THAT(result.why, HasSubstr(words)) << lines;
    while (CDocument* front = app.documents.active()) front->type()->discard(*front);
  }
}

TEST_F(Runner, DrawsMeasuresAndAnswersByLabel) {
  run("open $shot.bmp\nlist 2\ndim line 10,10 13,14\ndim polygon 0,0 10,0 10,10\ndim rect 1,1 5,9\nroi 0,0,100,50\n"
      "command \"Low pass filter\" window=9");
  auto* d = dynamic_cast<ZBasicDoc*>(app.documents.active());
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->dimlists[kFcdList].size(), 3);
  EXPECT_EQ(d->dimlists[kFcdList].at(0).Length(1, 1), 5.0);
  EXPECT_EQ(d->dimlists[kFcdList].at(1).Area(1, 1), 50.0);
  EXPECT_EQ(d->notes, "High pass (9x9) ROI (0,0)-(100,50).\r\n");
  EXPECT_EQ(run("set ProcessingArgs umin 150").ok, true);
  EXPECT_TRUE(run("command Undo\nsave $a.tv1\nclose").ok);
  EXPECT_TRUE(run("open $a.tv1\nroi circle\nprint status").ok);
}

TEST_F(Runner, NeverSavesADocumentOverAPicture) {
  const auto picture = readWholeFile(folder.file("shot.bmp"));
  EXPECT_TRUE(run("open $shot.bmp\nsave $shot.bmp").ok);
  EXPECT_EQ(readWholeFile(folder.file("shot.bmp")), picture);
  EXPECT_TRUE(fileExists(folder.file("shot.bmp.tv1")));
}

TEST_F(Runner, DrawsTheWindowAndThePage) {
  run("open $shot.bmp\nroi 100,80,540,400");
  EXPECT_TRUE(run("snapshot $a.png").ok);
  CZZimage picture;
  ASSERT_TRUE(importStill(folder.file("a.png"), 0, picture));
  EXPECT_EQ(picture.width, 1280);
  EXPECT_EQ(picture.height, 1024);
  const uint8_t* corner = picture.row(80) + 3 * 100;
  EXPECT_THAT(std::span(corner, 3), ElementsAre(0, 255, 255)) << "the region's yellow outline";
  EXPECT_TRUE(run("snapshot $again.png").ok);
  EXPECT_EQ(readWholeFile(folder.file("again.png")), readWholeFile(folder.file("a.png")));
  EXPECT_TRUE(run("command \"Print...\" $a.pdf").ok);
  EXPECT_EQ(readWholeText(folder.file("a.pdf")).value_or("").substr(0, 4), "%PDF");
  EXPECT_TRUE(run("command \"Calculate average of selection\"\ncommand Histogram\nsnapshot $b.png").ok);
  for (const char* wrong : {"snapshot $a.doc", "snapshot $none/a.png", "command \"Print...\""})
    EXPECT_FALSE(run(wrong).ok) << wrong;
  EXPECT_FALSE(fileExists(folder.file("a.doc")));
}

TEST_F(Runner, SelectsPrintsAndExportsTracesOfAChart) {
  auto* chart = static_cast<ZchartDoc*>(process.reviewTemplate->newDocument());
  for (const char* name : {"pulse", "aux"}) {
    ZZTrace& trace = *chart->addtrace(kUint8Code, 8);
    trace.name = name;
    trace.hidden = trace.name == "aux";
    trace.period = 0.5;
    trace.yunits = "mV";
    for (uint32_t i = 0; i < 8; ++i) trace.data->putval(i, 10.0 * i);
  }
  ASSERT_TRUE(chart->onSaveDocument(folder.file("c.zz1")));
  chart->type()->discard(*chart);
  run("set Export headers 0\nopen $c.zz1");
  EXPECT_EQ(run("select 2.5 1").values, (decltype(StepResult::values){{"from", "1"}, {"to", "2.5"}}));
  EXPECT_EQ(run("print traces").text,
            "pulse\t8\t0.5 s\tfrom 0 s\tmV\tactive\naux\t8\t0.5 s\tfrom 0 s\tmV\thidden\n");
  EXPECT_THAT(run("print status").text, HasSubstr("title c.zz1\ntrace 0:pulse\n"));
  EXPECT_THAT(run("print status").text, HasSubstr("dx dx = 1.500 \n"));
  EXPECT_TRUE(run("export $c.bin").ok);
  EXPECT_EQ(readWholeFile(folder.file("c.bin")), (std::vector<uint8_t>{20, 30, 40}));
  EXPECT_TRUE(run("export $c.txt\nexport $c.png").ok);
  EXPECT_EQ(readWholeText(folder.file("c.txt")).value_or(""), "1\t20\r\n1.5\t30\r\n2\t40\r\n");
  EXPECT_EQ(readWholeText(folder.file("c.png")).value_or("").substr(1, 3), "PNG");
  EXPECT_TRUE(run("trace aux\ncommand \"Chart Results\"").ok);
  EXPECT_THAT(run("results \"Chart Results\"").text, HasSubstr("aux"));
  const std::pair<const char*, const char*> wrong[] = {{"trace none", "no trace \"none\""},
                                                       {"print dims", "a chart has no dims"},
                                                       {"export $none/c.txt", "none/c.txt"}};
  for (const auto& [step, why] : wrong) {
    run("close\nopen $c.zz1");
    EXPECT_THAT(run(step).why, HasSubstr(why)) << step;
  }
  for (const char* step : {"select 0 1", "trace pulse"})
    EXPECT_FALSE(run("open $shot.bmp\n" + std::string(step)).ok) << step;
}

TEST_F(Runner, ASettingTakesEffectAndStays) {
  EXPECT_TRUE(run("set Settings adjustpaldark 55\nset FLOcalcs ped1 12").ok);
  EXPECT_EQ(process.velocity.ped1, 12);
  app.exitInstance();
  EXPECT_EQ(settings.getInt("FLOcalcs", "ped1", 0), 12);
  EXPECT_EQ(settings.getInt("Settings", "adjustpaldark", 0), 55);
}

TEST_F(Runner, VideosAreSelectedProcessedAndExported) {
  const std::string movie = writeMovieFile(folder.file("a.mve"), 5, {16, 8}, [](CZZimage& image, int32_t k) {
    image.fill(static_cast<uint8_t>(10 * k));
  });
  ASSERT_TRUE(run("open " + movie + "\nselect 1 4\ncommand Negative").ok);
  EXPECT_TRUE(fileExists(folder.file("aA.mve")));
  EXPECT_EQ(run("print offsets").text, "image,number,x,y\n0,2,0,0\n1,4,0,0\n2,6,0,0\n");
  EXPECT_EQ(run("print fps").text, "30\n");
  const StepResult deleted = run("frame 2\nselect 0 2\ncommand \"Delete selected images\" yes");
  ASSERT_EQ(deleted.why, "") << "without a work folder new movies lie beside";
  EXPECT_THAT(run("print status").text, HasSubstr("images 1\n"));
  ASSERT_TRUE(run("export " + folder.file("b.avi") + "\nexport " + folder.file("b.mve") + "\nexport " +
                  folder.file("b.bmp") + "\nimport " + movie)
                  .ok);
  EXPECT_THAT(run("print status").text, HasSubstr("images 6\n"));
  ASSERT_TRUE(run("save " + folder.file("a.dtv") + "\nclose\nopen " + folder.file("b.avi")).ok);
  EXPECT_THAT(run("print status").text, HasSubstr("images 1\n"));
  for (const char* bad : {"frame 1", "frame -1", "select 0 2", "select 1 0", "select 0.5 1", "export x.csv",
                          "print traces", "trace x"})
    EXPECT_FALSE(run(bad).ok) << bad;
}

TEST_F(Runner, VideosTellWhatTheyDoNotTakeAndWhatTheyLeave) {
  const auto movie = [&](const std::string& name, int32_t width) {
    return writeMovieFile(folder.file(name), 3, {width, 8}, [](CZZimage&, int32_t) {});
  };
  std::filesystem::create_directory(folder.file("exam"));
  ASSERT_TRUE(run("open " + movie("a.mve", 16)).ok);
  EXPECT_THAT(run("import " + movie("wide.mve", 24)).why, HasSubstr("can't be added to this video"));
  EXPECT_FALSE(run("import shot.bmp").ok) << "a still is no movie";
  EXPECT_THAT(run("select 2 2").why, HasSubstr("images 2 to 2 are none"));
  EXPECT_THAT(run("select 1 2\nsave $part.dtv").text,
              HasSubstr("keeps all 3 images; Save As... stores the selection alone"));
  EXPECT_THAT(run("command \"Select images\" step=2\nprint status").text,
              HasSubstr("step of compressed exports 2\n"));
  ASSERT_TRUE(run("select -1 -1").ok);
  EXPECT_THAT(run("save " + folder.file("exam/a.dtv")).text,
              HasSubstr(folder.file("a.mve") + " stays where it is"));
  std::filesystem::remove(folder.file("a.mve"));
  EXPECT_THAT(run("close\nopen " + folder.file("exam/a.dtv")).why, HasSubstr("Cannot find image file"));
}

TEST_F(Runner, FlowOfAVideoBecomesATableAndAPicture) {
  writeMovieFile(folder.file("a.mve"), 6, {16, 8},
                 [](CZZimage& image, int32_t k) { image.fill(static_cast<uint8_t>(100 + k % 3 * 20)); });
  ASSERT_TRUE(run("open $a.mve").ok);
  for (const char* wrong : {"-5", "40.5", "abc"})
    EXPECT_FALSE(run(format("command \"Calculate FCF\" %s", wrong)).ok) << wrong;
  ASSERT_TRUE(run("command \"Calculate FCF\" 100\nexport $fcd.csv\ncommand \"CONC\"\n"
                  "snapshot $conc.png\nsave $a.zzfcf")
                  .ok);
  EXPECT_THAT(*readWholeText(folder.file("fcd.csv")), HasSubstr("a-FCF"));
  EXPECT_TRUE(fileExists(folder.file("conc.png")));
  EXPECT_THAT(run("close\nopen $a.zzfcf\nprint status").text, HasSubstr("FCD 100.000 %"));
}

TEST_F(Runner, LongWorkEndsWhenItsDriverWantsToStop) {
  writeMovieFile(folder.file("a.mve"), 6, {16, 8}, [](CZZimage& image, int32_t k) { image.fill(40 * k); });
  ASSERT_TRUE(run("open $a.mve").ok);
  int asked = 0;
  script.mayGoOn = [&] { return ++asked < 3; };
  run("command Negative");
  EXPECT_EQ(asked, 3);
  script.mayGoOn = nullptr;
  EXPECT_TRUE(run("command Negative").ok);
}

TEST_F(Runner, AProgramMayEndWhileAVideoPlays) {
  const std::string movie = writeMovieFile(folder.file("a.mve"), 3, {16, 8}, [](CZZimage&, int32_t) {});
  ASSERT_TRUE(run("open " + movie + "\ncommand \"play image sequence\"").ok);
}

TEST_F(Runner, TheDemonstrationFindsWhatItDrew) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(runDemonstration(app, script), 0);
  const std::string first = ::testing::internal::GetCapturedStdout();
  for (const char* good :
       {"good.bmp        45     45", "dense.bmp       91     91", "sparse.bmp      24     24",
        "colour.bmp      45     45", "field.zzg       45     45"})
    EXPECT_THAT(first, HasSubstr(good));
  const auto rows = app.db->resultsOf(exams.examId());
  EXPECT_EQ(rows.size(), 14u);
  // The chart: bound to the exam, its rate found both ways, and not made again.
  EXPECT_EQ(1, std::count_if(rows.begin(), rows.end(), [](const ResultRow& row) {
              return row.filename == "pulse.zz1" && row.result == "Pulse 72.0 a minute";
            }));
  for (const char* wide :
       {"wide-healthy.bmp    6.73  Nailfold loops: 23 on ", "wide-giant.bmp      3.61  ",
        " reliability good (healthy)\n", "Nailfold loops refused: not enough loops in focus"})
    EXPECT_THAT(first, HasSubstr(wide));
  double drawn = 0, maxima = 0, spectra = 0;
  const size_t line = first.find("\npulse.zz1 ");
  ASSERT_NE(line, std::string::npos);
  ASSERT_EQ(std::sscanf(first.c_str() + line, " pulse.zz1 %lf %lf %lf", &drawn, &maxima, &spectra), 3);
  EXPECT_NEAR(drawn, 72.0, 0.3);
  EXPECT_NEAR(maxima, drawn, 0.1);
  EXPECT_NEAR(spectra, drawn, 0.5);
  const size_t scan = first.find("\ndemo.zzl ");
  ASSERT_NE(scan, std::string::npos);
  double velocity = 0;
  ASSERT_EQ(std::sscanf(first.c_str() + scan, " demo.zzl 300.0 %lf", &velocity), 1);
  EXPECT_NEAR(velocity, 300, 3);
  EXPECT_THAT(first, HasSubstr("flow.dtv     120 images, mean velocity 400 um/s, skin moves up to 0.0 um"));
  ASSERT_TRUE(run("open " + app.dataFolder + exams.examFolder() + "/shake.dtv\nframe 100").ok);
  EXPECT_THAT(run("print status").text, HasSubstr("images 120\nimage 100\nselection 0 to 120\nfps 60\n"));
  const std::string chart = app.dataFolder + exams.examFolder() + kSeparator + "pulse.zz1";
  const auto* shown = dynamic_cast<ZchartDoc*>(app.openDocumentFile(chart));
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->examIdOfDoc, exams.examId());
  EXPECT_EQ(shown->markers.size(), 2u);
  // Its strips fit what they show, also where whole blocks of samples fill a trace.
  auto& view = static_cast<ZchartView&>(*shown->views().front());
  EXPECT_NEAR(view.screenTrace(*shown->findtrace("Doppler")).FS, 4.5, 1.0);
  EXPECT_EQ(view.screenTrace(*shown->findtrace("flow")).FS, 1.0);
  ASSERT_TRUE(std::filesystem::remove(chart));
  EXPECT_EQ(makeDemonstration(app), "");
  EXPECT_FALSE(fileExists(chart));
}

}  // namespace
}  // namespace tarnvisor
