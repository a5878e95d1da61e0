// What a careless script could lose.
#include "charts/chartdoc.h"
#include "movie/zzmovie.h"
#include "results/resultdoc.h"
#include "settings/settings.h"
#include "support/fulldisc.h"
#include "support/runnertest.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

TEST_F(Runner, AFileOfAnotherKindNeitherOpensNorIsSavedOver) {
  ASSERT_TRUE(run("open $shot.bmp\nsave $still.tv1\ncommand \"Calculate average of selection\"\nclose").ok);
  ASSERT_TRUE(replaceFile(folder.file("list.csv"), std::string_view("name,age\nanna,40\n")));
  for (const char* renamed : {"still.dtv", "still.zz1", "still.rst", "still.zzxy"})
    ASSERT_TRUE(copyFile(folder.file("still.tv1"), folder.file(renamed)));
  ASSERT_TRUE(run("open $still.tv1\ncommand \"Dimension list\"\nsave $dims.csv\nclose\nclose").ok);
  ASSERT_TRUE(copyFile(folder.file("dims.csv"), folder.file("other.tv1")));
  for (const char* file : {"still.dtv", "still.zz1", "still.rst", "still.zzxy", "list.csv", "other.tv1"})
    EXPECT_FALSE(run(std::string("open $") + file).ok) << file;
  EXPECT_TRUE(run("open $dims.csv").ok);
  const auto before = readWholeText(folder.file("dims.csv"));
  EXPECT_FALSE(run("save").ok) << "nothing is shown of a list that was opened";
  EXPECT_EQ(readWholeText(folder.file("dims.csv")), before);
  const DocumentType& stills = *process.imageTemplate;
  EXPECT_EQ(const_cast<DocumentType&>(stills).openDocument(folder.file("dims.csv")), nullptr);
}

TEST_F(Runner, AFullDiscIsToldAndKeepsTheEarlierFile) {
  ASSERT_TRUE(run("subject A\nexam ring\nopen $shot.bmp\ncommand Histogram").ok);
  writeMovieFile(folder.file("a.mve"), 3, {16, 8}, [](CZZimage&, int32_t) {});
  for (const char* file : {"x.svg", "x.pdf", "page.pdf"})
    ASSERT_TRUE(replaceFile(folder.file(file), std::string_view("earlier")));
  for (const char* step : {"export $x.svg", "export $x.pdf", "command \"Print...\" $page.pdf", "open $a.mve",
                           "export $new.mve", "export $new.avi", "save"}) {
    if (std::string_view(step).starts_with("open")) {
      ASSERT_TRUE(run(step).ok);
      continue;
    }
    bool done = true;
    {
      const FullDisc full(64);
      done = run(step).ok;
    }
    EXPECT_FALSE(done) << step;
  }
  for (const char* file : {"x.svg", "x.pdf", "page.pdf"})
    EXPECT_EQ(readWholeText(folder.file(file)), "earlier") << file;
  for (const char* file : {"new.mve", "new.avi", "data/A-ring/a.dtv"})
    EXPECT_FALSE(fileExists(folder.file(file))) << file;
}

TEST_F(Runner, NoOutputReplacesAFileThatAnOpenDocumentUses) {
  ASSERT_TRUE(
      run("open $shot.bmp\nsnapshot $source.png\nexport $free.bmp\nsave $a.tv1\nopen $source.png").ok);
  ASSERT_TRUE(run("open $shot.bmp").ok);
  std::vector<std::pair<std::string, std::optional<std::string>>> before;
  for (const char* name : {"shot.bmp", "source.png", "a.tv1", "a.bmp"})
    before.emplace_back(folder.file(name), readWholeText(folder.file(name)));
  for (const char* step : {"export $shot.bmp", "export $a.bmp", "snapshot $a.bmp", "snapshot $source.png",
                           "command \"Export...\" $a.bmp"})
    EXPECT_THAT(run(step).why, HasSubstr("in use by the open document")) << step;
  EXPECT_FALSE(run("command \"Print...\" $a.tv1").ok);
  EXPECT_THAT(run("command \"Print...\" $page.tv1").why, HasSubstr("pages are written as pdf"));
  for (const auto& [path, bytes] : before) EXPECT_EQ(readWholeText(path), bytes) << path;
  EXPECT_TRUE(run("export $free.bmp").ok) << "no document's";
}

TEST_F(Runner, WhatIsNotAnsweredOrCancelledIsNotDone) {
  ASSERT_TRUE(run("open $shot.bmp\nsave $still.tv1\nroi 1,1,5,5").ok);
  const auto before = readWholeText(folder.file("still.tv1"));
  EXPECT_TRUE(run("command \"Save As...\" cancel").ok);
  EXPECT_EQ(readWholeText(folder.file("still.tv1")), before);
  EXPECT_THAT(run("command \"Open...\"").why, HasSubstr("asks for files"));
  EXPECT_THAT(run("command \"Export...\"").why, HasSubstr("asks for a file"));
  const std::filesystem::path home = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const bool saved = run("command \"Save As...\" here.tv1").ok;
  std::filesystem::current_path(home);
  EXPECT_TRUE(saved);
  EXPECT_EQ(app.documents.active()->pathName(), folder.file("here.tv1"));
}

TEST_F(Runner, ADamagedPictureOpensWithAWordAndTheStepFails) {
  ASSERT_TRUE(run("open $shot.bmp\nsnapshot $half.jpg\nclose").ok);
  const std::string path = folder.file("half.jpg");
  std::filesystem::resize_file(path, std::filesystem::file_size(path) * 3 / 4);
  EXPECT_THAT(run("open $half.jpg").why, HasSubstr("damaged or was cut off"));
  EXPECT_THAT(run("print notes").text, HasSubstr("half.jpg: The file is damaged or was cut off"));
}

TEST_F(Runner, AnExportThatNamesNoFileGoesOverNoneUnaskedAndTellsWhatItWrote) {
  const std::string even = "t,x\n0,5\n1,6\n2,7\n3,8\n";
  for (const char* name : {"source.txt", "even.txt"})
    ASSERT_TRUE(replaceFile(folder.file(name), std::string_view(even)));
  ASSERT_TRUE(run("open $source.txt\nsave $even.zz1\nselect 1 3").ok);
  EXPECT_THAT(run("command \"Export...\" Binary=0").why, HasSubstr("even.txt already exists. Replace it?"));
  EXPECT_EQ(readWholeText(folder.file("even.txt")), even);
  EXPECT_FALSE(run("export $source.txt").ok) << "it was made from that";
  EXPECT_THAT(run("command \"Export...\" \"Active trace\" $part.txt Range=Whole").text,
              HasSubstr("the whole, 4 rows"));
  EXPECT_THAT(run("export $part.txt").text, HasSubstr("part.txt: selection 1 to 3 s, 2 rows of 4"));
  EXPECT_THAT(run("print status").text, HasSubstr("exported selection 1 to 3 s"));
  ASSERT_TRUE(run("export $part.csv").ok);
  EXPECT_EQ(readWholeText(folder.file("part.csv")), "time (s),x\n1,6\n2,7\n");
  EXPECT_EQ(run("command \"Export...\" \"Traces=All traces\" $all.txt").why, "");
  EXPECT_TRUE(fileExists(folder.file("all.txt")));
  EXPECT_TRUE(run("command \"Export...\" Binary=0 Range=Selection Headers=1 yes yes").ok);
  EXPECT_NE(readWholeText(folder.file("even.txt")), even);
}

TEST_F(Runner, ASubjectsDateOfBirthAndSexAreTold) {
  ASSERT_TRUE(run("subject A born=3.2.1970 sex=f").ok);
  EXPECT_EQ(app.db->person("A"), (PersonRow{"1970-02-03", "f"}));
  EXPECT_TRUE(run("subject a no sex=m").ok);
  EXPECT_EQ(app.db->person("A"), (PersonRow{"1970-02-03", "f"})) << "another subject's";
  EXPECT_THAT(run("subject A born=4.2.1970").why, HasSubstr("known as \"1970-02-03\""));
  EXPECT_TRUE(run("subject A yes born=4.2.1970").ok);
  EXPECT_EQ(app.db->person("A").born, "1970-02-04");
  EXPECT_THAT(run("subject \xc3\x84 born=1.1.1970\nsubject \xc3\xa4 yes born=2.2.1980").why,
              HasSubstr("known as"))
      << "yes is whose it is, and not when that one was born";
  std::vector<Step> steps;
  for (const char* wrong : {"subject A born=1970-02-30", "subject A sex=y"})
    EXPECT_NE(parseScript(wrong, "test", steps), "") << wrong;
}

TEST_F(Runner, ASubjectThatDiffersByItsCapitalsAloneNeedsAnAnswer) {
  ASSERT_TRUE(run("subject DEMO").ok);
  EXPECT_THAT(run("subject demo").why, HasSubstr("There is a subject \"DEMO\" already"));
  EXPECT_EQ(run("subject demo yes").values[0].second, "DEMO");
  EXPECT_EQ(run("subject demo no").values[0].second, "demo");
  for (const char* again :
       {"subject demo no", "subject demo yes", "subject \"a 1\" no", "subject \"a 1\" no"})
    EXPECT_TRUE(run(again).ok) << again;
  EXPECT_EQ(run("subject \"a 1\" no").values[0].second, "a_1");
  EXPECT_FALSE(run("subject other yes").ok) << "there is none like it";
  ASSERT_TRUE(run("subject M\u00fcller").ok);
  EXPECT_THAT(run("subject MU\u0308LLER").why, HasSubstr("There is a subject \"M\u00fcller\" already"));
  EXPECT_EQ(run("subject \" DEMO \"").values[0].second, "DEMO");
}

TEST_F(Runner, TracesWithUnevenTimesComeInOnlyWithAYes) {
  ASSERT_TRUE(replaceFile(folder.file("gap.txt"), std::string_view("t,x\n0,5\n1,6\n2,7\n3.2,8\n4,8\n")));
  EXPECT_THAT(run("open $gap.txt").why, HasSubstr("row 4 comes 1.2 after"));
  ASSERT_TRUE(run("open $gap.txt yes").ok);
  EXPECT_THAT(run("import $gap.txt").why, HasSubstr("uneven"));
  EXPECT_TRUE(run("import $gap.txt yes").ok);
  EXPECT_EQ(static_cast<ZchartDoc*>(app.documents.active())->traces.size(), 2u);
}

TEST_F(Runner, ABareNameStaysInTheDocumentsExam) {
  const auto home = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  EXPECT_EQ(run("subject A\nopen $shot.bmp\nsave shot.tv1").text,
            "saved " + folder.file("shot.tv1") + ", in no exam's folder: no exam is selected");
  std::filesystem::current_path(home);
  ASSERT_TRUE(run("close\nexam left\nopen $shot.bmp\nsave shot.tv1\nclose\nexam right").ok);
  ASSERT_TRUE(run("open $data/A-left/shot.tv1\nsave again.tv1\nclose").ok);
  EXPECT_TRUE(fileExists(folder.file("data/A-left/again.tv1"))) << "it is bound to the left";
  // Two exams in one folder, as older data has them.
  ASSERT_GE(app.db->newExam("A", "left", "", "A-left"), 0);
  exams.selectExam(3, "A-left");
  EXPECT_THAT(run("open $shot.bmp\nsave shot.tv1").why, HasSubstr("is a document of exam 1"));
}

TEST_F(Runner, AnExamIsTakenUpAgainWhereThatIsAskedFor) {
  ASSERT_TRUE(run("subject A\nexam left\nexam left --again").ok);
  EXPECT_EQ(exams.examId(), 1);
  ASSERT_TRUE(run("exam LEFT --again").ok);
  EXPECT_EQ(exams.examId(), 1);
  EXPECT_THAT(run("exam right comment --again").text, HasSubstr("no exam at \"right\" yet"));
  EXPECT_EQ(exams.examFolder(), "A-right");
  ASSERT_TRUE(run("exam left").ok);
  EXPECT_EQ(exams.examFolder(), "A-left-2");
  ASSERT_TRUE(run("exam \u00c4\nexam \u00e4 --again").ok);
  EXPECT_EQ(exams.examFolder(), "A-\u00c4");
}

TEST_F(Runner, ADocumentOfOneExamIsNotFiledUnderAnotherUnasked) {
  ASSERT_TRUE(run("subject A\nexam left\nopen $shot.bmp").ok);
  app.db->newSubject("B");
  exams.selectSubject("B", "");
  exams.selectExam(app.db->newExam("B", "left", "", "B-left"), "B-left");
  EXPECT_THAT(run("save $shot.tv1").why, HasSubstr("was made in exam 1 of subject A"));
  EXPECT_FALSE(run("command \"Save As...\" $shot.tv1 cancel").ok);
  EXPECT_FALSE(fileExists(folder.file("shot.tv1")));
  ASSERT_TRUE(makeFolderPath(folder.file("data/B-left")));
  EXPECT_TRUE(run("command \"Save As...\" $data/B-left/shot.tv1 yes").ok);
  EXPECT_EQ(app.db->resultsOf(2).size(), 1u);
}

TEST_F(Runner, ARowTellsOfTheFileInItsExamAlone) {
  ASSERT_TRUE(
      run("subject A\nexam left\nopen $shot.bmp\ncommand \"Find Capillaries\"\nsave a.tv1\nclose").ok);
  const std::string density = app.db->resultsOf(1)[0].result;
  const StepResult copied =
      run("open $data/A-left/a.tv1\nroi 0,0,9,9\ncommand \"Find Capillaries\"\nsave $a.tv1");
  EXPECT_THAT(copied.text, HasSubstr("outside the folder of exam 1"));
  EXPECT_EQ(app.db->resultsOf(1)[0].result, density);
  ASSERT_TRUE(run("close\nsubject B\nexam left").ok);
  ASSERT_TRUE(run("open $data/A-left/a.tv1").ok);
  EXPECT_THAT(run("save $data/B-left/a.tv1").why, HasSubstr("belongs to exam 1"));
  SqliteDatabase(app.dbPath).execute("update exams set patientid='B', folder='B-left' where id=1;");
  EXPECT_THAT(run("save $data/B-left/a.tv1").why, HasSubstr("is the folder of exam 1")) << "of A, not of B";
}

TEST_F(Runner, AFolderWithFilesIsNoNewExaminations) {
  ASSERT_TRUE(makeFolderPath(folder.file("data/A-left")));
  ASSERT_TRUE(run("subject A\nexam left").ok);
  EXPECT_EQ(exams.examFolder(), "A-left") << "an empty one is";
  ASSERT_TRUE(replaceFile(folder.file("data/A-left/x.tv1"), std::string_view("x")));
  SqliteDatabase(app.dbPath).execute("delete from exams;");
  ASSERT_TRUE(run("exam left").ok);
  EXPECT_EQ(exams.examFolder(), "A-left-2");
}

TEST_F(Runner, AFileThatWasChangedMeanwhileIsNotSavedOverUnasked) {
  ASSERT_TRUE(run("open $shot.bmp\nsave $a.tv1\nroi 1,1,9,9").ok);
  ASSERT_TRUE(copyFile(folder.file("a.tv1"), folder.file("b.tv1")));
  ASSERT_TRUE(copyFile(folder.file("b.tv1"), folder.file("a.tv1")));
  EXPECT_THAT(run("save").why, HasSubstr("was changed since it was opened"));
}

TEST_F(Runner, AFailureCostsItsDocumentAndNothingElse) {
  const auto steps = [&](const std::string& text) {
    std::vector<Step> parsed;
    EXPECT_EQ(parseScript(replacedAll(text), "test", parsed), "");
    return parsed;
  };
  const std::string one =
      "open $shot.bmp\ncommand \"Find Capillaries\"\ncommand \"Calculate average of selection\"\n";
  EXPECT_EQ(
      runner.run(steps("exam nobody\nopen $shot.bmp\nsubject A\nexam left\n" + one +
                       "save a.tv1\nclose\nopen $missing.bmp\nsave b.tv1\nclose\n" + one +
                       "command nonsense\nsave c.tv1\nclose\nset settings mark 7\n" +
                       "open $shot.bmp\nopen $shot.bmp\ncommand nonsense\ncommand Histogram\nsave h.zz1\n"
                       "close\nsave d.tv1\nexam right\n"),
                 true),
      1);
  ASSERT_EQ(app.documents.documents().size(), 1u) << "no exam, no document";
  const CResultDoc* table = findResultDocument("image results");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->rowCount(), 2u);
  EXPECT_EQ(table->pathName(), "") << "save means a document, not the table";
  EXPECT_TRUE(fileExists(folder.file("data/A-left/a.tv1")));
  EXPECT_FALSE(fileExists(folder.file("data/A-left/b.tv1")));
  EXPECT_FALSE(fileExists(folder.file("data/A-left/c.tv1")));
  EXPECT_FALSE(fileExists(folder.file("data/A-left/d.tv1"))) << "of another document than the step was for";
  EXPECT_EQ(exams.examFolder(), "A-right") << "though what was left out had changes";
  for (const char* step : {"command \"Find...\"", "print notes", "select 0 1", "snapshot $t.png"})
    EXPECT_FALSE(run(step).ok) << step << " means no table";
  EXPECT_EQ(settings.getInt("settings", "mark", 0), 7);
}

// A copy of a data folder went on elsewhere: exam 2 of subject A is another exam there.
TEST_F(Runner, ADocumentOfACopiedDataFolderIsOfNoExamHere) {
  ASSERT_TRUE(run("subject A\nexam ring\nopen $shot.bmp\nsave hand.tv1\nclose").ok);
  std::filesystem::copy(folder.file("data"), folder.file("copy"), std::filesystem::copy_options::recursive);
  ASSERT_TRUE(run("open $copy/A-ring/hand.tv1").ok);
  EXPECT_EQ(run("save hand.tv1").values[0].second, folder.file("copy/A-ring/hand.tv1"));
  EXPECT_FALSE(run("save $data/A-ring/new.tv1").ok);
  ASSERT_TRUE(run("command \"Duplicate image in new window\"").ok);
  EXPECT_FALSE(run("save $data/A-ring/new.tv1").ok) << "nor is what is made of it";
}

TEST_F(Runner, RowsOfADocumentFromElsewhereTellTheirOwnFolder) {
  ASSERT_TRUE(run("subject A\nexam ring\nopen $shot.bmp\nsave hand.tv1").ok);
  std::filesystem::copy(folder.file("data"), folder.file("copy"), std::filesystem::copy_options::recursive);
  const std::string average = "\ncommand \"Calculate average of selection\"\n";
  ASSERT_TRUE(run("close\nopen $copy/A-ring/hand.tv1" + average + "export $t.csv").ok);
  EXPECT_THAT(*readWholeText(folder.file("t.csv")),
              EndsWith("Subject ID,A\nExam ID,1\n" + folder.file("copy/A-ring") + "\n"));
  ASSERT_TRUE(run("close\nopen $data/A-ring/hand.tv1" + average + "export $t.csv").ok);
  EXPECT_THAT(*readWholeText(folder.file("t.csv")), HasSubstr(",A,1 in " + folder.file("copy/A-ring") + ","));
  EXPECT_THAT(*readWholeText(folder.file("t.csv")), EndsWith(",A,1,\n"));
  EXPECT_THAT(run("close\nopen $copy/A-ring/hand.tv1\nsave $data/A-ring/new.tv1").why,
              HasSubstr("from another folder (" + folder.file("copy/A-ring/")));
}

// The database was lost: exam 1 of subject A is another finger's now.
TEST_F(Runner, RowsOfAnEarlierDatabasesExamAreNotThisOnes) {
  ASSERT_TRUE(run("subject A\nexam ring\nopen $shot.bmp\nsave hand.tv1\nclose").ok);
  std::filesystem::rename(folder.file("data/A-ring"), folder.file("data/A-index"));
  ASSERT_TRUE(
      run("open $data/A-index/hand.tv1\ncommand \"Calculate average of selection\"\nexport $t.csv").ok);
  EXPECT_THAT(*readWholeText(folder.file("t.csv")), EndsWith("Subject ID,A\nExam ID,1\nA-index\n"));
}

TEST_F(Runner, WhatACommandMakesOfADocumentIsOfItsExam) {
  ASSERT_TRUE(run("subject A\nexam ring\nopen $shot.bmp\nsave a.tv1").ok);
  ASSERT_TRUE(run("subject B\nexam index\nopen $data/A-ring/a.tv1\ncommand Histogram").ok);
  EXPECT_EQ(run("save h.zz1").values[0].second, folder.file("data/A-ring/h.zz1"));
}

TEST_F(Runner, WhatWasMadeUnderAnExamIsSavedIntoItThoughAnotherSubjectWasLookedUp) {
  ASSERT_TRUE(run("subject BN1\nexam ring\nopen $shot.bmp\nsubject ANNA").ok);
  ASSERT_TRUE(run("command \"Calculate average of selection\"").ok);
  EXPECT_THAT(run("results \"Image Results\"").text, Not(HasSubstr("ANNA")));
  EXPECT_EQ(run("save b.tv1").values[0].second, folder.file("data/BN1-ring/b.tv1"));
  EXPECT_EQ(dynamic_cast<CdbDocument&>(*app.documents.active()).patientId, "BN1");
  CZZMovie movie;
  ASSERT_TRUE(movie.record(2, folder.file("m.mve"), 0, 0, 64, 32, false));
  for (int32_t i = 0; i < 2; ++i) (void)movie.addFrame(CZZimage(64, 32), 0);
  movie.stopRecording();
  ASSERT_TRUE(run("open $m.mve\nexport $m.avi").ok);
  app.documents.discardAll();
  ASSERT_TRUE(run("subject BN1\nexam toe\nopen $m.avi\nsubject ANNA\nsave $m.dtv").ok);
  EXPECT_EQ(dynamic_cast<CdbDocument&>(*app.documents.active()).patientId, "BN1") << "of a video, too";
  std::filesystem::copy(folder.file("m.avi"), folder.file("data/BN1-toe/n.avi"));
  ASSERT_TRUE(run("subject ANNA\nexam toe\nopen $data/BN1-toe/n.avi").ok);
  EXPECT_EQ(run("save").values[0].second, folder.file("data/ANNA-toe/n.dtv")) << "not beside BN1's";
  std::filesystem::copy(folder.file("m.avi"), folder.file("k.avi"));
  ASSERT_TRUE(run("subject BN1\nopen $k.avi").ok);
  EXPECT_EQ(app.documents.active()->pathName(), folder.file("k.dtv")) << "of no exam";
  theExams().selectExam(app.db->examsOf("BN1")[0].id, "BN1-ring");
  EXPECT_EQ(run("save").values[0].second, folder.file("data/BN1-ring/k.dtv"));
  ASSERT_TRUE(run("subject C\nopen $shot.bmp\nsubject ANNA").ok);
  EXPECT_THAT(run("save $c.tv1").why, HasSubstr("was made in subject C"));
  ASSERT_TRUE(run("command \"Save As...\" $c.tv1 no").ok);
  EXPECT_EQ(dynamic_cast<CdbDocument&>(*app.documents.active()).patientId, "C");
  EXPECT_TRUE(run("roi 1,1,9,9\nsave").ok) << "it was said once";
}

TEST_F(Runner, ASaveWithoutANameGoesOverNoOtherPicture) {
  ASSERT_TRUE(run("subject A\nexam ring\nopen $shot.bmp\nsave\nclose\nopen $shot.bmp").ok);
  EXPECT_EQ(fileNameOf(run("save").values[0].second), "shot-1.tv1");
  EXPECT_THAT(run("close\nopen $shot.bmp\nsave").text, Not(HasSubstr("in place")));
  EXPECT_THAT(run("close\nopen $shot.bmp\nsave shot.tv1").text, HasSubstr("in place of the file"));
}

TEST_F(Runner, OneSubjectsFileIsNotReplacedByAnothers) {
  ASSERT_TRUE(run("subject A\nexam ring\nopen $shot.bmp\nsave $out.tv1\nclose").ok);
  const auto before = readWholeText(folder.file("out.tv1"));
  ASSERT_TRUE(run("subject B\nexam ring\nopen $shot.bmp").ok);
  EXPECT_THAT(run("save $out.tv1").why, HasSubstr("holds a document of exam 1 of subject A"));
  EXPECT_EQ(readWholeText(folder.file("out.tv1")), before);
  EXPECT_TRUE(run("command \"Save As...\" $out.tv1 yes").ok);
}

TEST_F(Runner, WhatARunCollectedIsExportedThoughItsLastStepsFailed) {
  std::vector<Step> steps;
  const std::string lines =
      "open $shot.bmp\ncommand \"Calculate average of selection\"\nexport $early.csv\n"
      "open $shot.bmp\ncommand nonsense\nexport $night.csv\nsave $never.tv1\n";
  ASSERT_EQ(parseScript(replacedAll("open $missing.bmp\nexport $no.csv\n" + lines), "test", steps), "");
  EXPECT_EQ(runner.run(steps, true), 1);
  EXPECT_FALSE(fileExists(folder.file("no.csv")));
  EXPECT_TRUE(fileExists(folder.file("night.csv")));
  EXPECT_FALSE(fileExists(folder.file("never.tv1")));
  steps.erase(steps.begin() + 4);
  steps.erase(steps.end() - 2);
  testing::internal::CaptureStderr();
  EXPECT_EQ(runner.run(steps, true), 1);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("the 2 rows of the table \"Image Results\" were neither saved nor exported"));
}

}  // namespace
}  // namespace tarnvisor
